// Base 64, read leniently.
#pragma once

#include <string>
#include <string_view>

namespace halden::web {

/// The bytes of `text`, up to its first "="; characters that are no digits are passed over. Reads both alphabets.
[[nodiscard]] std::string bytesFromBase64(std::string_view text);

}  // namespace halden::web
