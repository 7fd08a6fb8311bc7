#include "markup/TagAttributes.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Strings.h"
#include "markup/AttributeSearch.h"

namespace halden {
namespace {

std::optional<std::u16string> copied(std::u16string_view characters, Range range) {
    if (!range.found()) return std::nullopt;
    return std::u16string(characters.substr(range.location, range.length));
}

/// The place of an attribute's value in `characters`.
template <class Form, class Name>
Range find(std::u16string_view characters, Range range, Name name) {
    const std::u16string_view token = substringWithRange(characters, range);
    const Range value = AttributeSearch<Form>(token).find(name);
    return value.found() ? Range{range.location + value.location, value.length} : value;
}

// --- Numbers -------------------------------------------------------------------------------------------------------

/// The integer in the attribute that `find` finds in `token`.
template <class Form, class Name>
std::int64_t integerOfAttribute(std::u16string_view token, Name name) {
    return integerValue(substringWithRange(token, AttributeSearch<Form>(token).find(name)));
}

/// The names are literals of the kind that the form takes.
template <class Form, class Name>
bool readSize(std::u16string_view token, std::int64_t* width, std::int64_t* height) {
    *width = 0;
    *height = 0;
    if (token.size() < 10) return false;
    *width = integerOfAttribute<Form>(token, Name::kWidth);
    if (*width != 0) {
        *height = integerOfAttribute<Form>(token, Name::kHeight);
        if (*height == 0) *height = integerOfAttribute<Form>(token, Name::kHeigh);
        return *width > 0;
    }
    const std::u16string_view style = substringWithRange(token, AttributeSearch<Form>(token).find(Name::kStyle));
    *width = integerOfAttribute<StyleForm>(style, std::u16string_view(u"WIDTH"));
    if (*width != 0) *height = integerOfAttribute<StyleForm>(style, std::u16string_view(u"HEIGHT"));
    return *width > 0;
}

struct NarrowNames {
    static constexpr std::string_view kWidth = "WIDTH";
    static constexpr std::string_view kHeight = "HEIGHT";
    static constexpr std::string_view kHeigh = "HEIGH";
    static constexpr std::string_view kStyle = "STYLE";
};

struct WideNames {
    static constexpr std::u16string_view kWidth = u"WIDTH";
    static constexpr std::u16string_view kHeight = u"HEIGHT";
    static constexpr std::u16string_view kHeigh = u"HEIGH";
    static constexpr std::u16string_view kStyle = u"STYLE";
};

}  // namespace

// --- Of a buffer ---------------------------------------------------------------------------------------------------

Range rangeOfAttributeOfTagCharacters(std::u16string_view characters, Range range, std::string_view name) {
    return find<BufferForm>(characters, range, name);
}

Range rangeOfAttributeOfTagCharacters(std::u16string_view tag, std::string_view name) {
    return rangeOfAttributeOfTagCharacters(tag, {0, tag.size()}, name);
}

std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view characters, Range range,
                                                       std::string_view name) {
    return copied(characters, rangeOfAttributeOfTagCharacters(characters, range, name));
}

std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view tag, std::string_view name) {
    return attributeOfTagCharacters(tag, {0, tag.size()}, name);
}

std::optional<std::u16string> _attributeOfTagCharactersWithName(std::u16string_view characters, Range range,
                                                                std::string_view name, AttributeValue value,
                                                                Range* valueRange) {
    const Range found = value == AttributeValue::metaContent ? find<MetaContentForm>(characters, range, name)
                                                             : find<BufferForm>(characters, range, name);
    if (valueRange == nullptr) return copied(characters, found);
    *valueRange = found;
    return std::nullopt;
}

// --- Of a string ---------------------------------------------------------------------------------------------------

std::optional<std::u16string> attributeOfTagInRange(std::u16string_view string, Range range,
                                                    std::u16string_view withName) {
    return copied(string, find<StringForm>(string, range, withName));
}

std::optional<std::u16string> attributeOfTagWithName(std::u16string_view tag, std::u16string_view name) {
    return attributeOfTagInRange(tag, {0, tag.size()}, name);
}

std::optional<std::u16string> attributeOfStyleInRange(std::u16string_view string, Range range,
                                                      std::u16string_view withName) {
    return copied(string, find<StyleForm>(string, range, withName));
}

std::optional<std::u16string> attributeOfStyleWithName(std::u16string_view style, std::u16string_view name) {
    return attributeOfStyleInRange(style, {0, style.size()}, name);
}

// --- Width and height ----------------------------------------------------------------------------------------------

bool getTagWidthCharacters(std::u16string_view tag, std::int64_t* width, std::int64_t* height) {
    return readSize<BufferForm, NarrowNames>(tag, width, height);
}

bool getTagWidthCharacters(std::u16string_view characters, Range range, std::int64_t* width, std::int64_t* height) {
    return getTagWidthCharacters(substringWithRange(characters, range), width, height);
}

bool getTagWidth(std::u16string_view tag, std::int64_t* width, std::int64_t* height) {
    return readSize<StringForm, WideNames>(tag, width, height);
}

bool getTagWidth(std::u16string_view string, Range range, std::int64_t* width, std::int64_t* height) {
    return getTagWidth(substringWithRange(string, range), width, height);
}

// --- Background ----------------------------------------------------------------------------------------------------

std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view tag) {
    if (tag.size() < 3 || tag[1] == u'/') return std::nullopt;
    const std::u16string_view style = substringWithRange(tag, rangeOfAttributeOfTagCharacters(tag, "STYLE"));
    const auto placeOf = [style](std::string_view word) {
        return positionOfCharacters(word, style, CaseSensitivity::insensitive);
    };
    if (!placeOf("background:") && !placeOf("background-image:")) return std::nullopt;
    if (!placeOf("no-repeat")) return std::nullopt;
    const std::optional<std::size_t> function = placeOf("url(");
    if (!function) return std::nullopt;
    std::u16string_view url = style.substr(*function + 4);
    const std::size_t end = url.find(u')');
    if (end == std::u16string_view::npos) return std::nullopt;
    url = url.substr(0, end);
    while (url.starts_with(u'\'') && url.ends_with(u'\''))
        url = url.size() < 2 ? std::u16string_view() : url.substr(1, url.size() - 2);
    if (url.empty()) return std::nullopt;
    return std::u16string(url);
}

std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view characters, Range range) {
    return backgroundStyleURLOfTagCharacters(substringWithRange(characters, range));
}

}  // namespace halden
