// Conversion between UTF-8, which exists at the edges of the system, and UTF-16, which everything inside works on.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// U+FFFD, what ill-formed input becomes where it cannot be refused.
inline constexpr char16_t kReplacementCharacter = u'\uFFFD';

[[nodiscard]] constexpr bool isHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
[[nodiscard]] constexpr bool isLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}
[[nodiscard]] constexpr bool isSurrogate(char16_t unit) noexcept {
    return (unit & 0xF800) == 0xD800;
}

/// The code point of a surrogate pair.
[[nodiscard]] constexpr char32_t codePointOfPair(char16_t high, char16_t low) noexcept {
    return 0x10000 + ((static_cast<char32_t>(high) & 0x3FF) << 10) + (static_cast<char32_t>(low) & 0x3FF);
}

/// UTF-8 of `text`. A lone surrogate is written as its three-byte form, which is no well-formed UTF-8 but comes back
/// unchanged through `utf16FromUtf8`.
[[nodiscard]] std::string utf8FromUtf16(std::u16string_view text);

/// Well-formed UTF-8 of `text`, or nullopt when it holds a lone surrogate.
[[nodiscard]] std::optional<std::string> strictUtf8FromUtf16(std::u16string_view text);

/// UTF-16 of `bytes`. The three-byte form of a surrogate gives that surrogate; every other ill-formed sequence (its
/// longest prefix of a well-formed one) becomes one U+FFFD.
[[nodiscard]] std::u16string utf16FromUtf8(std::string_view bytes);

/// UTF-16 of `bytes`, or nullopt when they are not well-formed UTF-8.
[[nodiscard]] std::optional<std::u16string> strictUtf16FromUtf8(std::string_view bytes);

/// Whether `text` holds no lone surrogate.
[[nodiscard]] bool isWellFormed(std::u16string_view text) noexcept;

}  // namespace halden
