// The searchable text of markup.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarry::support {

/// Bytes of a page, decoded by the encoding that they declare, that `charset` names, or that they seem to be in.
[[nodiscard]] std::optional<std::u16string> markupFromBytes(std::string_view bytes, std::string_view charset = {});

/// The text of a page in UTF-8: its body, without markup.
[[nodiscard]] std::string textOfMarkup(const std::u16string& markup);

}  // namespace quarry::support
