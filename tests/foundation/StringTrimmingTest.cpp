#include "foundation/Characters.h"
#include "foundation/StringTrimming.h"
#include "foundation/StringWhiteSpace.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;

TEST(StringTrimming, TrimsSpacesWithOrWithoutFeeds) {
    const struct {
        std::u16string_view string, spaces, left, right, white;
    } cases[] = {
        {u"", u"", u"", u"", u""},
        {u" \t ", u"", u"", u"", u""},
        {u" a b\t", u"a b", u"a b\t", u" a b", u"a b"},
        {u"\n a \n", u"\n a \n", u"\n a \n", u"\n a \n", u"a"},
        {u"\uFEFFa\uFFFC\u0003", u"\uFEFFa\uFFFC\u0003", u"\uFEFFa\uFFFC\u0003", u"\uFEFFa\uFFFC\u0003", u"a"},
        {u"\0a\0"sv, u"a", u"a\0"sv, u"\0a"sv, u"a"},
        {u"\u00A0a\u3000", u"a", u"a\u3000", u"\u00A0a", u"a"},
        {u"\u2028", u"\u2028", u"\u2028", u"\u2028", u""},
    };
    for (const auto& c : cases) {
        const std::u16string string(c.string);
        EXPECT_EQ(stringByTrimmingSpacesAndFeeds(string, TrimmedSet::spaces), c.spaces);
        EXPECT_EQ(stringByTrimmingLeftSpacesAndFeeds(string, TrimmedSet::spaces), c.left);
        EXPECT_EQ(stringByTrimmingRightSpacesAndFeeds(string, TrimmedSet::spaces), c.right);
        EXPECT_EQ(stringByTrimmingSpacesAndFeeds(string, TrimmedSet::white), c.white);
        EXPECT_EQ(trimmedOfSpacesAndFeeds(string, TrimmedSet::white), c.white);
    }
    EXPECT_EQ(stringByTrimmingLeftSpacesAndFeeds(u"\n a \n", TrimmedSet::white), u"a \n");
    EXPECT_EQ(stringByTrimmingRightSpacesAndFeeds(u"\n a \n", TrimmedSet::white), u"\n a");
}

TEST(StringTrimming, TrimsARangeInPlace) {
    const struct {
        std::u16string_view string;
        Range range;
        TrimmedSet set;
        std::u16string_view result;
        Range left;
    } cases[] = {
        {u"a  b  c", {1, 5}, TrimmedSet::spaces, u"abc", {1, 1}},
        {u"a  b  c", {3, 1}, TrimmedSet::spaces, u"a  b  c", {3, 1}},
        {u"a \n b", {1, 3}, TrimmedSet::spaces, u"a\nb", {1, 1}},
        {u"a \n b", {1, 3}, TrimmedSet::white, u"ab", {1, 0}},
        {u" a ", {1, SIZE_MAX}, TrimmedSet::white, u" a", {1, 1}},
        {u" a ", {7, 2}, TrimmedSet::white, u" a ", {3, 0}},
        {u" a ", {kNotFound, 0}, TrimmedSet::white, u" a ", {3, 0}},
    };
    for (const auto& c : cases) {
        std::u16string string(c.string);
        EXPECT_EQ(trimSpacesInRange(string, c.range, c.set), c.left);
        EXPECT_EQ(string, c.result);
    }
}

TEST(StringTrimming, TrimsOneKindOfCharacter) {
    const struct {
        std::u16string_view string, both, prefix, suffix, enclosing;
    } cases[] = {
        {u"", u"", u"", u"", u""},
        {u"/", u"", u"", u"", u"/"},
        {u"//", u"", u"", u"", u""},
        {u"///", u"", u"", u"", u"/"},
        {u"//a/b//", u"a/b", u"a/b//", u"//a/b", u"a/b"},
        {u"//a/", u"a", u"a/", u"//a", u"/a"},
        {u"/a", u"a", u"a", u"/a", u"/a"},
        {u"a/", u"a", u"a/", u"a", u"a/"},
        {u"a/b", u"a/b", u"a/b", u"a/b", u"a/b"},
    };
    for (const auto& c : cases) {
        const std::u16string string(c.string);
        EXPECT_EQ(stringByTrimmingCharacter(string, u'/'), c.both);
        EXPECT_EQ(stringByTrimmingPrefixCharacter(string, u'/'), c.prefix);
        EXPECT_EQ(stringByTrimmingSuffixCharacter(string, u'/'), c.suffix);
        EXPECT_EQ(stringByTrimmingEnclosingCharacter(string, u'/'), c.enclosing);
    }
}

TEST(StringTrimming, TrimsItsOwnSets) {
    const struct {
        std::u16string (*trim)(std::u16string);
        std::u16string_view string, result;
    } cases[] = {
        {stringByTrimmingQuotes, u"\"'x'\"", u"x"},
        {stringByTrimmingQuotes, u"''", u""},
        {stringByTrimmingQuotes, u"'", u""},
        {stringByTrimmingQuotes, u"", u""},
        {stringByTrimmingQuotes, u"\"it's", u"it's"},
        {stringByTrimmingQuotes, u"\u201Cx\u201D", u"\u201Cx\u201D"},
        {stringByTrimmingWhiteSpaces, u" \t\r\n\u0085\u2028\u00A0a b\u3000", u"a b"},
        {stringByTrimmingWhiteSpaces, u" \n ", u""},
        {stringByTrimmingWhiteSpaces, u"\uFEFF a \u0003", u"\uFEFF a \u0003"},
        {stringByTrimmingWhiteSpaces, u"\0 a"sv, u"\0 a"sv},
        {stringByTrimmingEllipsis, u"a...", u"a"},
        {stringByTrimmingEllipsis, u"a..", u"a.."},
        {stringByTrimmingEllipsis, u"\u2026 a b.....\u2026", u" a b"},
        {stringByTrimmingEllipsis, u"...a...b..", u"a...b.."},
        {stringByTrimmingEllipsis, u"..\u2026", u".."},
        {stringByTrimmingEllipsis, u"....", u""},
        {stringByTrimmingEllipsis, u"", u""},
        {stringByTrimmingDigits, u"12a3b\u0664", u"a3b"},
        {stringByTrimmingDigits, u"2024", u""},
        {stringByTrimmingDigits, u"\u00B2a", u"\u00B2a"},  // superscript two is a number, and no decimal digit
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.trim(std::u16string(c.string)), c.result);
    }
    std::u16string string = u"\r\n\uFEFF a \u2029\f";
    trimFeeds(string);
    EXPECT_EQ(string, u" a ");
}

TEST(StringTrimming, MovesOutWhatItDoesNotChange) {
    std::u16string string(100, u'x');
    const char16_t* units = string.data();
    string = stringByTrimmingSpacesAndFeeds(std::move(string), TrimmedSet::white);
    string = stringByTrimmingWhiteSpaces(std::move(string));
    string = stringByTrimmingEllipsis(std::move(string));
    string = stringByTrimmingSuffixCharacter(std::move(string), u'/');
    EXPECT_EQ(string.data(), units);
}

// A string of one unit only is kept or taken as the bitmap says, for each of the 65,536.
TEST(StringTrimming, TakesEveryMemberOfTheBitmaps) {
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
        const std::u16string string(3, static_cast<char16_t>(unit));
        const auto keeps = [&](std::u16string_view trimmed) { return !trimmed.empty(); };
        const auto member = static_cast<char16_t>(unit);
        ASSERT_EQ(keeps(trimmedOfSpacesAndFeeds(string, TrimmedSet::white)), !whiteCharacterSetRep().contains(member));
        ASSERT_EQ(keeps(trimmedOfSpacesAndFeeds(string, TrimmedSet::spaces)), !spaceCharacterSetRep().contains(member));
        ASSERT_EQ(keeps(stringByTrimmingDigits(string)), !digitCharacterSetRep().contains(member));
    }
}

}  // namespace
}  // namespace halden
