#include "markup/Tags.h"

#include "foundation/Characters.h"

#include <algorithm>

namespace halden {
namespace {

/// The units of a tag, by their offset from its "<".
class Token {
public:
    Token(std::u16string_view characters, Range range) noexcept
        : units_(substringWithRange(characters, range)),
          length_(range.location < characters.size() ? std::min(range.length, characters.size() - range.location + 1)
                                                     : 0) {}
    explicit Token(std::u16string_view tag) noexcept : units_(tag), length_(tag.size()) {}

    /// With the one unit that a script token may claim too many.
    [[nodiscard]] std::size_t length() const noexcept { return length_; }
    /// The unit, or NUL where the buffer ends before it.
    [[nodiscard]] char16_t operator[](std::size_t offset) const noexcept {
        return offset < units_.size() ? units_[offset] : u'\0';
    }
    [[nodiscard]] std::u16string_view units() const noexcept { return units_; }

private:
    std::u16string_view units_;
    std::size_t length_;
};

bool isOpen(const Token& token) noexcept {
    return token.length() >= 3 && token[1] != u'/';
}

bool hasSlashAtEnd(const Token& token) noexcept {
    return token.length() >= 4 && token[token.length() - 2] == u'/';
}

bool isClosed(const Token& token) noexcept {
    return token.length() >= 4 && (token[1] == u'/' || hasSlashAtEnd(token));
}

bool isMarked(const Token& token, char16_t mark) noexcept {
    return token.length() >= 7 && token[1] == u'!' && token[2] == mark;
}

/// Where the name stands in `tag`.
Range rangeOfName(std::u16string_view tag) {
    const CharacterBitmap& letters = alphaCharacterSetRep();
    const CharacterBitmap& white = whiteCharacterSetRep();
    const auto first = std::ranges::find_if(tag, [&](char16_t unit) { return letters.contains(unit); });
    if (first == tag.end()) return {};
    const auto last = std::find_if(first, tag.end(),
                                   [&](char16_t unit) { return unit == u'/' || unit == u'>' || white.contains(unit); });
    return {static_cast<std::size_t>(first - tag.begin()), static_cast<std::size_t>(last - first)};
}

std::optional<std::u16string> nameOf(const Token& token) {
    const Range name = rangeOfName(token.units());
    if (!name.found()) return std::nullopt;
    return std::u16string(token.units().substr(name.location, name.length));
}

std::optional<std::u16string> nameOf(const Token& token, bool* open, bool* closed) {
    const bool startsEndTag = token.length() >= 3 && token[1] == u'/';
    if (open != nullptr) *open = isOpen(token);
    if (closed != nullptr) *closed = startsEndTag || hasSlashAtEnd(token);
    return nameOf(token);
}

}  // namespace

bool isTagOpenCharacters(std::u16string_view characters, Range range) noexcept {
    return isOpen(Token(characters, range));
}

bool isTagClosedCharacters(std::u16string_view characters, Range range) noexcept {
    return isClosed(Token(characters, range));
}

bool isTagOpen(std::u16string_view tag) noexcept {
    return isOpen(Token(tag));
}

bool isTagOpenInRange(std::u16string_view string, Range range) noexcept {
    return isOpen(Token(string, range));
}

bool isTagClosed(std::u16string_view tag) noexcept {
    return isClosed(Token(tag));
}

bool isTagClosedInRange(std::u16string_view string, Range range) noexcept {
    return isClosed(Token(string, range));
}

bool isMetaTag(std::u16string_view tag) noexcept {
    return isMarked(Token(tag), u'[');
}

bool isMetaTagInRange(std::u16string_view string, Range range) noexcept {
    return isMarked(Token(string, range), u'[');
}

bool isRemarkTag(std::u16string_view tag) noexcept {
    return isMarked(Token(tag), u'-');
}

bool isRemarkTagInRange(std::u16string_view string, Range range) noexcept {
    return isMarked(Token(string, range), u'-');
}

Range rangeOfNameOfTag(std::u16string_view characters, Range range) {
    const Range name = rangeOfName(substringWithRange(characters, range));
    return name.found() ? Range{range.location + name.location, name.length} : name;
}

std::optional<std::u16string> nameOfTag(std::u16string_view tag) {
    return nameOf(Token(tag));
}

std::optional<std::u16string> nameOfTagInRange(std::u16string_view string, Range range) {
    return nameOf(Token(string, range));
}

std::optional<std::u16string> nameOfTagInStringRange(std::u16string_view string, std::size_t location,
                                                     std::size_t length) {
    return nameOf(Token(string, {location, length}));
}

std::optional<std::u16string> nameOfTag(std::u16string_view tag, bool* open, bool* closed) {
    return nameOf(Token(tag), open, closed);
}

std::optional<std::u16string> nameOfTagInRange(std::u16string_view string, Range range, bool* open, bool* closed) {
    return nameOf(Token(string, range), open, closed);
}

}  // namespace halden
