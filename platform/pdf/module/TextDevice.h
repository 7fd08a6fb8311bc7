// The text of a page alone.
#pragma once

#include "platform/pdf/module/LineText.h"

#include <mupdf/fitz.h>

namespace halden::pdf {

/// A device that gives `text` the characters of whatever a page shows, in the order of its content; the lines are those
/// of the engine's structured text, which keeps font, colour and corners of every character and takes three times as
/// long. The device must not outlive `text`. Throws as the engine does.
[[nodiscard]] fz_device* newTextDevice(fz_context* engine, LineText& text);

}  // namespace halden::pdf
