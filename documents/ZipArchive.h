// Members of a zip archive, as far as recognising and reading packages needs them.
//
//   end record, in the last 64 KiB: PK 05 06; at 12 the size and at 16 the offset of the directory
//   directory entry: PK 01 02; at 10 the method (0 stored, 8 deflated), at 20 the packed and at 24 the full size, at
//   28,
//     30 and 32 the lengths of name, extra field and comment, at 42 the offset of the local header; from 46 the name
//   local header: PK 03 04; at 26 and 28 the lengths of name and extra field; from 30 those, then the member's bytes
//
// All numbers are little-endian. Archives of several volumes, encrypted members and the 64-bit form are not read.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarry {

/// Whether the bytes begin as an archive does.
[[nodiscard]] bool isZipArchive(std::span<const std::uint8_t> bytes) noexcept;

/// The first `limit` bytes of the member with that name; nullopt when there is none or it is damaged before them.
[[nodiscard]] std::optional<std::string> contentsOfZipMember(std::span<const std::uint8_t> bytes, std::string_view name,
                                                             std::size_t limit);

}  // namespace quarry
