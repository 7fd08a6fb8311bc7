// Bytes as letters, in base 64.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// The bytes of `text`, in which white space counts for nothing. Missing padding is forgiven; nullopt for any other
/// character, for one after the padding, and for a single character too many.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> bytesFromBase64(std::string_view text);

/// `bytes` in base 64 with padding, on one line.
[[nodiscard]] std::string base64FromBytes(std::span<const std::uint8_t> bytes);

}  // namespace halden
