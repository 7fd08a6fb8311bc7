#include "richtext/RtfListMarkers.h"

#include <algorithm>

namespace halden {
namespace {

std::u16string decimal(std::int64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

std::u16string roman(std::int32_t number, bool capital) {
    struct Numeral {
        std::int32_t value;
        const char16_t* letters;
    };
    static constexpr Numeral kNumerals[] = {{1000, u"m"}, {900, u"cm"}, {500, u"d"}, {400, u"cd"}, {100, u"c"},
                                            {90, u"xc"},  {50, u"l"},   {40, u"xl"}, {10, u"x"},   {9, u"ix"},
                                            {5, u"v"},    {4, u"iv"},   {1, u"i"}};
    if (number < 1 || number > 3999) return decimal(number);
    std::u16string text;
    for (const Numeral& numeral : kNumerals) {
        for (; number >= numeral.value; number -= numeral.value)
            text += numeral.letters;
    }
    if (capital) std::ranges::transform(text, text.begin(), [](char16_t c) { return static_cast<char16_t>(c - 0x20); });
    return text;
}

/// a to z, then aa to zz, and so on: the letter says the place, its repetition the round.
std::u16string letters(std::int32_t number, char16_t first) {
    if (number < 1 || number > 26 * 30) return decimal(number);
    return std::u16string(static_cast<std::size_t>((number - 1) / 26 + 1),
                          static_cast<char16_t>(first + (number - 1) % 26));
}

std::u16string ordinal(std::int32_t number) {
    const std::int32_t tens = number / 10 % 10;
    const char16_t* suffix = u"th";
    if (tens != 1 && number % 10 == 1) suffix = u"st";
    if (tens != 1 && number % 10 == 2) suffix = u"nd";
    if (tens != 1 && number % 10 == 3) suffix = u"rd";
    return decimal(number) + suffix;
}

/// The number of the paragraph after `count` others; what a file states as the first one may be anything.
std::int32_t numberAfter(std::int32_t start, std::int32_t count) noexcept {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(std::int64_t{start} + count, 0, INT32_MAX));
}

}  // namespace

std::int32_t rtfNumberKind(RtfOldNumbering::Kind kind) noexcept {
    switch (kind) {
        case RtfOldNumbering::Kind::none:
        case RtfOldNumbering::Kind::bullet:
            return 23;
        case RtfOldNumbering::Kind::decimal:
            return 0;
        case RtfOldNumbering::Kind::upperRoman:
            return 1;
        case RtfOldNumbering::Kind::lowerRoman:
            return 2;
        case RtfOldNumbering::Kind::upperLetter:
            return 3;
        case RtfOldNumbering::Kind::lowerLetter:
            return 4;
    }
    return 0;
}

std::u16string rtfListNumber(std::int32_t number, std::int32_t numberKind) {
    switch (numberKind) {
        case 1:
        case 2:
            return roman(number, numberKind == 1);
        case 3:
            return letters(number, u'A');
        case 4:
            return letters(number, u'a');
        case 5:
            return ordinal(number);
        case 22:
            return number >= 0 && number < 10 ? u"0" + decimal(number) : decimal(number);
        case 23:
        case 255:
            return {};
        default:
            return decimal(number);
    }
}

std::u16string RtfListCounters::nextMarker(const RtfList& list, std::size_t level) {
    if (level >= list.levels.size()) return {};
    const bool countsAlone = list.restartedBy != kRtfUnset;
    Counts& counts = counts_[countsAlone ? (std::int64_t{1} << 33) + list.restartedBy : list.id];
    ++counts[level];
    std::fill(counts.begin() + static_cast<std::ptrdiff_t>(level) + 1, counts.end(), 0);

    std::u16string marker;
    for (const char16_t unit : list.levels[level].text) {
        if (unit >= RtfHeaderTables::kMaxListLevels) {
            marker += unit;
            continue;
        }
        if (unit >= list.levels.size()) continue;
        const RtfListLevel& numbered = list.levels[unit];
        // A level that has not come yet counts as begun.
        marker += rtfListNumber(numberAfter(numbered.start, std::max(counts[unit], 1) - 1), numbered.numberKind);
    }
    return marker;
}

std::u16string RtfListCounters::nextMarker(const RtfOldNumbering& numbering) {
    if (numbering.kind == RtfOldNumbering::Kind::none) return {};
    if (numbering != oldNumbering_) {
        oldNumbering_ = numbering;
        oldCount_ = 0;
    }
    const std::int32_t number = numberAfter(numbering.start, oldCount_);
    if (oldCount_ < INT32_MAX) ++oldCount_;
    return numbering.before + rtfListNumber(number, rtfNumberKind(numbering.kind)) + numbering.after;
}

}  // namespace halden
