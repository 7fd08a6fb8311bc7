#include "foundation/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

// Each flag and number reaches the function that the name promises.
TEST(StringOperations, HaveTheirShapes) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"fixAndNormalizeString", R"("e\u0301\ud800")", R"("é ")"},
        {"fixedAndNormalizedString", "null", "null"},
        {"normalizeString", R"("e\u0301")", R"("é")"},
        {"normalizedString:", R"("\ufb01", 1)", R"("fi")"},
        {"normalizeString:", R"("\ufb01e\u0301", 2)", "\"\uFB01\u00E9\""},
        {"normalizedString:", R"("\ufb01", 3)", R"("fi")"},
        {"normalizedString:", R"("x", 4)", "error: argument 2 is no normal form"},
        {"normalizedUppercaseString", R"("aBc")", R"("abc")"},
        {"lowercaseNonUmlautedString", R"("\u00c4")", R"("a")"},
        {"uppercaseAsciiString", R"("\u00e7\u20ac")", R"("C ")"},
        {"convertLigaturesToCharacters", R"("\ufb01nd")", R"("find")"},
        {"stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable:",
         R"("ISO-8859-1", "initLowerCharsTable")", R"("iso88591")"},
        {"stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable:", R"("A-1", null)", R"("A1")"},
        {"stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable:", R"("A-1", "none")",
         "error: argument 2 names no table"},
        {"removeMultipleSpacesAndFeeds:", R"(" a \n\n b\t", true)", R"(" a b ")"},
        {"removeMultipleSpacesAndFeeds:", R"("a\n\nb \t", false)", R"("a\n\nb ")"},
        {"stringByRemovingMultipleSpacesAndFeeds:", R"("a\n\nb", true)", R"("a b")"},
        {"removeMultipleFeeds", R"("a\r\nb")", R"("a\nb")"},
        {"removeTabs", R"("a\tb")", R"("ab")"},
        {"decodeTabs:", R"("a\tb", 4)", R"("a   b")"},
        {"encodeTabs:", R"("a   b", 4)", R"("a\tb")"},
        {"stringByTrimmingSpacesAndFeeds:", R"("\n a \n", true)", R"("a")"},
        {"stringByTrimmingSpacesAndFeeds:", R"(" a\n ", false)", R"("a\n")"},
        {"stringByTrimmingLeftSpacesAndFeeds:", R"(" a ", false)", R"("a ")"},
        {"stringByTrimmingRightSpacesAndFeeds:", R"(" a ", false)", R"(" a")"},
        {"trimSpacesInRange:andFeeds:", R"("a  b  c", [1, 5], true)", R"("abc")"},
        {"trimSpacesInRange:andFeeds:", R"(" a ", [null, 0], true)", R"(" a ")"},
        {"stringByTrimmingSuffixCharacter:", R"("a//", 47)", R"("a")"},
        {"stringByTrimmingEnclosingCharacter:", R"("''a'", 39)", R"("'a")"},
        {"stringByTrimmingQuotes", R"("\"'x'\"")", R"("x")"},
        {"firstCharacter", R"("<x>")", "60"},
        {"lastCharacter", R"("<x>")", "62"},
        {"lastCharacter", R"("")", "0"},
        {"firstCharacter", "null", "0"},
        {"containsWhiteCharacter", R"("a\u00a0b")", "true"},
        {"containsWhiteCharacter", R"("ab")", "false"},
        {"findCharacter:", R"("a#", 35)", "1"},
        {"findCharacter:", R"("a", 35)", "null"},
        {"findOneOf:startAt:caseInsensitive:", R"("aXbx", "x", 0, true)", "1"},
        {"findOneOf:startAt:caseInsensitive:", R"("aXbx", "x", 0, false)", "3"},
        {"findOneOf:startAt:caseInsensitive:", R"("aXbx", "x", 4, false)", "null"},
        {"findOneOf:startAt:caseInsensitive:", R"("aXbx", "x", null, false)", "error: argument 3 is no number"},
        {"hasPrefixNoCase:", R"("HTTP://x", "http:")", "true"},
        {"hasSuffixNoCase:", R"("x.PHP", ".html")", "false"},
        {"containsSubstring:caseSensitive:", R"("aBc", "bc", false)", "true"},
        {"containsSubstring:caseSensitive:", R"("aBc", "bc", true)", "false"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ask(stringOperations(), c.operation, c.arguments), c.result) << c.operation << " " << c.arguments;
    }
}

}  // namespace
}  // namespace halden::operations
