#include "foundation/CharacterComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

std::u16string widened(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes)
        units += static_cast<char16_t>(byte & 0x80 ? 0xFF00 + (byte & 0xFF) : byte);
    return units;
}

std::u16string upper(std::u16string units) {
    std::ranges::transform(units, units.begin(), toUpper);
    return units;
}

/// The rule itself, without any haste.
std::int64_t plainlyCompared(std::u16string_view first, std::u16string_view second) {
    for (std::size_t i = 0; i < std::min(first.size(), second.size()); ++i) {
        if (first[i] != second[i]) return std::int64_t{first[i]} - std::int64_t{second[i]};
    }
    return static_cast<std::int64_t>(first.size()) - static_cast<std::int64_t>(second.size());
}

std::optional<std::size_t> plainlyFound(std::u16string_view haystack, std::u16string_view needle) {
    if (needle.empty()) return std::nullopt;
    for (std::size_t i = 0; i + needle.size() <= haystack.size(); ++i) {
        if (haystack.substr(i, needle.size()) == needle) return i;
    }
    return std::nullopt;
}

std::optional<std::size_t> indexOf(const char16_t* place, std::u16string_view haystack) {
    if (place == nullptr) return std::nullopt;
    return static_cast<std::size_t>(place - haystack.data());
}

TEST(CharacterComparison, FollowsTheFirstDifferenceThenTheLengths) {
    EXPECT_EQ(fastCompareUnichars(u"abc", u"abc"), 0);
    EXPECT_EQ(fastCompareUnichars(u"ab", u"abcd"), -2);
    EXPECT_EQ(fastCompareUnichars(u"\uFFFF", u"\u0001"), 0xFFFE);
    EXPECT_EQ(fastCompareUnichars(u"", u""), 0);
    EXPECT_EQ(fastCompareUnicharsWithChars(u"a", "\xE9"), 0x61 - 0xFFE9);
    EXPECT_EQ(fastCompareUnicharsWithChars(u"\uFFE9", "\xE9"), 0);
    EXPECT_EQ(fastCompareChars("\xE9", "a"), -0x17 - 0x61);
    EXPECT_EQ(fastCompareChars("a", "abc"), -2);
    EXPECT_NE(fastCaseInsensitiveCompareUnichars(u"Straße", u"STRASSE"), 0);
    EXPECT_EQ(fastCaseInsensitiveCompareUnichars(u"Émile", u"éMILE"), 0);
    EXPECT_EQ(fastCaseInsensitiveCompareUnichars(u"a", u"B"), -1);
    EXPECT_EQ(fastCaseInsensitiveCompareUnicharsWithChars(u"Ab", "aB"), 0);
    EXPECT_EQ(fastCaseInsensitiveCompareChars("Ab", "aB"), 0);
    // 0xFF and 0xDF widen to halfwidth forms, not to letters of Latin 1.
    EXPECT_EQ(fastCaseInsensitiveCompareUnicharsWithChars(u"\uFFDF", "\xDF"), 0);
    EXPECT_EQ(fastCompareUnicharsUsingConversionTable(u"Ä", u"a", &initLowerUmlautsCharsTable()), 0);
    EXPECT_EQ(fastCompareUnicharsUsingConversionTable(u"Ä", u"A", nullptr), 0xC4 - 0x41);
}

TEST(CharacterComparison, FindsNoEmptyNeedle) {
    EXPECT_EQ(fastContainsUnichars(u"abc", u""), nullptr);
    EXPECT_EQ(fastContainsUnichars(u"", u""), nullptr);
    EXPECT_EQ(fastCaseInsensitiveUnicharsContainChars(u"abc", ""), nullptr);
    EXPECT_EQ(fastContainsUnichars(u"ab", u"abc"), nullptr);
    EXPECT_EQ(positionOfCharacters("BC", u"abcbc", CaseSensitivity::insensitive), 1U);
    EXPECT_EQ(positionOfCharacters("BC", u"abcbc", CaseSensitivity::sensitive), std::nullopt);
}

TEST(CharacterComparison, FindsEveryFormOfALetter) {
    const std::u16string_view smallForms = u"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\u1C84\u1C85\u0442\u0422";
    // All four have one upper case, the Cyrillic T.
    EXPECT_EQ(indexOf(fastCaseInsensitiveContainsUnichars(smallForms, u"\u0422"), smallForms), 41U);
    EXPECT_EQ(indexOf(fastCaseInsensitiveContainsUnichars(smallForms, u"\u0422\u0422\u1C84\u1C85"), smallForms), 41U);
    const std::u16string_view longS = u"</\u017FCRIPT";
    EXPECT_EQ(indexOf(fastCaseInsensitiveUnicharsContainChars(longS, "</script"), longS), 0U);
}

// Few letters, so that needles nearly match often; every length and place around the width of a block.
class RandomText {
public:
    std::u16string text(std::size_t length) {
        static constexpr std::u16string_view kUnits = u"aAbBsSſ\uFFE9é\u0442\u1C84";
        std::u16string result;
        for (std::size_t i = 0; i < length; ++i)
            result += kUnits[random_() % (random_() % 4 == 0 ? kUnits.size() : 2)];
        return result;
    }
    std::string bytes(std::size_t length) {
        static constexpr std::string_view kBytes = "aAbBs\xE9";
        std::string result;
        for (std::size_t i = 0; i < length; ++i)
            result += kBytes[random_() % (random_() % 4 == 0 ? kBytes.size() : 2)];
        return result;
    }
    std::size_t upTo(std::size_t limit) { return random_() % (limit + 1); }

private:
    std::mt19937 random_{20};
};

TEST(CharacterComparison, AgreesWithThePlainRule) {
    RandomText random;
    for (int round = 0; round < 30000; ++round) {
        const std::u16string haystack = random.text(random.upTo(120));
        const std::u16string needle = random.text(random.upTo(6));
        const std::string bytes = random.bytes(random.upTo(6));
        const std::u16string_view h = std::u16string_view(haystack).substr(random.upTo(haystack.size()));
        ASSERT_EQ(indexOf(fastContainsUnichars(h, needle), h), plainlyFound(h, needle));
        ASSERT_EQ(indexOf(fastUnicharsContainChars(h, bytes), h), plainlyFound(h, widened(bytes)));
        const std::u16string upperHaystack = upper(std::u16string(h));
        ASSERT_EQ(indexOf(fastCaseInsensitiveContainsUnichars(h, needle), h),
                  plainlyFound(upperHaystack, upper(needle)));
        ASSERT_EQ(indexOf(fastCaseInsensitiveUnicharsContainChars(h, bytes), h),
                  plainlyFound(upperHaystack, upper(widened(bytes))));
        std::u16string other(h);
        if (!other.empty() && random.upTo(3) > 0) other[random.upTo(other.size() - 1)] ^= 1;
        other.resize(random.upTo(1) == 0 ? other.size() : random.upTo(other.size()));
        ASSERT_EQ(fastCompareUnichars(h, other), plainlyCompared(h, other));
        ASSERT_EQ(fastCaseInsensitiveCompareUnichars(h, other), plainlyCompared(upperHaystack, upper(other)));
        ASSERT_EQ(fastCompareUnicharsWithChars(needle, bytes), plainlyCompared(needle, widened(bytes)));
    }
}

TEST(CharacterComparison, TakesLongNeedles) {
    const std::u16string needle(1000, u'ü');
    const std::u16string haystack = std::u16string(50, u'Ü') + u"x" + std::u16string(1000, u'Ü');
    EXPECT_EQ(indexOf(fastCaseInsensitiveContainsUnichars(haystack, needle), haystack), 51U);
    EXPECT_EQ(fastContainsUnichars(haystack, needle), nullptr);
}

}  // namespace
}  // namespace halden
