// The PDF engine as a program of its own would call it: no limits, no rebuilding, no cleaning of the text.
#pragma once

#include "foundation/Data.h"

#include <cstddef>

namespace quarry::bench {

/// Reads the text of all pages; returns its length in bytes, 0 for what cannot be opened.
[[nodiscard]] std::size_t readTextWithBareEngine(const halden::Data& pdf);

}  // namespace quarry::bench
