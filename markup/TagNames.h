// Tag names and the forms of tags, for handlers that decide by them at every call.
#pragma once

#include "markup/TagScanner.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace halden {

/// A tag name as one number, so that a handler can `switch` over names: letters of ASCII in either case and digits, ten
/// at most. 0 for every other name.
using TagNameKey = std::uint64_t;

namespace detail {

inline constexpr std::size_t kTagNameKeyLimit = 10;

/// What each ASCII character is in a key, in 6 bits; 0 for what cannot be in one.
inline constexpr auto kTagNameDigits = [] {
    std::array<std::uint8_t, 128> digits{};
    for (std::uint8_t i = 0; i < 26; ++i)
        digits['a' + i] = digits['A' + i] = static_cast<std::uint8_t>(1 + i);
    for (std::uint8_t i = 0; i < 10; ++i)
        digits['0' + i] = static_cast<std::uint8_t>(27 + i);
    return digits;
}();

template <class Name>
[[nodiscard]] constexpr TagNameKey tagNameKey(Name name) noexcept {
    if (name.size() > kTagNameKeyLimit) return 0;
    TagNameKey key = 0;
    for (const auto unit : name) {
        const auto index = static_cast<std::size_t>(unit);
        if (index >= kTagNameDigits.size() || kTagNameDigits[index] == 0) return 0;
        key = key << 6 | kTagNameDigits[index];
    }
    return key;
}

}  // namespace detail

[[nodiscard]] constexpr TagNameKey tagNameKey(std::u16string_view name) noexcept {
    return detail::tagNameKey(name);
}

/// The key of a name that is written in the source: `case "noframes"_tag:`.
[[nodiscard]] consteval TagNameKey operator""_tag(const char* name, std::size_t length) {
    return detail::tagNameKey(std::string_view(name, length));
}

/// What a tag does to the nesting of its element.
enum class TagForm : std::uint8_t {
    start,
    end,          ///< a "/" after the "<"
    selfClosing,  ///< a "/" before the ">", in four units or more
    none,         ///< shorter than three units
};

[[nodiscard]] constexpr TagForm formOfTag(std::u16string_view tag) noexcept {
    if (tag.size() < 3) return TagForm::none;
    if (tag[1] == u'/') return TagForm::end;
    return tag.size() >= 4 && tag[tag.size() - 2] == u'/' ? TagForm::selfClosing : TagForm::start;
}

/// By how much a tag changes a depth: 1 for a start tag, -1 for an end tag, else 0.
[[nodiscard]] constexpr int depthChangeOfTag(std::u16string_view tag) noexcept {
    const TagForm form = formOfTag(tag);
    return form == TagForm::start ? 1 : form == TagForm::end ? -1 : 0;
}

}  // namespace halden
