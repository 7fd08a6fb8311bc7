// What text a document has: characters and their escapes, what is passed over, where paragraphs end.
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

#include <span>

namespace halden {
namespace {

using testing::contentOf;
using testing::textOf;

struct Case {
    std::string_view body;
    std::string_view text;
};

void expectTexts(std::span<const Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(textOf(c.body), c.text) << c.body;
}

TEST(RtfText, RefusesWhatDoesNotBeginAsRtf) {
    for (const std::string_view input : {"", "{", "{\\rt", "hello", "{\\html1 a}", "rtf1", "\\rtf1 a"}) {
        EXPECT_FALSE(parsedRtf(input)) << input;
    }
    EXPECT_TRUE(parsedRtf("{\\rtf"));
    EXPECT_TRUE(parsedRtf("{\\rtf0 a}"));
    EXPECT_EQ(parsedRtf("\xEF\xBB\xBF \r\n{\\rtf1 a}").value().text, u"a");
}

TEST(RtfText, EndsWithTheGroupOfTheDocument) {
    EXPECT_EQ(parsedRtf("{\\rtf1 a}b{c}").value().text, u"a");
    EXPECT_EQ(parsedRtf("{\\rtf1 a{b").value().text, u"ab");
    EXPECT_EQ(parsedRtf("{\\rtf1 a}}}}").value().text, u"a");
}

TEST(RtfText, ReadsParagraphsAndNamedCharacters) {
    const Case cases[] = {
        {"a\\par b", "a\nb"},
        {"a\\\nb", "a\nb"},
        {"a\\\r\nb", "a\nb"},
        {"a\r\nb", "ab"},
        {"a\\line b\\softline c", "a\u2028b\u2028c"},
        {"a\\page b", "a\fb"},
        {"a\\tab b\tc", "a\tb\tc"},
        {"a\\sect b", "a\nb"},
        {"a\\par\\sect b", "a\nb"},
        {"a\\~b\\_c\\-d", "a\u00A0b\u2011c\u00ADd"},
        {"\\emdash\\endash\\emspace\\enspace\\qmspace", "\u2014\u2013\u2003\u2002\u2005"},
        {"\\bullet\\lquote\\rquote\\ldblquote\\rdblquote", "\u2022\u2018\u2019\u201C\u201D"},
        {"\\zwj\\zwnj\\ltrmark\\rtlmark", "\u200D\u200C\u200E\u200F"},
        {"\\{\\}\\\\", "{}\\"},
        {"a\\|b\\:c", "abc"},
    };
    expectTexts(cases);
}

TEST(RtfText, CountsTheFallbackOfUnicodeCharacters) {
    const Case cases[] = {
        {"\\u8217?s", "\u2019s"},
        {"\\u8217 ?s", "\u2019s"},
        {"\\u-10179?\\u-8704?", "\U0001F600"},     // signed halves of a pair
        {"\\u55357 ?\\u56832 ?x", "\U0001F600x"},  // unsigned ones
        {"\\uc0\\u8217 s", "\u2019s"},
        {"\\uc2\\u8217 abs", "\u2019s"},
        {"\\uc2\\u8217\\'81\\'66s", "\u2019s"},
        {"\\uc1\\u8217\\rquote s", "\u2019s"},  // a named character counts as one
        {"\\uc1\\u8217\\~s", "\u2019s"},
        {"\\uc3\\u8217 a\r\nb\\'20s", "\u2019s"},          // line ends do not count
        {"{\\uc0\\u8217 a}\\u8217 bc", "\u2019a\u2019c"},  // \uc belongs to the group
        {"\\uc1{\\u8217}s", "\u2019s"},                    // a brace ends the count
        {"\\uc1\\u1053\\u1086 xy", "\u041D\u043Ey"},       // a missing fallback costs nothing
        {"\\uc1\\u8217\\par s", "\u2019\ns"},
        {"\\uc1\\u8217\\b s", "\u2019s"},
        {"\\u128512?x", "\U0001F600x"},             // some give whole code points
        {"\\u-10179?x\\u-8704?", "\uFFFDx\uFFFD"},  // halves alone are no characters
        {"\\u0?x\\u99999999?y", "xy"},
    };
    expectTexts(cases);
}

TEST(RtfText, DecodesBytesByTheFontAndTheDocument) {
    const Case cases[] = {
        {"\\'e9", "é"},
        {"\xE9", "é"},
        {"\\ansicpg1251 \\'cf\\'f0", "Пр"},
        {"\\mac \\'8e", "é"},
        {"\\pc \\'82", "é"},
        {"\\pca \\'82", "é"},
        {"\\ansicpg65001 \xC3\xA9", "é"},
        {"\\ansicpg0 \\'e9", "é"},
        {"\\ansicpg31337 \\'e9", "é"},
        {"{\\fonttbl{\\f1\\fcharset204 A;}{\\f2\\fcharset161 B;}}\\f1 \\'cf{\\f2 \\'cf}\\'cf", "ПΟП"},
        {"\\deff1{\\fonttbl{\\f1\\fcharset238 A;}}\\'e8", "č"},
        {"{\\fonttbl{\\f1 Times CE;}{\\f2\\cpg1253 B;}}\\f1 \\'e8\\f2 \\'cf", "čΟ"},
        // Two bytes of a character may come in any mixture of forms.
        {"{\\fonttbl{\\f1\\fcharset128 A;}}\\f1 \\'93\\'fa\\'96{\\b\\'7b}", "日–{"},
        {"{\\fonttbl{\\f1\\fcharset128 A;}}\\f1 \\'93\xFA\x96\\'7b", "日本"},
        {"{\\fonttbl{\\f1\\fcharset128 A;}}\\f1 \\'83A\\'5cx", "ア\\x"},
        {"{\\fonttbl{\\f1\\fcharset128 A;}}\\f1 \x83\\\n\\par x", "ソ\nx"},
        {"{\\fonttbl{\\f1\\fcharset134 A;}}\\f1 \\'d6\\'d0", "中"},
        {"{\\fonttbl{\\f1\\fcharset136 A;}}\\f1 \\'a4\\'a4", "中"},
        {"{\\fonttbl{\\f1\\fcharset129 A;}}\\f1 \\'c7\\'d1", "한"},
        // Right-to-left text is in the associated font.
        {"{\\fonttbl{\\f1\\fcharset0 A;}{\\f2\\fcharset177 B;}}\\ltrch\\f1\\rtlch\\af2 \\'e0\\ltrch \\'e0", "אà"},
        {"{\\fonttbl{\\f1\\ftech Symbol;}{\\f2\\ftech Other;}}\\f1 a\\f2 a", "αa"},
        // Symbol fonts, in bytes and in private units.
        {"{\\fonttbl{\\f1\\fcharset2 Symbol;}{\\f2\\fcharset2 Wingdings;}}\\f1 \\'b7a\\f2 \\'fc", "•α✓"},
        {"{\\fonttbl{\\f1\\fcharset2 Symbol;}}\\f1 \\u-3913 ?", "•"},
    };
    expectTexts(cases);
    // Documents of version 0 are of before code pages.
    EXPECT_EQ(parsedRtf("{\\rtf0\\ansi \\'d0}").value().text, u"\u2014");
}

TEST(RtfText, PassesOverWhatIsNoTextOfTheDocument) {
    const Case cases[] = {
        {"a{\\*\\unheardof b{c}d}e", "ae"},
        {"a{\\unheardof b}e", "abe"},  // only \* allows that
        {"a\\unheardof5 b", "ab"},
        {"a{\\footnote b\\par}c", "ac"},
        {"a{\\header b}{\\footerf c}d", "ad"},
        {"a{\\*\\bkmkstart b}c", "ac"},
        {"a{\\xe{b}}{\\tc c}d", "ad"},
        {"{\\info{\\title T}}a", "a"},
        {"{\\fonttbl{\\f0 A;}}{\\colortbl;\\red1 x;}{\\stylesheet{\\s1 N;}}a", "a"},
        {"a{\\v b}c\\v d\\v0 e", "ace"},
        {"a{\\deleted b}c", "ac"},
        {"a{\\revised b}c", "abc"},
        {"a{\\v b\\par}c", "a\nc"},  // the end of a paragraph counts even hidden
        {"a{\\upr{b}{\\*\\ud{\\u1041?}}}c", "aБc"},
        {"a{\\object{\\*\\objclass X}{\\*\\objdata 0102}{\\result b}}c", "abc"},
        {"a{\\field{\\*\\fldinst PAGE}{\\fldrslt 7}}c", "a7c"},
        {"a{\\*\\pn\\pnlvlblt{\\pntxtb B}}c", "ac"},
        {"a{\\pict 0102}c", "ac"},  // no picture
        {"a{\\list{\\listlevel{\\leveltext b}}c}{\\pntxtb d}e", "ae"},
        {"a{\\mmath{\\*\\moMath b}}c", "ac"},
        {"\\* a", " a"},  // in no group of its own
    };
    expectTexts(cases);
}

TEST(RtfText, ReadsTheTextOfShapesInParagraphsOfTheirOwn) {
    const Case cases[] = {
        {"a{\\shp{\\*\\shpinst{\\sp{\\sn n}{\\sv v}}{\\shptxt b\\par}}{\\shprslt c}}d", "a\nb\nd"},
        {"{\\shp{\\*\\shpinst{\\shptxt b}}}d", "b\nd"},
        {"{\\*\\do\\dptxbx{\\dptxbxtext b\\par}}d", "b\nd"},
        {"{\\*\\shpgrp{\\shp{\\*\\shpinst{\\shptxt b\\par}}}}d", "b\nd"},
    };
    expectTexts(cases);
    // A shape anchored in a cell is part of it, and ends neither cell nor row.
    const RtfContent content = contentOf(
        "\\trowd\\cellx100\\cellx200\\intbl a{\\shp{\\*\\shpinst{\\shptxt\\pard b\\cell\\row c\\par}}}\\cell "
        "d\\cell\\row");
    EXPECT_EQ(content.text, u"a\nb\nc\n\nd\n");
    EXPECT_EQ(content.tables.tables().size(), 1u);
    EXPECT_EQ(content.tables.cells().size(), 2u);
}

TEST(RtfText, KeepsMarkersOfListsThatTheFileHolds) {
    EXPECT_EQ(textOf("\\pard\\ls1{\\listtext\\tab\\u8226 ?\\tab}a\\par"), "\t•\ta\n");
    EXPECT_EQ(textOf("\\pard{\\pntext\\'b7\\tab}{\\*\\pn\\pnlvlblt{\\pntxtb x}}a\\par"), "·\ta\n");
}

}  // namespace
}  // namespace halden
