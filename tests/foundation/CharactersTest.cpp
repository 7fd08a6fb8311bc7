#include "foundation/Characters.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/unorm2.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

namespace halden {
namespace {

constexpr std::size_t kUnits = 65536;

std::set<char16_t> membersOf(const CharacterBitmap& bitmap) {
    std::set<char16_t> members;
    for (std::size_t unit = 0; unit < kUnits; ++unit) {
        if (bitmap.contains(static_cast<char16_t>(unit))) members.insert(static_cast<char16_t>(unit));
    }
    return members;
}

template <class Predicate>
std::set<char16_t> unitsWhere(Predicate predicate, std::u16string_view additions = {}) {
    std::set<char16_t> members(additions.begin(), additions.end());
    for (UChar32 unit = 0; unit < static_cast<UChar32>(kUnits); ++unit) {
        if (predicate(unit)) members.insert(static_cast<char16_t>(unit));
    }
    return members;
}

bool isMark(UChar32 c) {
    return (U_GET_GC_MASK(c) & U_GC_M_MASK) != 0;
}

TEST(CharacterBitmaps, HoldTheirClassesAndAdditionsAndNothingElse) {
    EXPECT_TRUE(membersOf(emptyCharacterSetRep()).empty());
    EXPECT_EQ(
        membersOf(spaceCharacterSetRep()),
        unitsWhere([](UChar32 c) { return u_charType(c) == U_SPACE_SEPARATOR; }, std::u16string_view(u"\0\t", 2)));
    EXPECT_EQ(membersOf(whiteCharacterSetRep()), unitsWhere([](UChar32 c) { return u_isUWhiteSpace(c); },
                                                            std::u16string_view(u"\0\u0003\uFFFC\uFEFF", 4)));
    EXPECT_EQ(membersOf(alphaCharacterSetRep()), unitsWhere([](UChar32 c) { return u_isalpha(c) || isMark(c); }));
    EXPECT_EQ(membersOf(alphaNumCharacterSetRep()),
              unitsWhere([](UChar32 c) { return u_isalpha(c) || isMark(c) || (U_GET_GC_MASK(c) & U_GC_N_MASK) != 0; }));
    EXPECT_EQ(membersOf(digitCharacterSetRep()), unitsWhere([](UChar32 c) { return u_isdigit(c); }));
    EXPECT_EQ(membersOf(lowerCharacterSetRep()), unitsWhere([](UChar32 c) { return u_islower(c); }));
    EXPECT_EQ(membersOf(upperCharacterSetRep()), unitsWhere([](UChar32 c) { return u_isupper(c) || u_istitle(c); }));
}

TEST(CharacterBitmaps, WhiteCountsMoreThanSpaceDoes) {
    for (const char16_t unit : std::u16string_view(u"\0\t \u00A0\u3000", 5)) {
        EXPECT_TRUE(spaceCharacterSetRep().contains(unit)) << unsigned{unit};
        EXPECT_TRUE(whiteCharacterSetRep().contains(unit)) << unsigned{unit};
    }
    for (const char16_t unit : std::u16string_view(u"\n\f\r\u0003\u0085\u2028\u2029\uFEFF\uFFFC")) {
        EXPECT_FALSE(spaceCharacterSetRep().contains(unit)) << unsigned{unit};
        EXPECT_TRUE(whiteCharacterSetRep().contains(unit)) << unsigned{unit};
    }
    EXPECT_FALSE(whiteCharacterSetRep().contains(u'\u200B'));
}

TEST(CharacterBitmaps, BeginWithTheLowestBitOfAByte) {
    // U+0041 is bit 1 of byte 8.
    EXPECT_EQ(upperCharacterSetRep().bytes[8], 0xFE);
    EXPECT_EQ(firstAlphaCharacter(), u'A');
    EXPECT_EQ(lastAlphaCharacter(), *membersOf(alphaCharacterSetRep()).rbegin());
}

TEST(CharacterBitmaps, OfASetHaveThePlanesBeyondTheFirst) {
    const std::vector<std::uint8_t> bytes = bitmap(CharacterSet::decimalDigit);
    ASSERT_EQ(bytes.size() % 8193, 8192U);
    ASSERT_GT(bytes.size(), 8192U);
    EXPECT_EQ(bytes[8192], 1);  // the Osmanya digits, for one, are on plane 1
    const std::size_t osmanyaZero = 8193 + 0x04A0 / 8;
    EXPECT_EQ(bytes[osmanyaZero] & 1, 1);
    EXPECT_EQ(bitmap(CharacterSet::whitespace).size(), 8192U);
}

icu::UnicodeString withoutMarks(char16_t unit) {
    UErrorCode status = U_ZERO_ERROR;
    char16_t decomposed[32];
    const std::int32_t length = unorm2_normalize(unorm2_getNFDInstance(&status), &unit, 1, decomposed, 32, &status);
    icu::UnicodeString kept;
    for (std::int32_t i = 0; i < length; ++i) {
        if (u_charType(decomposed[i]) != U_NON_SPACING_MARK) kept += decomposed[i];
    }
    return kept;
}

char16_t onlyUnitOr(const icu::UnicodeString& string, char16_t otherwise) {
    return string.length() == 1 ? string[0] : otherwise;
}

TEST(ConversionTables, AgreeWithTheMappingsOfWholeStrings) {
    const icu::Locale root = icu::Locale::getRoot();
    for (std::size_t i = 0; i < kUnits; ++i) {
        const auto c = static_cast<char16_t>(i);
        char16_t lower = c;
        char16_t upper = c;
        char16_t plain = c;
        if (u_isupper(c) || u_istitle(c)) lower = onlyUnitOr(icu::UnicodeString(c).toLower(root), c);
        if (u_islower(c)) upper = onlyUnitOr(icu::UnicodeString(c).toUpper(root), c);
        if (u_isalpha(c) || isMark(c)) plain = onlyUnitOr(withoutMarks(c), c);
        ASSERT_EQ(initLowerCharsTable()[c], lower) << i;
        ASSERT_EQ(initUpperCharsTable()[c], upper) << i;
        ASSERT_EQ(initUmlautsCharsTable()[c], plain) << i;
        ASSERT_EQ(initLowerUmlautsCharsTable()[c], initLowerCharsTable()[plain]) << i;
        ASSERT_EQ(initUpperUmlautsCharsTable()[c], initUpperCharsTable()[plain]) << i;
    }
}

TEST(SingleCharacters, AreConvertedByTheTables) {
    const struct {
        char16_t (*convert)(char16_t);
        char16_t unit, result;
    } cases[] = {
        {toLower, u'Ä', u'ä'},
        {toLower, u'İ', u'İ'},  // two units in lower case
        {toUpper, u'ß', u'ß'},  // two letters in upper case
        {toUpper, u'ſ', u'S'},
        {toAscii, u'Ç', u'C'},
        {toAscii, u'œ', u' '},
        {toAscii, u'1', u'1'},
        {toUpperAscii, u'é', u'E'},
        {toUpperAscii, u'я', u' '},
        {toLowerAscii, u'É', u'e'},
        {toLowerAscii, u'\u007F', u'\u007F'},
        {umlautsToAscii, u'é', u'e'},
        {umlautsToAscii, u'й', u'и'},  // in spite of its name
        {umlautsToAscii, u'가', u'가'},
        {umlautsToLowerAscii, u'Ö', u'o'},
        {umlautsToUpperAscii, u'ö', u'O'},
        {toUpper, u'\xD800', u'\xD800'},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.convert(c.unit), c.result) << static_cast<unsigned>(c.unit);
}

TEST(CharacterTests, LookAtEveryUnit) {
    const std::u16string longText(300, u'x');
    EXPECT_TRUE(characterPartOfSet(longText + u"1", &digitCharacterSetRep()));
    EXPECT_FALSE(characterPartOfSet(longText, &digitCharacterSetRep()));
    EXPECT_FALSE(characterPartOfSet(u"", &alphaCharacterSetRep()));
    EXPECT_FALSE(characterPartOfSet(u"a", nullptr));
    EXPECT_TRUE(onlyWhiteCharacters(u""));
    EXPECT_TRUE(onlyWhiteCharacters(std::u16string_view(u" \0\uFEFF", 3)));
    EXPECT_FALSE(onlyWhiteCharacters(u"  x"));
}

// The first uses of a table come from many threads at once; each must see it whole. (This test has a process of its
// own.)
TEST(CharacterTables, AreWholeForThreadsThatComeFirstAtOnce) {
    std::vector<std::thread> threads;
    std::vector<unsigned> wrong(8, 0);
    for (std::size_t i = 0; i < wrong.size(); ++i) {
        threads.emplace_back([&wrong, i] {
            wrong[i] += initLowerUmlautsCharsTable()[u'Ö'] != u'o';
            wrong[i] += initUpperUmlautsCharsTable()[u'ö'] != u'O';
            wrong[i] += !whiteCharacterSetRep().contains(u'\uFFFC');
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<unsigned>(8, 0));
}

}  // namespace
}  // namespace halden
