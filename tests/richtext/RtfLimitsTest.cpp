// Nothing in a file makes the reader recurse, allocate or loop without bound.
#include "richtext/RtfReader.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using testing::contentOf;
using testing::textOf;

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(RtfLimits, PassOverGroupsThatAreTooDeep) {
    const std::size_t depth = kMaxRtfGroupDepth - 1;  // one is the document's
    EXPECT_EQ(textOf(repeated("{", depth) + "a" + repeated("}", depth) + "b"), "ab");
    EXPECT_EQ(textOf(repeated("{", depth + 1) + "a" + repeated("}", depth + 1) + "b"), "b");
    EXPECT_EQ(textOf("a" + repeated("{", 1000000)), "a");
    EXPECT_EQ(textOf("a" + repeated("{\\*\\x", 300000)), "a");
    EXPECT_EQ(textOf(repeated("}", 1000000)), "");
}

TEST(RtfLimits, CutNamesTitlesAndInstructions) {
    const std::string longText(3 * kMaxRtfCollected, 'x');
    EXPECT_EQ(contentOf("{\\info{\\title " + longText + "}}").properties.title.size(), kMaxRtfCollected);
    EXPECT_LE(contentOf("{\\fonttbl{\\f0 " + longText + ";}}").header.font(0)->name.size(), kMaxRtfCollected);
    const RtfContent content = contentOf("{\\field{\\*\\fldinst HYPERLINK " + longText + "}{\\fldrslt a}}");
    ASSERT_EQ(content.links.size(), 1u);
    EXPECT_LE(content.links[0].size(), kMaxRtfCollected);
    const RtfHeaderTables header = contentOf("{\\*\\listtable{\\list{\\listlevel{\\leveltext " + longText +
                                             "}}\\listid1}}{\\*\\listoverridetable"
                                             "{\\listoverride\\listid1\\ls1}}")
                                       .header;
    EXPECT_EQ(header.list(1)->levels[0].text.size(), RtfHeaderTables::kMaxLevelText);
}

TEST(RtfLimits, BoundTheTables) {
    std::string fonts = "{\\fonttbl";
    std::string styles = "{\\stylesheet";
    std::string lists = "{\\*\\listtable";
    for (std::size_t i = 0; i < RtfHeaderTables::kMaxFonts + 10; ++i) {
        fonts += "{\\f" + std::to_string(i) + " A;}";
        styles += "{\\s" + std::to_string(i) + "\\b A;}";
        lists += "{\\list" + repeated("{\\listlevel{\\leveltext a;}}", 1) + "\\listid" + std::to_string(i) + "}";
    }
    RtfHeaderTables header =
        contentOf(fonts + "}" + styles + "}" + lists + "}{\\colortbl" + repeated(";", 70000) + "}").header;
    EXPECT_TRUE(header.font(static_cast<std::int32_t>(RtfHeaderTables::kMaxFonts) - 1));
    EXPECT_FALSE(header.font(static_cast<std::int32_t>(RtfHeaderTables::kMaxFonts)));
    EXPECT_TRUE(header.style(static_cast<std::int32_t>(RtfHeaderTables::kMaxStyles) - 1));
    EXPECT_FALSE(header.style(static_cast<std::int32_t>(RtfHeaderTables::kMaxStyles)));
    EXPECT_FALSE(header.color(INT32_MAX));
}

TEST(RtfLimits, BoundLevelsTabsAndCells) {
    const RtfContent content =
        contentOf("{\\*\\listtable{\\list" + repeated("{\\listlevel{\\leveltext a;}}", 50) +
                  "\\listid1}}"
                  "{\\*\\listoverridetable{\\listoverride\\listid1" +
                  repeated("{\\lfolevel\\listoverrideformat{\\listlevel}}", 50) + "\\ls1}}" + repeated("\\tx100", 500) +
                  "\\trowd" + repeated("\\cellx9", 5000) + "\\intbl\\ls1\\ilvl77 a\\cell\\row");
    EXPECT_EQ(content.header.list(1)->levels.size(), RtfHeaderTables::kMaxListLevels);
    EXPECT_EQ(content.paragraphFormats.formats().back().tabs->size(), kMaxRtfTabs);
    EXPECT_EQ(content.tables.rows()[0].definition->cells.size(), RtfRowDefinitionBuilder::kMaxCells);
}

TEST(RtfLimits, BoundTheNestingOfTables) {
    const RtfContent content = contentOf("\\intbl\\itap100000 a\\nestcell\\itap-7 b\\par\\itap2147483647 c\\nestcell");
    EXPECT_EQ(content.tables.tables().size(), 2 * static_cast<std::size_t>(RtfTables::kMaxNesting));
    EXPECT_EQ(content.text, u"a\nb\nc\n");
    // Many deep tables: the paragraphs stay, the tables become shallower.
    const RtfContent many = contentOf(repeated("\\itap32\\par\\itap0\\par", 10000));
    EXPECT_EQ(many.paragraphs.size(), 20000u);
    EXPECT_LE(many.tables.cells().size(), 20000u + static_cast<std::size_t>(RtfTables::kMaxTablesAhead));
}

TEST(RtfLimits, BoundCells) {
    const RtfContent content = contentOf(repeated("\\cell", RtfTables::kMaxCells + 100));
    EXPECT_LE(content.tables.cells().size(), RtfTables::kMaxCells);
    EXPECT_EQ(content.paragraphs.size(), RtfTables::kMaxCells + 100);
    EXPECT_EQ(content.paragraphs.back().cell, -1);
}

TEST(RtfLimits, BoundAttachments) {
    const RtfContent content = contentOf("{\\v a}" + repeated("{\\NeXTGraphic a}", kMaxRtfAttachments + 5) + "\\b b");
    EXPECT_EQ(content.attachments.size(), kMaxRtfAttachments);
    EXPECT_EQ(content.text.size(), kMaxRtfAttachments + 1);
}

TEST(RtfLimits, BoundTheKindsOfFormatting) {
    std::string body;
    for (int i = 1; i < 70000; ++i)
        body += "\\cf" + std::to_string(i) + " x\\li" + std::to_string(i) + "\\par";
    const RtfContent content = contentOf(body);
    EXPECT_EQ(content.characters.formats().size(), std::size_t{65536});
    EXPECT_EQ(content.paragraphFormats.formats().size(), std::size_t{65536});
    EXPECT_EQ(content.text.size(), 2u * 69999);
    EXPECT_EQ(content.paragraphs.size(), 69999u);
}

TEST(RtfLimits, EndStylesThatAreBasedOnThemselves) {
    std::string styles = "{\\stylesheet{\\s1\\sbasedon1\\b A;}";
    for (int i = 2; i < 100; ++i)
        styles += "{\\s" + std::to_string(i) + "\\sbasedon" + std::to_string(i - 1) + " A;}";
    RtfHeaderTables header = contentOf(styles + "{\\s200\\sbasedon201 A;}{\\s201\\sbasedon200 B;}}").header;
    EXPECT_TRUE(header.style(5)->character.bold);
    EXPECT_FALSE(header.style(99)->character.bold);  // beyond the length of a chain
    EXPECT_TRUE(header.style(200));
}

TEST(RtfLimits, ReadTablesInsideThemselves) {
    // An override inside another one's level leaves that one without levels.
    EXPECT_EQ(
        textOf("{\\listoverridetable{\\listoverride{\\lfolevel\\listoverrideformat{\\listoverridetable{\\listoverride}}"
               "{\\listlevel}}}}a"),
        "a");
    EXPECT_EQ(textOf("{\\listtable{\\list{\\listlevel{\\listtable{\\list{\\listlevel}}}}}}a"), "a");
    EXPECT_EQ(textOf("{\\fonttbl{\\f0{\\fonttbl{\\f1 A;}}B;}}{\\field{\\fldinst{\\field{\\fldrslt b}}}}a"), "a");
    EXPECT_EQ(textOf("{\\info{\\title{\\info{\\title x}}y}}{\\pict{\\pict 00}}a"), "a");
}

TEST(RtfLimits, ReadEveryBeginningOfADocument) {
    const std::string samples[] = {
        "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2513{\\fonttbl\\f0\\fswiss\\fcharset128 "
        "Hel;}{\\colortbl;\\red1\\green2\\blue3;}"
        "{\\*\\expandedcolortbl;;\\cssrgb\\c0\\c0\\c0\\c84706\\cname x;}{\\info{\\title "
        "t}{\\creatim\\yr2000\\mo1\\dy2}}"
        "{\\*\\listtable{\\list{\\listlevel{\\*\\levelmarker \\{disc\\}}{\\leveltext\\'01\\uc0\\u8226 ;}}\\listid1}}"
        "{\\*\\listoverridetable{\\listoverride\\listid1{\\lfolevel{\\listlevel}}\\ls1}}"
        "\\pard\\tx560\\ls1\\f0\\fs26\\cf2 a"
        "\\'93\\'fa\\uc1\\u8217?{{\\NeXTGraphic a.png \\width3 \\height4}\xAC}{\\field{\\*\\fldinst{HYPERLINK \"x\"}}"
        "{\\fldrslt y}}{\\pict\\pngblip\\picwgoal5 8950\\bin3 abc}\\\n\\par}",
        "{\\rtf1{\\stylesheet{\\s1\\b\\sbasedon0 "
        "A;}}\\trowd\\trgaph5\\clbrdrl\\brdrs\\brdrw3\\clmgf\\cellx100\\clmrg\\cellx200"
        "\\pard\\intbl\\s1 a\\cell\\itap2 "
        "b\\nestcell{\\*\\nesttableprops\\trowd\\cellx50\\nestrow}{\\nonesttables\\par}\\cell"
        "\\row{\\*\\pn\\pnlvlbody\\pndec{\\pntxtb (}{\\pntxta )}}{\\shp{\\*\\shpinst{\\sp{\\sn n}{\\sv 1}}{\\shptxt "
        "t\\par}}}"
        "{\\upr{a}{\\*\\ud{\\u1041?}}}{\\object{\\*\\objdata 01}{\\result r}}{\\footnote f}\\sect\\page}"};
    for (const std::string& sample : samples) {
        std::size_t before = 0;
        for (std::size_t length = 0; length <= sample.size(); ++length) {
            const auto content = parsedRtf(std::string_view(sample).substr(0, length));
            EXPECT_EQ(content.has_value(), length >= 5) << length;
            if (!content) continue;
            ASSERT_TRUE(content->text.empty() || content->runs.back().end == content->text.size()) << length;
            ASSERT_TRUE(content->text.empty() || content->paragraphs.back().end == content->text.size()) << length;
            const AttributedString text = documentFromRtf(std::string_view(sample).substr(0, length)).value().text;
            ASSERT_TRUE(text.empty() || text.characterRuns().back().end == text.length()) << length;
            ASSERT_TRUE(text.empty() || text.paragraphRuns().back().end == text.length()) << length;
            // More of a file gives more of its text, but for a placeholder, a marker or a byte not yet complete.
            EXPECT_GE(content->text.size() + 3, before) << length;
            before = content->text.size();
        }
    }
}

}  // namespace
}  // namespace halden
