#include "foundation/StringConversion.h"
#include "foundation/StringNormalization.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;

struct Conversion {
    std::u16string (*convert)(std::u16string);
    char16_t (*unit)(char16_t);
    bool normalizesFirst;
};

// The forms beside the functions that convert one unit.
constexpr Conversion kConversions[] = {
    {nonUmlautedString, umlautsToAscii, false},
    {lowercaseNonUmlautedString, umlautsToLowerAscii, false},
    {uppercaseNonUmlautedString, umlautsToUpperAscii, false},
    {nonUmlautedNormalizedString, umlautsToAscii, true},
    {lowercaseNonUmlautedNormalizedString, umlautsToLowerAscii, true},
    {uppercaseNonUmlautedNormalizedString, umlautsToUpperAscii, true},
    {asciiString, toAscii, true},
    {lowercaseAsciiString, toLowerAscii, true},
    {uppercaseAsciiString, toUpperAscii, true},
};

std::u16string randomText(std::mt19937& random) {
    static constexpr std::u16string_view kUnits =
        u"\u00C4\u00E4\u00DF\u0130\u017F\u0301\uFB00\uFB03\uFB06\u0132\u0133\u20AC@[`{\x7F\x80\0"sv;
    std::u16string text(random() % 120, u'x');
    const std::size_t rarity = 1 + random() % 60;
    for (char16_t& unit : text) {
        if (random() % rarity == 0) {
            unit = random() % 2 == 0 ? kUnits[random() % kUnits.size()] : static_cast<char16_t>(random());
        } else {
            unit = static_cast<char16_t>(0x20 + random() % 0x60);
        }
    }
    return text;
}

std::u16string plainlySpelledOut(std::u16string_view string) {
    static constexpr std::pair<char16_t, std::u16string_view> kLigatures[] = {
        {0xFB00, u"ff"}, {0xFB01, u"fi"}, {0xFB02, u"fl"}, {0xFB03, u"ffi"}, {0xFB04, u"ffl"},
        {0xFB05, u"ft"}, {0xFB06, u"st"}, {0x0132, u"IJ"}, {0x0133, u"ij"},
    };
    std::u16string result;
    for (const char16_t unit : string) {
        const auto* ligature = std::ranges::find(kLigatures, unit, &std::pair<char16_t, std::u16string_view>::first);
        if (ligature != std::end(kLigatures)) {
            result += ligature->second;
        } else {
            result += unit;
        }
    }
    return result;
}

std::u16string spelledOut(std::u16string string) {
    convertLigaturesToCharacters(string);
    return string;
}

TEST(StringConversion, ConvertsUnitByUnit) {
    const struct {
        std::u16string (*convert)(std::u16string);
        std::u16string_view string, result;
    } cases[] = {
        {nonUmlautedString, u"\u00C4rger \u00E9t\u00E9 stra\u00DFe", u"Arger ete stra\u00DFe"},
        {nonUmlautedString, u"e\u0301", u"e\u0301"},
        {nonUmlautedNormalizedString, u"e\u0301", u"e"},
        {lowercaseNonUmlautedString, u"\u00D6L [@", u"ol [@"},
        {uppercaseNonUmlautedString, u"\u00F6l {`", u"OL {`"},
        {asciiString, u"\u00C7\u00E0\u20AC", u"Ca "},
        {asciiString, u"C\u0327\u0153", u"C "},
        {lowercaseAsciiString, u"\u00C7A\u20ACZ[", u"ca z["},
        {uppercaseAsciiString, u"\u00E7a\u20ACz{", u"CA Z{"},
        {asciiString, u"\U0001F600", u"  "},
        {asciiString, u"", u""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.convert(std::u16string(c.string)), c.result);
    }
}

TEST(StringConversion, AgreesWithTheConversionOfOneUnit) {
    std::mt19937 random(21);
    for (int round = 0; round < 10000; ++round) {
        const std::u16string text = randomText(random);
        for (const Conversion& conversion : kConversions) {
            std::u16string expected = conversion.normalizesFirst ? normalizedString(text) : text;
            std::ranges::transform(expected, expected.begin(), conversion.unit);
            ASSERT_EQ(conversion.convert(text), expected);
        }
    }
}

TEST(StringConversion, SpellsOutLigatures) {
    EXPECT_EQ(spelledOut(u"\uFB01nd"), u"find");
    EXPECT_EQ(spelledOut(u"\uFB05"), u"ft");
    EXPECT_EQ(spelledOut(u"\uFB07\uFAFF\u0131\u0134"), u"\uFB07\uFAFF\u0131\u0134");
    EXPECT_EQ(spelledOut(u""), u"");
    std::u16string plain(300, u'x');
    const char16_t* units = plain.data();
    plain = spelledOut(std::move(plain));
    EXPECT_EQ(plain.data(), units);
    EXPECT_EQ(spelledOut(std::u16string(300, u'\uFB04')).size(), 900U);
    std::mt19937 random(22);
    for (int round = 0; round < 20000; ++round) {
        const std::u16string text = randomText(random);
        ASSERT_EQ(spelledOut(text), plainlySpelledOut(text));
    }
}

TEST(StringConversion, KeepsLettersAndDigits) {
    EXPECT_EQ(stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(u"ISO-8859-1 (\u00C4)",
                                                                                  &initLowerCharsTable()),
              u"iso88591\u00E4");
    EXPECT_EQ(stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(u"Shift_JIS", nullptr), u"ShiftJIS");
    EXPECT_EQ(stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(u"-_ ", nullptr), u"");
}

}  // namespace
}  // namespace halden
