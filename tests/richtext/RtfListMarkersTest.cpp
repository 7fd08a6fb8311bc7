#include "richtext/RtfListMarkers.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(RtfListMarkers, WriteNumbersInTheirStyles) {
    struct Case {
        std::int32_t number;
        std::int32_t kind;
        std::u16string_view text;
    };
    const Case cases[] = {
        {7, 0, u"7"},           {1994, 1, u"MCMXCIV"}, {4, 2, u"iv"},  {0, 1, u"0"},    {4000, 2, u"4000"},
        {1, 3, u"A"},           {26, 3, u"Z"},         {27, 4, u"aa"}, {54, 4, u"bbb"}, {0, 4, u"0"},
        {999999, 4, u"999999"}, {1, 5, u"1st"},        {2, 5, u"2nd"}, {3, 5, u"3rd"},  {11, 5, u"11th"},
        {113, 5, u"113th"},     {21, 5, u"21st"},      {5, 22, u"05"}, {12, 22, u"12"}, {3, 23, u""},
        {3, 255, u""},          {3, 10, u"3"},         {-3, 0, u"-3"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(rtfListNumber(c.number, c.kind), c.text) << c.number << " " << c.kind;
}

TEST(RtfListMarkers, CountByLevel) {
    RtfList list{.id = 1, .levels = {}};
    list.levels.push_back({.numberKind = 0, .start = 1, .text = std::u16string(u"\0.", 2), .marker = {}});
    list.levels.push_back({.numberKind = 4, .start = 3, .text = std::u16string(u"\0.\1)", 4), .marker = {}});
    RtfListCounters counters;
    EXPECT_EQ(counters.nextMarker(list, 1), u"1.c)");  // the outer level has not come yet
    EXPECT_EQ(counters.nextMarker(list, 0), u"1.");
    EXPECT_EQ(counters.nextMarker(list, 1), u"1.c)");
    EXPECT_EQ(counters.nextMarker(list, 1), u"1.d)");
    EXPECT_EQ(counters.nextMarker(list, 0), u"2.");
    EXPECT_EQ(counters.nextMarker(list, 1), u"2.c)");
    EXPECT_EQ(counters.nextMarker(list, 2), u"");
    list.id = 2;
    list.levels[0].start = INT32_MAX;
    EXPECT_EQ(counters.nextMarker(list, 0), u"2147483647.");
    EXPECT_EQ(counters.nextMarker(list, 0), u"2147483647.");
}

TEST(RtfListMarkers, OverridesMayStartAnew) {
    constexpr std::string_view kLists =
        "{\\*\\listtable{\\list{\\listlevel\\levelnfc0{\\leveltext\\'02\\'00.;}}\\listid7}}{\\*\\listoverridetable"
        "{\\listoverride\\listid7\\ls1}{\\listoverride\\listid7{\\lfolevel\\listoverridestartat\\levelstartat5}\\ls2}"
        "{\\listoverride\\listid7\\ls3}}";
    EXPECT_EQ(testing::textOf(std::string(kLists) + "\\ls1 a\\par\\ls2 b\\par b\\par\\ls1 a\\par\\ls3 c"),
              "1.\ta\n5.\tb\n6.\tb\n2.\ta\n3.\tc");
}

TEST(RtfListMarkers, OfWhiteSpaceAndOfParagraphsThatNeverWereAreNone) {
    EXPECT_EQ(testing::textOf("{\\listtext\\tab}\\ls1 a\\par{\\b\\listtext\\tab}\\b0 b\\par"), "a\nb\n");
    EXPECT_EQ(testing::textOf("x\\par{\\listtext 1.\\tab}\\pard{\\pntext\\b *\\tab}a\\par"), "x\n*\ta\n");
    EXPECT_EQ(testing::textOf("{\\listtext 1.\\tab}a{\\listtext *\\tab}"), "1.\ta*\t");
    EXPECT_EQ(testing::textOf("\\cocoartf2513{\\listtext\\tab\\tab}a"), "\t\ta");
    const RtfContent content = testing::contentOf("{\\b a}{\\listtext\\i\\tab\\b\\tab}\\ul b");
    EXPECT_EQ(utf8FromUtf16(content.text), "ab");
    EXPECT_TRUE(testing::characterAt(content, 0).bold);
    EXPECT_EQ(testing::characterAt(content, 1).underline, RtfUnderline::single);
}

TEST(RtfListMarkers, ThatAreTakenBackLeaveNoRuns) {
    for (const std::string_view rtf :
         {"{\\listtext\\i\\tab\\b\\tab}\\ul b", "{\\b a}{\\listtext\\i\\tab\\b\\tab}\\b b", "{\\listtext\\tab}",
          "x\\par{\\listtext\\i 1\\b 2}{\\pntext\\i *}{\\listtext\\ul *}a"}) {
        const RtfContent content = testing::contentOf(rtf);
        std::size_t end = 0;
        for (const RtfRun& run : content.runs) {
            EXPECT_GT(run.end, end) << rtf;
            end = run.end;
        }
        EXPECT_EQ(end, content.text.size()) << rtf;
    }
}

TEST(RtfListMarkers, StandBeforeParagraphsThatHaveNone) {
    constexpr std::string_view kLists =
        "{\\*\\listtable{\\list{\\listlevel\\levelnfc0{\\leveltext\\'02\\'00.;}}{\\listlevel\\levelnfc4"
        "{\\leveltext\\'02\\'01);}}\\listid7}}{\\*\\listoverridetable{\\listoverride\\listid7\\ls1}}";
    struct Case {
        std::string_view body;
        std::string_view text;
    };
    const Case cases[] = {
        {"\\ls1 a\\par b\\par\\ilvl1 c\\par\\ilvl0 d\\par\\pard e", "1.\ta\n2.\tb\na)\tc\n3.\td\ne"},
        {"\\ls1{\\listtext 7.\\tab}a\\par", "7.\ta\n"},
        {"{\\listtext 7.\\tab}\\ls1 a\\par", "7.\ta\n"},
        {"\\ls1{\\listtext}a\\par b", "a\n1.\tb"},  // an empty marker is one
        {"\\ls9 a", "a"},
        {"\\ls1\\par a", "1.\t\n2.\ta"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(testing::textOf(std::string(kLists) + std::string(c.body)), c.text) << c.body;
    }
    EXPECT_EQ(testing::textOf("{\\*\\pn\\pnlvlbody\\pnucltr\\pnstart2{\\pntxtb (}{\\pntxta )}}a\\par b\\par\\pard c"),
              "(B)\ta\n(C)\tb\nc");
    EXPECT_EQ(testing::textOf("{\\*\\pn\\pnlvlblt{\\pntxtb\\'b7}}a\\par{\\*\\pn\\pnlvlcont}b"), "·\ta\nb");
}

}  // namespace
}  // namespace halden
