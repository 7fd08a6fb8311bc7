#include "richtext/RtfWriteTables.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <cmath>

namespace halden {
namespace {

constexpr std::int32_t kNoLanguage = 1024;
constexpr std::size_t kMaxListLevels = 9;
constexpr std::size_t kMaxColors = 65000;
// Characters of a list's marker; its length is written in one byte below 0x20.
constexpr std::size_t kMaxMarker = 24;

/// Which of the format's families a font belongs to, for readers that do not have it.
std::string_view familyWord(std::u16string_view name) noexcept {
    struct Row {
        std::u16string_view prefix;
        std::string_view word;
    };
    static constexpr Row kRows[] = {{u"Times", "froman"},        {u"Georgia", "froman"},   {u"Palatino", "froman"},
                                    {u"Courier", "fmodern"},     {u"Menlo", "fmodern"},    {u"Monaco", "fmodern"},
                                    {u"Arial", "fswiss"},        {u"Helvetica", "fswiss"}, {u"Verdana", "fswiss"},
                                    {u"LucidaGrande", "fswiss"}, {u"Geneva", "fswiss"},    {u"Tahoma", "fswiss"}};
    if (name.starts_with(u"HelveticaNeue")) return "fnil";
    for (const Row& row : kRows) {
        if (name.starts_with(row.prefix)) return row.word;
    }
    return "fnil";
}

int eighthBit(double component) noexcept {
    return static_cast<int>(std::lround(component * 255));
}

/// Whether three numbers of 8 bits say all of a colour.
bool isOf8Bits(const Color& color) noexcept {
    const auto is = [](double component) { return component == eighthBit(component) / 255.0; };
    return color.alpha == 1 && is(color.red) && is(color.green) && is(color.blue);
}

struct Marker {
    std::int32_t kind = 23;  // \levelnfc
    std::u16string before;   // of a number, or the bullet itself
    std::u16string after;
};

/// What a marker format means to readers that only know the format's own terms.
Marker markerOf(std::u16string_view format) {
    struct Row {
        std::u16string_view name;
        std::int32_t kind;
        std::u16string_view bullet;
    };
    static constexpr Row kRows[] = {
        {u"{decimal}", 0, {}},           {u"{upper-roman}", 1, {}},    {u"{lower-roman}", 2, {}},
        {u"{upper-alpha}", 3, {}},       {u"{lower-alpha}", 4, {}},    {u"{upper-latin}", 3, {}},
        {u"{lower-latin}", 4, {}},       {u"{octal}", 0, {}},          {u"{upper-hexadecimal}", 0, {}},
        {u"{lower-hexadecimal}", 0, {}}, {u"{disc}", 23, u"\u2022"},   {u"{circle}", 23, u"\u25E6"},
        {u"{square}", 23, u"\u25AA"},    {u"{box}", 23, u"\u25A1"},    {u"{hyphen}", 23, u"\u2043"},
        {u"{check}", 23, u"\u2713"},     {u"{diamond}", 23, u"\u25C6"}};
    const auto cut = [](std::u16string_view text) { return std::u16string(text.substr(0, kMaxMarker / 2)); };
    for (const Row& row : kRows) {
        const std::size_t place = format.find(row.name);
        if (place == format.npos) continue;
        Marker marker{.kind = row.kind,
                      .before = cut(format.substr(0, place)),
                      .after = cut(format.substr(place + row.name.size()))};
        if (row.kind == 23) marker.before += row.bullet;
        return marker;
    }
    return {.kind = 23, .before = cut(format), .after = {}};
}

void hexByte(RtfOutput& output, std::size_t value) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    output.mark(std::string("\\'") + kDigits[value >> 4] + kDigits[value & 15]);
}

void writeLevel(RtfOutput& output, const TextList& list, std::size_t level, std::size_t listNumber) {
    const Marker marker = markerOf(list.markerFormat);
    const bool isNumbered = marker.kind != 23;
    output.open();
    output.word("listlevel");
    output.word("levelnfc", marker.kind);
    output.word("levelnfcn", marker.kind);
    output.word("leveljc", 0);
    output.word("leveljcn", 0);
    output.word("levelfollow", 0);
    output.word("levelstartat", list.startingItemNumber);
    output.word("levelspace", 360);
    output.word("levelindent", 0);
    output.openStarred("levelmarker");
    output.blank();
    output.text(list.markerFormat);
    output.close();
    output.open();
    output.word("leveltext");
    output.word("leveltemplateid", static_cast<std::int64_t>(listNumber * 100 + level + 1));
    hexByte(output, marker.before.size() + marker.after.size() + (isNumbered ? 1 : 0));
    output.text(marker.before, RtfOutput::Bytes::none);
    if (isNumbered) hexByte(output, level);
    output.text(marker.after, RtfOutput::Bytes::none);
    output.raw(";");
    output.close();
    output.open();
    output.word("levelnumbers");
    if (isNumbered) hexByte(output, marker.before.size() + 1);
    output.raw(";");
    output.close();
    output.word("fi", -360);
    output.word("li", static_cast<std::int64_t>(720 * (level + 1)));
    output.word("lin", static_cast<std::int64_t>(720 * (level + 1)));
    output.blank();
    output.close();
}

}  // namespace

RtfWriteTables::RtfWriteTables() : colors_{Color{1, 1, 1, 1}} {
    colorNumbers_.emplace(std::array<double, 4>{1, 1, 1, 1}, 1);
}

std::int32_t RtfWriteTables::fontNumber(const Font& font) {
    const std::u16string& name = !font.name.empty() ? font.name : font.family;
    const auto [place, isNew] = fontNumbers_.try_emplace(name, static_cast<std::int32_t>(fonts_.size()));
    if (isNew) fonts_.push_back(name);
    return place->second;
}

std::int32_t RtfWriteTables::colorNumber(const std::optional<Color>& color) {
    if (!color) return 0;
    const auto component = [](double value) { return std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0); };
    const Color cut{component(color->red), component(color->green), component(color->blue), component(color->alpha)};
    const auto next = static_cast<std::int32_t>(colors_.size() + 1);
    if (colors_.size() >= kMaxColors) {
        const auto known = colorNumbers_.find({cut.red, cut.green, cut.blue, cut.alpha});
        return known == colorNumbers_.end() ? 0 : known->second;
    }
    const auto [place, isNew] = colorNumbers_.try_emplace({cut.red, cut.green, cut.blue, cut.alpha}, next);
    if (isNew) colors_.push_back(cut);
    return place->second;
}

std::int32_t RtfWriteTables::languageNumber(const std::u16string& language) {
    if (language.empty()) return kNoLanguage;
    const auto [place, isNew] = languages_.try_emplace(language, kNoLanguage);
    if (!isNew || language.size() >= ULOC_FULLNAME_CAPACITY) return place->second;
    if (std::ranges::any_of(language, [](char16_t unit) { return unit == 0 || unit > 0x7F; })) return place->second;
    const std::string tag(language.begin(), language.end());
    char locale[ULOC_FULLNAME_CAPACITY];
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t parsed = 0;
    const std::int32_t length = uloc_forLanguageTag(tag.c_str(), locale, sizeof locale, &parsed, &error);
    if (U_FAILURE(error) || length <= 0 || length >= static_cast<std::int32_t>(sizeof locale)) return place->second;
    const std::uint32_t number = uloc_getLCID(locale);
    if (number != 0 && number <= 0xFFFF) place->second = static_cast<std::int32_t>(number);
    return place->second;
}

RtfWriteTables::ListPlace RtfWriteTables::listPlace(const std::vector<std::shared_ptr<const TextList>>& lists) {
    ListPath path;
    for (std::size_t i = 0; i < std::min(lists.size(), kMaxListLevels); ++i)
        path.push_back(lists[i].get());
    return {.number = listNumber(path), .level = static_cast<std::int32_t>(path.size()) - 1};
}

/// A list of the format has one marker for each level. So a path of lists joins a list that has its outer levels and
/// none below them, and begins one of its own where there is none.
std::int32_t RtfWriteTables::listNumber(const ListPath& path) {
    if (const auto found = listOfPath_.find(path); found != listOfPath_.end()) return found->second;
    if (path.size() > 1) {
        const ListPath outer(path.begin(), path.end() - 1);
        (void)listNumber(outer);
        if (const auto open = openLists_.find(outer); open != openLists_.end()) {
            const std::int32_t number = open->second;
            openLists_.erase(open);
            lists_[static_cast<std::size_t>(number) - 1] = path;
            openLists_.emplace(path, number);
            listOfPath_.emplace(path, number);
            return number;
        }
    }
    lists_.push_back(path);
    const auto number = static_cast<std::int32_t>(lists_.size());
    openLists_.emplace(path, number);
    listOfPath_.emplace(path, number);
    return number;
}

void RtfWriteTables::write(RtfOutput& output) const {
    writeFonts(output);
    output.newLine();
    writeColors(output);
    output.newLine();
    writeLists(output);
}

void RtfWriteTables::writeFonts(RtfOutput& output) const {
    output.open();
    output.word("fonttbl");
    for (std::size_t number = 0; number < fonts_.size(); ++number) {
        output.word("f", static_cast<std::int64_t>(number));
        output.word(familyWord(fonts_[number]));
        output.word("fcharset", 0);
        output.blank();
        std::u16string name = fonts_[number];
        std::erase(name, u';');  // ends a name
        output.text(name);
        output.raw(";");
    }
    output.close();
}

/// Colours that 8 bits cannot say stand in both tables, all others in the first one alone.
void RtfWriteTables::writeColors(RtfOutput& output) const {
    output.open();
    output.word("colortbl");
    output.mark(";");
    for (const Color& color : colors_) {
        output.word("red", eighthBit(color.red));
        output.word("green", eighthBit(color.green));
        output.word("blue", eighthBit(color.blue));
        output.mark(";");
    }
    output.close();
    output.newLine();
    output.openStarred("expandedcolortbl");
    output.mark(";");
    for (const Color& color : colors_) {
        if (!isOf8Bits(color)) {
            output.word("cssrgb");
            for (const double component : {color.red, color.green, color.blue})
                output.word("c", rtfNumber(component, 100000));
            if (color.alpha != 1) output.word("c", rtfNumber(color.alpha, 100000));
        }
        output.mark(";");
    }
    output.close();
}

void RtfWriteTables::writeLists(RtfOutput& output) const {
    if (lists_.empty()) return;
    output.openStarred("listtable");
    for (std::size_t number = 1; number <= lists_.size(); ++number) {
        output.open();
        output.word("list");
        output.word("listtemplateid", static_cast<std::int64_t>(number));
        output.word("listhybrid");
        const ListPath& levels = lists_[number - 1];
        for (std::size_t level = 0; level < levels.size(); ++level)
            writeLevel(output, *levels[level], level, number);
        output.mark("{\\listname ;}");
        output.word("listid", static_cast<std::int64_t>(number));
        output.close();
        output.newLine();
    }
    output.close();
    output.newLine();
    output.openStarred("listoverridetable");
    for (std::size_t number = 1; number <= lists_.size(); ++number) {
        output.open();
        output.word("listoverride");
        output.word("listid", static_cast<std::int64_t>(number));
        output.word("listoverridecount", 0);
        output.word("ls", static_cast<std::int64_t>(number));
        output.close();
    }
    output.close();
    output.newLine();
}

}  // namespace halden
