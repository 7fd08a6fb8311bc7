// What the handlers of page queries ask of a tag.
#pragma once

#include "foundation/CharacterComparison.h"
#include "markup/TagAttributes.h"
#include "markup/TagNames.h"
#include "markup/TagScanner.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

[[nodiscard]] inline TagNameKey keyOfTag(const Tag& tag) noexcept {
    return tagNameKey(tag.name());
}

/// Three units or more, and no end tag.
[[nodiscard]] inline bool isOpeningTag(const Tag& tag) noexcept {
    const TagForm form = formOfTag(tag.tag());
    return form == TagForm::start || form == TagForm::selfClosing;
}

/// `</title>` or `<title/>`.
[[nodiscard]] inline bool isClosingTitle(const Tag& tag) noexcept {
    const std::u16string_view text = tag.tag();
    return keyOfTag(tag) == "title"_tag && text.size() >= 4 && (text[1] == u'/' || text[text.size() - 2] == u'/');
}

[[nodiscard]] inline std::optional<std::u16string> attributeOf(const Tag& tag, std::string_view name) {
    return attributeOfTagCharacters(tag.tag(), name);
}

/// CONTENT, whose value may carry markup.
[[nodiscard]] inline std::optional<std::u16string> contentOf(const Tag& tag) {
    const std::u16string_view text = tag.tag();
    return _attributeOfTagCharactersWithName(text, Range{0, text.size()}, "CONTENT", AttributeValue::metaContent);
}

/// Whether the strings have the same units but for case.
[[nodiscard]] inline bool equalsNoCase(std::u16string_view string, std::string_view other) {
    return string.size() == other.size() && fastCaseInsensitiveCompareUnicharsWithChars(string, other) == 0;
}
[[nodiscard]] inline bool containsNoCase(std::u16string_view string, std::string_view part) {
    return fastCaseInsensitiveUnicharsContainChars(string, part) != nullptr;
}
[[nodiscard]] inline bool beginsNoCase(std::u16string_view string, std::string_view part) {
    return string.size() >= part.size() && equalsNoCase(string.substr(0, part.size()), part);
}
[[nodiscard]] inline bool endsNoCase(std::u16string_view string, std::string_view part) {
    return string.size() >= part.size() && equalsNoCase(string.substr(string.size() - part.size()), part);
}

}  // namespace halden
