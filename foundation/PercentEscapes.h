// Percent escapes of URL strings.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// Which escapes are decoded.
enum class PercentEscapeMode : bool {
    /// Tab, line feed, carriage return, space, `$%&'+/:;=@~`, and "?" when the string holds no "?" as it stands.
    standard,
    /// Every ASCII character, U+0000 included.
    full,
};

/// Decodes escapes ("%" and two hexadecimal digits of either case) in place and returns the new length. The units are
/// walked once, so that what comes out of an escape never becomes part of another: "%2541" becomes "%41". All other
/// escapes, incomplete ones and those of bytes beyond ASCII among them, stay as they are.
[[nodiscard]] std::size_t convertPercentEscapesOfURL(char16_t* units, std::size_t length,
                                                     PercentEscapeMode mode) noexcept;

/// `url` with its standard escapes decoded.
[[nodiscard]] std::u16string stringByReplacingStandardPercentEscapesOfURL(std::u16string url);

/// What a hexadecimal digit stands for, or -1 for any other unit.
[[nodiscard]] constexpr int hexDigitValue(char16_t unit) noexcept {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    return -1;
}

/// The byte of the escape that begins at `index`; nullopt when none does.
[[nodiscard]] constexpr std::optional<unsigned char> escapedByteAt(std::u16string_view url,
                                                                   std::size_t index) noexcept {
    if (index >= url.size() || url.size() - index < 3 || url[index] != u'%') return std::nullopt;
    const int high = hexDigitValue(url[index + 1]);
    const int low = hexDigitValue(url[index + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    return static_cast<unsigned char>(high * 16 + low);
}

}  // namespace halden
