// Ranges of UTF-16 units or bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace halden {

/// The index that stands for "nowhere": the largest signed 64-bit value.
inline constexpr std::size_t kNotFound = INT64_MAX;

/// `length` units from `location` on. A range that stands for "none" is {kNotFound, 0}.
struct Range {
    std::size_t location = kNotFound;
    std::size_t length = 0;

    [[nodiscard]] constexpr std::size_t end() const noexcept { return location + length; }
    [[nodiscard]] constexpr bool found() const noexcept { return location != kNotFound; }

    friend constexpr bool operator==(Range, Range) noexcept = default;
};

/// The units of `text` in `range`, cut to those that exist.
[[nodiscard]] constexpr std::u16string_view substringWithRange(std::u16string_view text, Range range) noexcept {
    if (range.location >= text.size()) return {};
    return text.substr(range.location, range.length);
}

}  // namespace halden
