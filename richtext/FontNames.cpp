#include "richtext/FontNames.h"

#include <algorithm>
#include <array>
#include <string>

namespace halden {
namespace {

/// The PostScript names of a family: plain, bold, italic, bold and italic.
struct FamilyRow {
    std::u16string_view family;
    std::array<std::u16string_view, 4> names;
};

// Families whose PostScript names do not follow from the family's.
constexpr FamilyRow kFamilies[] = {
    {u"Arial", {u"ArialMT", u"Arial-BoldMT", u"Arial-ItalicMT", u"Arial-BoldItalicMT"}},
    {u"Courier", {u"Courier", u"Courier-Bold", u"Courier-Oblique", u"Courier-BoldOblique"}},
    {u"Courier New",
     {u"CourierNewPSMT", u"CourierNewPS-BoldMT", u"CourierNewPS-ItalicMT", u"CourierNewPS-BoldItalicMT"}},
    {u"Helvetica", {u"Helvetica", u"Helvetica-Bold", u"Helvetica-Oblique", u"Helvetica-BoldOblique"}},
    {u"Menlo", {u"Menlo-Regular", u"Menlo-Bold", u"Menlo-Italic", u"Menlo-BoldItalic"}},
    {u"Palatino", {u"Palatino-Roman", u"Palatino-Bold", u"Palatino-Italic", u"Palatino-BoldItalic"}},
    {u"Times", {u"Times-Roman", u"Times-Bold", u"Times-Italic", u"Times-BoldItalic"}},
    {u"Times New Roman",
     {u"TimesNewRomanPSMT", u"TimesNewRomanPS-BoldMT", u"TimesNewRomanPS-ItalicMT", u"TimesNewRomanPS-BoldItalicMT"}},
    {u"Trebuchet MS", {u"TrebuchetMS", u"TrebuchetMS-Bold", u"TrebuchetMS-Italic", u"Trebuchet-BoldItalic"}},
};

constexpr std::size_t styleIndex(bool bold, bool italic) noexcept {
    return (bold ? 1U : 0U) + (italic ? 2U : 0U);
}

bool contains(std::u16string_view text, std::u16string_view part) noexcept {
    return text.find(part) != text.npos;
}

/// "Helvetica Neue" of "HelveticaNeue": a blank before every capital that follows a small letter.
std::u16string familyOfPostScriptName(std::u16string_view name) {
    std::u16string family;
    for (const char16_t unit : name) {
        const bool isCapital = unit >= u'A' && unit <= u'Z';
        if (isCapital && !family.empty() && family.back() >= u'a' && family.back() <= u'z') family += u' ';
        family += unit;
    }
    return family;
}

std::u16string postScriptNameOfFamily(std::u16string_view family) {
    std::u16string name(family);
    std::erase(name, u' ');
    return name;
}

std::u16string_view suffixOf(bool bold, bool italic) noexcept {
    constexpr std::array<std::u16string_view, 4> kSuffixes = {u"", u"-Bold", u"-Italic", u"-BoldItalic"};
    return kSuffixes[styleIndex(bold, italic)];
}

}  // namespace

Font fontNamed(std::u16string_view name, FontNaming naming, double size, bool bold, bool italic) {
    Font font{.name = {}, .family = {}, .size = size, .bold = bold, .italic = italic};
    for (const FamilyRow& row : kFamilies) {
        const auto known = std::ranges::find(row.names, name);
        if (name != row.family && known == row.names.end()) continue;
        const auto index = known == row.names.end() ? 0U : static_cast<std::size_t>(known - row.names.begin());
        font.bold = bold || (index & 1U) != 0;
        font.italic = italic || (index & 2U) != 0;
        font.family = row.family;
        font.name = row.names[styleIndex(font.bold, font.italic)];
        return font;
    }

    const std::size_t hyphen = name.find(u'-');
    if (naming == FontNaming::family || contains(name, u" ")) {
        font.family = name;
        font.name = postScriptNameOfFamily(name);
        font.name += suffixOf(bold, italic);
        return font;
    }
    const std::u16string_view style = hyphen == name.npos ? std::u16string_view() : name.substr(hyphen + 1);
    const bool namedBold = contains(style, u"Bold");
    const bool namedItalic = contains(style, u"Italic") || contains(style, u"Oblique");
    font.bold = bold || namedBold;
    font.italic = italic || namedItalic;
    font.family = familyOfPostScriptName(name.substr(0, hyphen));
    // A style that the name says already needs no other name; one that it does not say replaces what it says.
    const bool saysAll = (!bold || namedBold) && (!italic || namedItalic);
    font.name = saysAll ? std::u16string(name) : std::u16string(name.substr(0, hyphen));
    if (!saysAll) font.name += suffixOf(font.bold, font.italic);
    return font;
}

}  // namespace halden
