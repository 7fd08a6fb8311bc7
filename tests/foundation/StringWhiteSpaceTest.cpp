#include "foundation/Characters.h"
#include "foundation/StringWhiteSpace.h"
#include "foundation/UnitSets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

// --- The rules without any haste -----------------------------------------------------------------------------------

template <class IsMember>
std::u16string plainlyCollapsed(std::u16string_view string, IsMember isMember, char16_t replacement) {
    std::u16string result;
    for (std::size_t i = 0; i < string.size(); ++i) {
        if (!isMember(string[i])) {
            result += string[i];
        } else if (i == 0 || !isMember(string[i - 1])) {
            result += replacement;
        }
    }
    return result;
}

template <class IsMember>
std::u16string plainlyRemoved(std::u16string_view string, IsMember isMember) {
    std::u16string result;
    std::ranges::copy_if(string, std::back_inserter(result), std::not_fn(isMember));
    return result;
}

bool isSpace(char16_t unit) {
    return spaceCharacterSetRep().contains(unit);
}

bool isWhite(char16_t unit) {
    return whiteCharacterSetRep().contains(unit);
}

std::u16string expanded(std::u16string string, std::size_t width) {
    decodeTabs(string, width);
    return string;
}

std::u16string encoded(std::u16string string, std::size_t width) {
    encodeTabs(string, width);
    return string;
}

/// Words, runs of white space of every kind, and higher scripts, in mixtures that change along the text.
std::u16string randomText(std::mt19937& random) {
    static constexpr std::u16string_view kWhite =
        u"  \t\n\r\f\0\u0003\u0085\u00A0\u1680\u2003\u2028\u2029\u202F\u3000\uFEFF\uFFFC\u000B\u001F\u200B"sv;
    static constexpr std::u16string_view kOther = u"abc\u00E9\u4E00\u2019\xD83D\xDE00\uFFFF\u007F\u0100";
    std::u16string text(random() % 130, u' ');
    std::size_t rate = 0;
    for (char16_t& unit : text) {
        if (random() % 20 == 0) rate = random() % 5;
        if (random() % 4 < rate) {
            unit = random() % 3 != 0 ? u' ' : kWhite[random() % kWhite.size()];
        } else {
            unit = random() % 3 != 0 ? u'x' : kOther[random() % (random() % 2 == 0 ? 3 : kOther.size())];
        }
    }
    return text;
}

// --- Tests ---------------------------------------------------------------------------------------------------------

TEST(StringWhiteSpace, CollapsesRuns) {
    const struct {
        std::u16string_view string, spaces, white;
    } cases[] = {
        {u"", u"", u""},
        {u"\t", u" ", u" "},
        {u"\n", u"\n", u" "},
        {u" a \n\n b\t", u" a \n\n b ", u" a b "},
        {u"a \t b", u"a b", u"a b"},
        {u"a\u00A0b", u"a b", u"a b"},
        {u"a\0\0b"sv, u"a b", u"a b"},
        {u"a\uFEFF\uFFFC\u0003b", u"a\uFEFF\uFFFC\u0003b", u"a b"},
        {u"plain words stay", u"plain words stay", u"plain words stay"},
    };
    for (const auto& c : cases) {
        std::u16string string(c.string);
        EXPECT_EQ(removeMultipleSpacesAndFeeds(string, CollapsedSet::spaces), c.spaces.size());
        EXPECT_EQ(string, c.spaces);
        EXPECT_EQ(stringByRemovingMultipleSpacesAndFeeds(std::u16string(c.string), CollapsedSet::white), c.white);
    }
    EXPECT_EQ(stringByRemovingMultipleFeeds(u"\r\na\n\nb\u2028c \n \n"), u"\na\nb\nc \n \n");
}

TEST(StringWhiteSpace, DeletesItsSet) {
    const std::u16string text = u"\tA\n\f\r\u0003\uFFFC\uFEFF\u2028\u2029 \u00A0\u000B\u0085\u3000B\0"s;
    EXPECT_EQ(stringByRemovingFeeds(text), u"\tA \u00A0\u000B\u0085\u3000B\0"s);
    EXPECT_EQ(stringByRemovingTabs(text), text.substr(1));
    EXPECT_EQ(stringByRemovingSpaces(text), u"A\n\f\r\u0003\uFFFC\uFEFF\u2028\u2029\u000B\u0085B");
    EXPECT_EQ(stringByRemovingWhiteCharacters(text), u"AB");
    EXPECT_EQ(stringByRemovingFeeds(u""), u"");
}

TEST(StringWhiteSpace, AgreesWithThePlainRules) {
    std::mt19937 random(3);
    for (int round = 0; round < 40000; ++round) {
        const std::u16string text = randomText(random);
        std::u16string collapsed = text;
        const std::size_t length = removeMultipleSpacesAndFeeds(collapsed, CollapsedSet::white);
        ASSERT_EQ(collapsed, plainlyCollapsed(text, isWhite, u' '));
        ASSERT_EQ(length, collapsed.size());
        ASSERT_EQ(stringByRemovingMultipleSpacesAndFeeds(text, CollapsedSet::spaces),
                  plainlyCollapsed(text, isSpace, u' '));
        ASSERT_EQ(stringByRemovingMultipleFeeds(text), plainlyCollapsed(text, isFeed, u'\n'));
        ASSERT_EQ(stringByRemovingFeeds(text), plainlyRemoved(text, isFeed));
        ASSERT_EQ(stringByRemovingTabs(text), plainlyRemoved(text, [](char16_t unit) { return unit == u'\t'; }));
        ASSERT_EQ(stringByRemovingSpaces(text), plainlyRemoved(text, isSpace));
        ASSERT_EQ(stringByRemovingWhiteCharacters(text), plainlyRemoved(text, isWhite));
        ASSERT_EQ(stringByRemovingMultipleSpacesAndFeeds(collapsed, CollapsedSet::white), collapsed);
    }
}

// The blocks' comparisons name the members; the bitmaps are made from Unicode's classes. Each unit must agree.
TEST(StringWhiteSpace, FindsInBlocksWhatIsInTheBitmaps) {
    const auto agrees = [](const auto& set, const char16_t* block) {
        for (std::size_t i = 0; i < WideUnits::kCount; ++i) {
            if (((set.members(block) >> i) & 1) != std::uint32_t{set.contains(block[i])}) return false;
        }
        return true;
    };
    for (std::size_t first = 0; first <= 0xFFFF; first += WideUnits::kCount) {
        char16_t block[WideUnits::kCount];
        for (std::size_t i = 0; i < WideUnits::kCount; ++i)
            block[i] = static_cast<char16_t>(first + i);
        ASSERT_TRUE(agrees(WhiteUnits(), block)) << first;
        ASSERT_TRUE(agrees(SpaceUnits(), block)) << first;
        ASSERT_TRUE(agrees(FeedUnits(), block)) << first;
        ASSERT_TRUE(agrees(TabUnits(), block)) << first;
    }
}

TEST(StringWhiteSpace, WritesTabsAsColumns) {
    const struct {
        std::u16string_view string;
        std::size_t width;
        std::u16string_view decoded, encoded;
    } cases[] = {
        {u"\ta", 4, u"    a", u"\ta"},
        {u"ab\tc", 4, u"ab  c", u"ab\tc"},
        {u"abcd\te", 4, u"abcd    e", u"abcd\te"},
        {u"ab\n\tc", 4, u"ab\n    c", u"ab\n\tc"},
        {u"ab\u2028\tc", 4, u"ab\u2028    c", u"ab\u2028\tc"},
        {u"      a", 4, u"      a", u"\t  a"},
        {u"  \ta", 4, u"    a", u"\ta"},
        {u"abc d", 4, u"abc d", u"abc d"},  // the single space meets the stop
        {u"ab  c", 4, u"ab  c", u"ab\tc"},
        {u"a  b", 4, u"a  b", u"a  b"},
        {u"a\tb", 1, u"a b", u"a\tb"},
        {u"a\tb   ", 0, u"a\tb   ", u"a\tb   "},
        {u"a\tb   ", kMaximalTabWidth + 1, u"a\tb   ", u"a\tb   "},
        {u"", 8, u"", u""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(expanded(std::u16string(c.string), c.width), c.decoded);
        EXPECT_EQ(encoded(std::u16string(c.string), c.width), c.encoded);
    }
}

TEST(StringWhiteSpace, KeepsColumnsWhenTabsAreEncoded) {
    std::mt19937 random(5);
    for (int round = 0; round < 5000; ++round) {
        const std::u16string text = randomText(random);
        const std::size_t width = 1 + random() % 9;
        const std::u16string tabs = encoded(text, width);
        ASSERT_EQ(expanded(tabs, width), expanded(text, width));
        ASSERT_LE(tabs.size(), text.size());
        ASSERT_EQ(encoded(tabs, width), tabs);
        ASSERT_EQ(expanded(text, width).find(u'\t'), std::u16string::npos);
    }
}

}  // namespace
}  // namespace halden
