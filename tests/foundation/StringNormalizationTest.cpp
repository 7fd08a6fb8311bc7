#include "foundation/StringNormalization.h"
#include "foundation/Strings.h"

#include <gtest/gtest.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;

constexpr NormalizationForm kForms[] = {NormalizationForm::d, NormalizationForm::kd, NormalizationForm::c,
                                        NormalizationForm::kc};

// --- The rules without any haste -----------------------------------------------------------------------------------

const icu::Normalizer2& normalizerOf(NormalizationForm form) {
    UErrorCode status = U_ZERO_ERROR;
    switch (form) {
        case NormalizationForm::d:
            return *icu::Normalizer2::getNFDInstance(status);
        case NormalizationForm::kd:
            return *icu::Normalizer2::getNFKDInstance(status);
        case NormalizationForm::c:
            return *icu::Normalizer2::getNFCInstance(status);
        case NormalizationForm::kc:
            break;
    }
    return *icu::Normalizer2::getNFKCInstance(status);
}

/// All of the text by ICU at once.
std::u16string plainlyNormalized(std::u16string_view string, NormalizationForm form = NormalizationForm::c) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString source(string.data(), static_cast<std::int32_t>(string.size()));
    const icu::UnicodeString result = normalizerOf(form).normalize(source, status);
    EXPECT_TRUE(U_SUCCESS(status));
    return {result.getBuffer(), static_cast<std::size_t>(result.length())};
}

std::u16string plainlyBlanked(std::u16string string) {
    for (char16_t& unit : string) {
        const bool isBlanked = unit == 0 || (unit >= 0xD800 && unit <= 0xDFFF) || (unit >= 0xF400 && unit <= 0xF8FF);
        if (isBlanked) unit = u' ';
    }
    return string;
}

/// Plain words with stretches of marks, Hangul parts, compatibility characters, surrogates and units of any kind.
std::u16string randomText(std::mt19937& random, std::size_t length) {
    static constexpr std::u16string_view kMarks = u"\u0301\u0323\u0308\u0327\u0344\u0F71\u0F73\u0F75\u3099\u0345\u0338";
    static constexpr std::u16string_view kLetters =
        u"eocA\u00E9\u1EC7\u0958\u1100\u1161\u11A8\uAC00\u09C7\u09BE\uFB01\u00BD\u212B\u0340\u0374\uF900";
    std::u16string text;
    std::size_t rate = 0;
    while (text.size() < length) {
        if (random() % 12 == 0) rate = random() % 4;
        const std::size_t kind = random() % 6;
        if (kind >= rate) {
            text += u'a';
        } else if (kind == 0) {
            text += kMarks[random() % kMarks.size()];
        } else if (random() % 3 != 0) {
            text += kLetters[random() % kLetters.size()];
        } else if (random() % 3 != 0) {
            text += static_cast<char16_t>(random());
        } else {
            const icu::UnicodeString pair(
                static_cast<UChar32>(random() % 2 == 0 ? 0x1D100 + random() % 0x100 : 0x11000 + random() % 0x500));
            text.append(pair.getBuffer(), static_cast<std::size_t>(pair.length()));
        }
    }
    return text;
}

// --- Tests ---------------------------------------------------------------------------------------------------------

TEST(StringNormalization, BlanksAndComposes) {
    const struct {
        std::u16string_view string, result;
    } cases[] = {
        {u"", u""},
        {u"e\u0301", u"\u00E9"},
        {u"a\U0001F600b", u"a  b"},
        {u"\xD800", u" "},
        {u"\xDC00 \xDFFF", u"   "},
        {u"\uF8FF\uF400", u"  "},
        {u"\uF3FF\uE000\uF900", u"\uF3FF\uE000\u8C48"},
        {u"a\0b"sv, u"a b"},
        {u"\u0001\u00AD\r\n-", u"\u0001\u00AD\r\n-"},
        {u"e\0\u0301"sv, u"e \u0301"},
        {u"\u1100\u1161\u11A8", u"\uAC01"},
        {u"q\u0307\u0323", u"q\u0323\u0307"},
        {u"\uFA6C", u"\U000242EE"},  // only normalizing makes it a surrogate pair
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fixedAndNormalizedString(std::u16string(c.string)), c.result);
    }
}

TEST(StringNormalization, TakesTheFormByItsNumber) {
    const std::u16string text = u"\uFB01\u1E9B\u0323";
    EXPECT_EQ(normalizedString(text, static_cast<NormalizationForm>(0)), u"\uFB01\u017F\u0323\u0307");
    EXPECT_EQ(normalizedString(text, static_cast<NormalizationForm>(1)), u"fis\u0323\u0307");
    EXPECT_EQ(normalizedString(text, static_cast<NormalizationForm>(2)), u"\uFB01\u1E9B\u0323");
    EXPECT_EQ(normalizedString(text, static_cast<NormalizationForm>(3)), u"fi\u1E69");
    EXPECT_EQ(normalizedString(u"e\u0301"), u"\u00E9");
}

TEST(StringNormalization, MakesLowerCaseUnderBothNames) {
    EXPECT_EQ(normalizedLowercaseString(u"ABC E\u0301"), u"abc \u00E9");
    EXPECT_EQ(normalizedUppercaseString(u"ABC E\u0301"), u"abc \u00E9");
    EXPECT_EQ(normalizedUppercaseString(u"abc"), u"abc");
    EXPECT_EQ(normalizedLowercaseString(u"\u0130\u03A3"), u"i\u0307\u03C2");
}

TEST(StringNormalization, LeavesNormalTextWhereItIs) {
    std::u16string text;
    while (text.size() < 2000)
        text += u"Plain text, \u00E9\u00E8, \u201Cquoted\u201D\u2026 \u4E2D\u6587 \u0394\u0436. ";
    const char16_t* units = text.data();
    text = fixedAndNormalizedString(std::move(text));
    EXPECT_EQ(text.data(), units);
    text = normalizedString(u"x\u0302 stays, nothing composes with it", NormalizationForm::c);
    units = text.data();
    normalizeString(text);
    EXPECT_EQ(text.data(), units);
}

TEST(StringNormalization, AgreesWithIcu) {
    std::mt19937 random(11);
    for (int round = 0; round < 6000; ++round) {
        const std::u16string text = randomText(random, random() % 200);
        for (const NormalizationForm form : kForms) {
            const std::u16string normal = normalizedString(text, form);
            ASSERT_EQ(normal, plainlyNormalized(text, form)) << round;
            ASSERT_EQ(normalizedString(normal, form), normal);
        }
        const std::u16string fixed = fixedAndNormalizedString(text);
        ASSERT_EQ(fixed, plainlyNormalized(plainlyBlanked(text)));
        ASSERT_EQ(normalizedLowercaseString(text), lowercaseString(plainlyNormalized(text)));
    }
}

// What is skipped as steady must be so for ICU, for every unit: alone, behind a letter and before a mark.
TEST(StringNormalization, AgreesWithIcuOnEveryUnit) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto c = static_cast<char16_t>(unit);
        for (const std::u16string& text : {std::u16string{u'e', c, u'\u0301'}, std::u16string(40, c)}) {
            for (const NormalizationForm form : kForms) {
                ASSERT_EQ(normalizedString(text, form), plainlyNormalized(text, form)) << std::hex << unit;
            }
        }
    }
}

TEST(StringNormalization, AgreesWithIcuOnLongStretches) {
    std::mt19937 random(12);
    const auto text = [&](std::u16string_view units, std::size_t length) {
        std::u16string result = u"start ";
        for (std::size_t i = 0; i < length; ++i)
            result += units[random() % units.size()];
        return result + u" end";
    };
    std::u16string supplementary = u"x";
    for (int i = 0; i < 3000; ++i)
        supplementary += random() % 4 == 0 ? u"\U000110A5" : u"\U00011099\U000110BA";
    const std::u16string texts[] = {
        text(u"\u0301\u0323\u0327\u0345\u0344\u0F73\u0338", 5000),
        text(u"\u1100\u1161\u11A8", 5000),
        text(u"\u0958\u09BE\u09C7\u3099\u304B", 5000),
        text(u"\xD834\xDD5E\xDC00", 5000),
        supplementary,
    };
    for (const std::u16string& string : texts) {
        for (const NormalizationForm form : kForms) {
            ASSERT_EQ(normalizedString(string, form), plainlyNormalized(string, form));
        }
    }
}

// By insertion, putting these into order would take the square of their number: minutes instead of a moment.
TEST(StringNormalization, TakesManyMarksInTheWrongOrder) {
    constexpr std::size_t kCount = 1'000'000;
    const std::u16string above(kCount, u'\u0301');
    const std::u16string below(kCount, u'\u0323');
    EXPECT_EQ(normalizedString(u"a" + above + below), u"\u1EA1" + below.substr(1) + above);
}

}  // namespace
}  // namespace halden
