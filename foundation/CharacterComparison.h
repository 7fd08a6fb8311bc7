// Comparison and search over buffers of UTF-16 units and of bytes: unit by unit, with explicit lengths, without
// normalization.
//
// Bytes (the 8-bit operands) are widened with their sign: a byte b of 0x80 or more counts as the unit 0xFF00 + b. The
// case-insensitive forms pass both sides through the upper-case table of Characters.h.
#pragma once

#include "foundation/Characters.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace halden {

// --- Comparisons ---------------------------------------------------------------------------------------------------
// At the first place where the (converted) units differ, the first's minus the second's; when one is a prefix of the
// other, the first length minus the second; 0 when equal.

/// Through `table`; exact without one.
[[nodiscard]] std::int64_t fastCompareUnicharsUsingConversionTable(std::u16string_view first,
                                                                   std::u16string_view second,
                                                                   const ConversionTable* table);
[[nodiscard]] std::int64_t fastCompareUnichars(std::u16string_view first, std::u16string_view second);
[[nodiscard]] std::int64_t fastCompareUnicharsWithChars(std::u16string_view first, std::string_view second);
/// Compares the bytes as signed values.
[[nodiscard]] std::int64_t fastCompareChars(std::string_view first, std::string_view second);
[[nodiscard]] std::int64_t fastCaseInsensitiveCompareUnichars(std::u16string_view first, std::u16string_view second);
[[nodiscard]] std::int64_t fastCaseInsensitiveCompareUnicharsWithChars(std::u16string_view first,
                                                                       std::string_view second);
[[nodiscard]] std::int64_t fastCaseInsensitiveCompareChars(std::string_view first, std::string_view second);

// --- Searches ------------------------------------------------------------------------------------------------------
// The first place of the haystack where the needle starts, or a null pointer; an empty needle is nowhere.

[[nodiscard]] const char16_t* fastContainsUnichars(std::u16string_view haystack, std::u16string_view needle);
[[nodiscard]] const char16_t* fastCaseInsensitiveContainsUnichars(std::u16string_view haystack,
                                                                  std::u16string_view needle);
[[nodiscard]] const char16_t* fastUnicharsContainChars(std::u16string_view haystack, std::string_view needle);
[[nodiscard]] const char16_t* fastCaseInsensitiveUnicharsContainChars(std::u16string_view haystack,
                                                                      std::string_view needle);

enum class CaseSensitivity : bool { insensitive, sensitive };

/// Where `needle` first occurs in `haystack`, in units; nullopt when it does not.
[[nodiscard]] std::optional<std::size_t> positionOfCharacters(std::string_view needle, std::u16string_view haystack,
                                                              CaseSensitivity caseSensitive);

}  // namespace halden
