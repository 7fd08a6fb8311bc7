// Attribute look-up in all its forms finds what the plain rules find; the other accessors stay within the tag.
#include "markup/AttributeText.h"
#include "markup/TagAttributes.h"
#include "markup/Tags.h"
#include "tests/markup/ReferenceAttributes.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace {

using halden::Range;
using halden::reference::AttributeForm;
using Text = std::optional<std::u16string>;

void require(bool holds) {
    if (!holds) std::abort();
}

void compareAttributes(std::u16string_view tag, std::string_view name) {
    const std::u16string wide(name.begin(), name.end());
    const auto wanted = [&](AttributeForm form) {
        const Range place = halden::reference::attribute(tag, wide, form);
        return place.found() ? Text(halden::substringWithRange(tag, place)) : Text();
    };
    const Range whole{0, tag.size()};
    require(halden::rangeOfAttributeOfTagCharacters(tag, name) ==
            halden::reference::attribute(tag, wide, AttributeForm::buffer));
    require(halden::_attributeOfTagCharactersWithName(tag, whole, name, halden::AttributeValue::metaContent) ==
            wanted(AttributeForm::metaContent));
    require(halden::attributeOfTagWithName(tag, wide) == wanted(AttributeForm::string));
    require(halden::attributeOfStyleWithName(tag, wide) == wanted(AttributeForm::style));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size < 2) return 0;
    // Two bytes choose the name and the form of the units; the tag has a buffer of its very size.
    constexpr std::string_view kNames[] = {"A", "HREF", "STYLE", "WIDTH", "CONTENT", "HTTP-EQUIV", "X:Y", "_"};
    const std::string_view name = kNames[bytes[0] % std::size(kNames)];
    std::u16string units(bytes + 2, bytes + size);
    if (bytes[1] == 1) {
        units.resize((size - 2) / 2);
        std::memcpy(units.data(), bytes + 2, units.size() * sizeof(char16_t));
    }
    const auto exact = std::make_unique<char16_t[]>(units.size());
    units.copy(exact.get(), units.size());
    const std::u16string_view tag(exact.get(), units.size());

    compareAttributes(tag, name);
    std::int64_t width = 0;
    std::int64_t height = 0;
    require(halden::getTagWidth(tag, &width, &height) == (width > 0));
    require(halden::getTagWidthCharacters(tag, &width, &height) == (width > 0));
    require(halden::backgroundStyleURLOfTagCharacters(tag) != Text(u""));
    const Range all{0, tag.size() + 1};
    require(halden::isTagOpenInRange(tag, all) || tag.size() < 2 || tag[1] == u'/');
    static_cast<void>(halden::isTagClosedInRange(tag, all));
    require(halden::nameOfTagInRange(tag, all) == halden::nameOfTag(tag));
    const halden::AttributeTextOptions options{.quote = u'\'', .tolerant = bytes[1] % 2 == 0, .stopAtSemicolon = true};
    const std::u16string wide(name.begin(), name.end());
    require(halden::_copyOfAttributeOfString(tag, wide, options) != Text(u""));
    return 0;
}
