#include "richtext/RtfFields.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(RtfFields, NameTheirLinks) {
    struct Case {
        std::u16string_view instruction;
        std::optional<std::u16string> link;
    };
    const Case cases[] = {
        {u"HYPERLINK \"http://a.example/\"", u"http://a.example/"},
        {u" hyperlink  http://a.example/ ", u"http://a.example/"},
        {u"HYPERLINK \"a.html\" \\l \"part 2\"", u"a.html#part 2"},
        {u"HYPERLINK \\l \"part\" \\o \"a tip\"", u"#part"},
        {u"HYPERLINK \\t \"_blank\" \\o \"tip\" \"a.html\" \\h", u"a.html"},
        {u"HYPERLINK \"C:\\\\dir\\\\a.txt\"", u"C:\\dir\\a.txt"},
        {u"HYPERLINK \u201Ca b\u201D", u"a b"},
        {u"HYPERLINK \"open", u"open"},
        {u"HYPERLINK \"\"", std::nullopt},
        {u"HYPERLINK", std::nullopt},
        {u"HYPERLINKS \"a\"", std::nullopt},
        {u"PAGEREF \"a\"", std::nullopt},
        {u"", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(linkOfFieldInstruction(c.instruction), c.link) << utf8FromUtf16(c.instruction);
}

TEST(RtfFields, NameTheirSymbols) {
    const auto symbol = symbolOfFieldInstruction(u"SYMBOL 183 \\f \"Symbol\" \\s 10 \\h");
    ASSERT_TRUE(symbol);
    EXPECT_EQ(symbol->number, 183u);
    EXPECT_EQ(symbol->font, u"Symbol");
    EXPECT_FALSE(symbol->isUnicode);
    EXPECT_TRUE(symbolOfFieldInstruction(u"SYMBOL 0x20AC \\u").value().isUnicode);
    EXPECT_EQ(symbolOfFieldInstruction(u"SYMBOL 0x20AC \\u").value().number, 0x20ACu);
    for (const std::u16string_view none : {u"SYMBOL", u"SYMBOL x", u"SYMBOL 99999999999", u"DATE", u"SYMBOL 0x"}) {
        EXPECT_FALSE(symbolOfFieldInstruction(none)) << utf8FromUtf16(none);
    }
}

TEST(RtfFields, GiveTheirResultsAndLinks) {
    const RtfContent content = testing::contentOf(
        "a{\\field{\\*\\fldinst{HYPERLINK \"x\\\\\\\\y\"}}{\\fldrslt{\\b b}\\plain c}}d"
        "{\\field{\\*\\fldinst HYPERLINK \"z\"}{\\fldrslt e{\\field{\\*\\fldinst PAGE}{\\fldrslt f}}g}}h");
    EXPECT_EQ(content.text, u"abcdefgh");
    EXPECT_EQ(content.links, (std::vector<std::u16string>{u"x\\y", u"z"}));
    const int expected[] = {0, 1, 1, 0, 2, 2, 2, 0};
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(testing::characterAt(content, i).link, expected[i]) << i;
}

TEST(RtfFields, GiveSymbolsWhereTheResultIsEmpty) {
    EXPECT_EQ(testing::textOf("a{\\field{\\*\\fldinst SYMBOL 183 \\\\f \"Symbol\"}{\\fldrslt\\f3\\fs20}}b"), "a•b");
    EXPECT_EQ(testing::textOf("a{\\field{\\*\\fldinst SYMBOL 183 \\\\f \"Symbol\"}{\\fldrslt x}}b"), "axb");
    EXPECT_EQ(testing::textOf("a{\\field{\\*\\fldinst SYMBOL 8364 \\\\u}}b"), "a€b");
    EXPECT_EQ(testing::textOf("a{\\field{\\*\\fldinst SYMBOL 233}}b"), "aéb");
    EXPECT_EQ(testing::textOf("a{\\*\\fldinst HYPERLINK \"x\"}b{\\fldrslt c}"), "abc");
}

}  // namespace
}  // namespace halden
