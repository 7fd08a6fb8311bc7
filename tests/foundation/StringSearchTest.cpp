#include "foundation/StringSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using Index = std::optional<std::size_t>;

char16_t upper(char16_t unit) {
    return initUpperCharsTable()[unit];
}

bool plainlyEqualNoCase(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b, {}, upper, upper);
}

Index plainlyFoundOneOf(std::u16string_view string, std::u16string_view units, std::size_t startAt, bool ignoresCase) {
    for (std::size_t i = startAt; i < string.size(); ++i) {
        for (const char16_t unit : units) {
            if (unit == string[i] || (ignoresCase && upper(unit) == upper(string[i]))) return i;
        }
    }
    return std::nullopt;
}

TEST(StringSearch, FindsFromAPlaceOn) {
    const struct {
        std::u16string_view string, units;
        std::size_t startAt;
        CaseSensitivity caseSensitive;
        Index found;
    } cases[] = {
        {u"a?b&c", u"&?", 0, CaseSensitivity::sensitive, 1},
        {u"a?b&c", u"&?", 1, CaseSensitivity::sensitive, 1},
        {u"a?b&c", u"&?", 2, CaseSensitivity::sensitive, 3},
        {u"a?b&c", u"&?", 4, CaseSensitivity::sensitive, std::nullopt},
        {u"a?b&c", u"&?", 5, CaseSensitivity::sensitive, std::nullopt},
        {u"a?b&c", u"&?", SIZE_MAX, CaseSensitivity::sensitive, std::nullopt},
        {u"a?b&c", u"", 0, CaseSensitivity::sensitive, std::nullopt},
        {u"", u"a", 0, CaseSensitivity::sensitive, std::nullopt},
        {u"xAb", u"ab", 0, CaseSensitivity::sensitive, 2},
        {u"xAb", u"ab", 0, CaseSensitivity::insensitive, 1},
        {u"xÄ", u"ä", 0, CaseSensitivity::insensitive, 1},
        {u"xxxxſ", u"S", 0, CaseSensitivity::insensitive, 4},                  // the long s has the upper case S
        {u"xxxx\u212A", u"k", 0, CaseSensitivity::insensitive, std::nullopt},  // the kelvin sign is no K in upper case
        {std::u16string_view(u"a\0b", 3), std::u16string_view(u"\0", 1), 0, CaseSensitivity::sensitive, 1},
        {u"ab9", u"0123456789", 0, CaseSensitivity::sensitive, 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(findOneOf(c.string, c.units, c.startAt, c.caseSensitive), c.found) << c.startAt;
    }
    EXPECT_EQ(findCharacter(u"a#b#", u'#'), 1U);
    EXPECT_EQ(findCharacter(u"ab", u'#'), std::nullopt);
    EXPECT_EQ(findCharacter(u"", u'#'), std::nullopt);
}

TEST(StringSearch, IgnoresCaseUnitByUnit) {
    const struct {
        std::u16string_view string, part;
        bool isPrefix, isSuffix, isContained;
    } cases[] = {
        {u"HTTP://www.H", u"http://", true, false, true},
        {u"x/INDEX.html", u"/index.HTML", false, true, true},
        {u"abc", u"", true, true, false},
        {u"", u"", true, true, false},
        {u"", u"a", false, false, false},
        {u"ab", u"abc", false, false, false},
        {u"Straße", u"STRASSE", false, false, false},
        {u"ÉTÉ", u"été", true, true, true},
        {u"[a]", u"{A}", false, false, false},  // 0x20 apart, and no letters
        {u"@a", u"`a", false, false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(hasPrefixNoCase(c.string, c.part), c.isPrefix);
        EXPECT_EQ(hasSuffixNoCase(c.string, c.part), c.isSuffix);
        EXPECT_EQ(containsSubstring(c.string, c.part, CaseSensitivity::insensitive), c.isContained);
    }
    EXPECT_FALSE(containsSubstring(u"xABC", u"abc", CaseSensitivity::sensitive));
    EXPECT_TRUE(containsSubstring(u"xabc", u"abc", CaseSensitivity::sensitive));
}

TEST(StringSearch, AgreesWithThePlainRules) {
    std::mt19937 random(7);
    const auto upTo = [&](std::size_t limit) { return random() % (limit + 1); };
    const auto text = [&](std::size_t length) {
        static constexpr std::u16string_view kUnits = u"xaAzZ@`[{&;?\u017F\u0131\u00E9\u00C9\u1C84\u0442\uFFFF";
        std::u16string result;
        for (std::size_t i = 0; i < length; ++i)
            result += kUnits[upTo(3) == 0 ? upTo(kUnits.size() - 1) : 0];
        return result;
    };
    for (int round = 0; round < 20000; ++round) {
        const std::u16string string = text(upTo(100));
        const std::u16string units = text(upTo(10)).substr(0, upTo(10));
        const std::size_t startAt = upTo(string.size() + 1);
        ASSERT_EQ(findOneOf(string, units, startAt), plainlyFoundOneOf(string, units, startAt, false));
        ASSERT_EQ(findOneOf(string, units, startAt, CaseSensitivity::insensitive),
                  plainlyFoundOneOf(string, units, startAt, true));
        const char16_t unit = text(1)[0];
        ASSERT_EQ(findCharacter(string, unit), plainlyFoundOneOf(string, {&unit, 1}, 0, false));
        const std::u16string other = text(upTo(4));
        const std::size_t length = std::min(other.size(), string.size());
        ASSERT_EQ(hasPrefixNoCase(string, other), plainlyEqualNoCase(string.substr(0, length), other));
        ASSERT_EQ(hasSuffixNoCase(string, other), plainlyEqualNoCase(string.substr(string.size() - length), other));
    }
}

}  // namespace
}  // namespace halden
