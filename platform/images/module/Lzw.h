// LZW as TIFF has it: codes of 9 to 12 bits, from the highest bit on.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace halden::images {

/// `bytes` as one strip of LZW data, with the code that clears the table in front and the end code behind.
///
/// The same codes as those of the library's own encoder, which took most of the time of a small thumbnail.
[[nodiscard]] std::vector<std::uint8_t> lzwEncoded(std::span<const std::uint8_t> bytes);

}  // namespace halden::images
