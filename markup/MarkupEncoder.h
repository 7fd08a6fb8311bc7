// Text of markup to bytes.
#pragma once

#include "foundation/TextEncoding.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The bytes of `markup` in the encoding that it declares; without a valid declaration as ASCII, other characters
/// written as entities. nullopt when the declared encoding lacks a character of the text. No text gives no bytes.
/// `encoding` gets the encoding used (ASCII for no text); it may be null.
[[nodiscard]] std::optional<std::string> markupData(std::u16string_view markup, NSStringEncoding* encoding = nullptr);

}  // namespace halden
