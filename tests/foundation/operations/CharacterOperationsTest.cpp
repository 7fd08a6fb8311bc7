#include "foundation/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(CharacterOperations, HaveTheirShapes) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"toLower", "196", "228"},
        {"umlautsToUpperAscii", "233", "69"},
        {"characterPartOfSet", R"("a b", "spaceCharacterSetRep")", "true"},
        {"characterPartOfSet", R"("ab", "spaceCharacterSetRep")", "false"},
        {"characterPartOfSet", R"("ab", null)", "false"},
        {"characterPartOfSet", R"(null, "whiteCharacterSetRep")", "false"},
        {"characterPartOfSet", R"("ab", "noSet")", "error: argument 2 names no set"},
        {"onlyWhiteCharacters:length:", R"("")", "true"},
        {"onlyWhiteCharacters:length:", "null", "true"},
        {"numberOfWordsOfCharacters:length:", R"("one, two-3 ...")", "3"},
        {"equalStringsNoCaseUsingCharacterSetRep", R"("A b!", "aB", "alphaCharacterSetRep")", "true"},
        {"hasPrefixNoCaseUsingCharacterSetRep", R"("404 - Not found", "404not", "alphaNumCharacterSetRep")", "true"},
        {"hasPrefixNoCaseUsingCharacterSetRep", R"("a", "b", "noSet")", "error: argument 3 names no set"},
        {"fastCompareUnichars", R"("ab", "abc")", "-1"},
        {"fastCompareUnicharsWithChars", R"("a", {"base64": "6Q=="})", "-65416"},
        {"fastCompareUnicharsUsingConversionTable", R"("\u00c4", "a", "initLowerUmlautsCharsTable")", "0"},
        {"fastCompareUnicharsUsingConversionTable", R"("b", "a", null)", "1"},
        {"fastContainsUnichars", R"("xabc", "abc")", "1"},
        {"fastContainsUnichars", R"("ab", "")", "null"},
        {"fastUnicharsContainChars", R"("xABC", {"base64": "QUI="})", "1"},
        {"positionOfCharacters::inCharacters::caseSensitive:", R"({"base64": "QUI="}, "xxab", false)", "2"},
        {"positionOfCharacters::inCharacters::caseSensitive:", R"({"base64": "QUI="}, "xxab", true)", "null"},
        {"toLower", "65536", "error: argument 1 is not within 0 and 65535"},
        {"toLower", R"("a")", "error: argument 1 is no number"},
        {"toLower", "", "error: 1 argument is needed, and there are 0"},
        {"fastContainsUnichars", R"("\ud800x", "\ud800")", "0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(characterOperations(), c.operation, c.arguments), c.result) << c.operation;
}

TEST(CharacterOperations, GiveSetsAsTheirBytes) {
    // 8192 bytes are 10,924 letters with one sign of padding, in the brackets of their form.
    EXPECT_EQ(ask(characterOperations(), "whiteCharacterSetRep", "").size(),
              10924 + std::string(R"({"base64": ""})").size());
}

}  // namespace
}  // namespace halden::operations
