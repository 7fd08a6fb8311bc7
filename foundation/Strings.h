// Case mapping and comparison of whole strings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace halden {

/// `string` in lower case, by the root locale's full mapping.
[[nodiscard]] std::u16string lowercaseString(std::u16string_view string);

/// Whether the strings are equal ignoring case (full default case folding).
[[nodiscard]] bool isEqualToStringNoCase(std::u16string_view a, std::u16string_view b);

/// The integer that `string` begins with, after white space and a sign; 0 when there is none. Larger values are cut to
/// what 64 bits hold.
[[nodiscard]] std::int64_t integerValue(std::u16string_view string) noexcept;

/// The decimal number that `string` begins with, after white space and a sign, as the nearest of single precision; 0
/// when there is none.
[[nodiscard]] float floatValue(std::u16string_view string) noexcept;

}  // namespace halden
