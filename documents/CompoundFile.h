// Compound files: the little file system that old office documents are kept in.
//
//   header, 512 bytes: signature D0 CF 11 E0 A1 B1 1A E1; at 30 the binary logarithm of the sector size (9 or 12); at
//   48
//     the first directory sector; at 76 the first 109 sectors of the allocation table, at 68 the first sector that
//     lists more of them
//   sector n starts at (n + 1) sector sizes; the allocation table gives for each sector the one that follows it
//   directory: a chain of sectors with entries of 128 bytes: 64 bytes of name (UTF-16), at 64 the name's length in
//     bytes with its zero, at 66 the kind (2: stream)
//
// All numbers are little-endian.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quarry {

/// Whether the bytes begin as a compound file does.
[[nodiscard]] bool isCompoundFile(std::span<const std::uint8_t> bytes) noexcept;

/// Whether the directory has a stream of that name (ASCII); false for anything broken on the way to it.
[[nodiscard]] bool compoundFileHasStream(std::span<const std::uint8_t> bytes, std::string_view name) noexcept;

}  // namespace quarry
