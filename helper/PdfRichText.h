// The text of PDF documents with its fonts and colours.
#pragma once

#include "foundation/Value.h"
#include "helper/PageTimes.h"
#include "platform/pdf/PdfDocument.h"
#include "richtext/AttributedString.h"

#include <optional>

namespace quarry {

/// The text of all pages as it stands there, with a line feed between pages that have text; a page that fails adds
/// nothing. nullopt for a document without pages, and a locked one. `timeout` is the limit of `PageTimes`.
[[nodiscard]] std::optional<halden::AttributedString> attributedStringOfPdf(halden::PdfDocument& document,
                                                                            double timeout, const SecondsClock& clock);

/// {"String": text, "Runs": [{"Length", "Font", "Family", "Size", "Bold", "Italic", "Color"}, ...]}: how an attributed
/// string itself travels. Lengths are UTF-16 units, sizes points, colours [red, green, blue] from 0 to 1.
[[nodiscard]] halden::Dictionary propertyListOfAttributedString(const halden::AttributedString& text);

}  // namespace quarry
