// The encoding of text that does not say it, told by what its letters would be.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarry::text {

/// `bytes` as UTF-8, from the encoding that uchardet takes them for; nullopt when it takes them for none, when they are
/// ill-formed in that, or when too few of them are beyond ASCII to tell. `isCut`: a character that the end cuts is
/// left out.
[[nodiscard]] std::optional<std::string> fromGuessedEncoding(std::string_view bytes, bool isCut);

}  // namespace quarry::text
