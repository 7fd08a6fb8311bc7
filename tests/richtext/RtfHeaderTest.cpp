// The tables in front of the text, and what a document says of itself.
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using testing::contentOf;

TEST(RtfHeader, ReadsFontsInGroupsAndInALine) {
    for (const std::string_view table :
         {"{\\fonttbl{\\f0\\froman\\fcharset0 Times;}{\\f1\\fmodern\\fprq1{\\*\\panose 02}Menlo{\\*\\falt Courier};}}",
          "{\\fonttbl\\f0\\froman\\fcharset0 Times;\\f1\\fmodern\\fprq1 Menlo;}",
          "{\\fonttbl{\\f0\\froman\\fcharset0 Times}{\\f1\\fmodern\\fprq1 Menlo}}"}) {
        const RtfHeaderTables header = contentOf(table).header;
        ASSERT_TRUE(header.font(0) && header.font(1)) << table;
        EXPECT_EQ(header.font(0)->name, u"Times") << table;
        EXPECT_EQ(header.font(0)->family, RtfFontFamily::roman);
        EXPECT_EQ(header.font(0)->codePage, 1252);
        EXPECT_EQ(header.font(1)->name, u"Menlo") << table;
        EXPECT_TRUE(header.font(1)->fixedPitch);
        EXPECT_EQ(header.font(1)->codePage, 0);
        EXPECT_FALSE(header.font(2));
    }
}

TEST(RtfHeader, ReadsFontNamesInTheirOwnEncoding) {
    const RtfHeaderTables header =
        contentOf(
            "{\\fonttbl{\\f1\\fcharset128 \\'82\\'6c\\'82\\'72;}{\\f2\\fcharset204 \\'cf CYR;}{\\f3 \\u1055?;}"
            "{\\f4 Arial Greek;}{\\f5 Arial;\\fcharset161}}")
            .header;
    EXPECT_EQ(header.font(1)->name, u"\uFF2D\uFF33");
    EXPECT_EQ(header.font(2)->name, u"\u041F CYR");
    EXPECT_EQ(header.font(3)->name, u"\u041F");
    EXPECT_EQ(header.font(4)->name, u"Arial");
    EXPECT_EQ(header.font(4)->codePage, 1253);
    EXPECT_EQ(header.font(5)->codePage, 1253);
}

TEST(RtfHeader, ReadsColors) {
    const RtfHeaderTables header =
        contentOf(
            "{\\colortbl;\\red255\\green0\\blue51;\\red300\\green-5\\blue0;\\red0\\green0\\blue0;\\red1\\green2\\blue3;"
            "}"
            "{\\*\\expandedcolortbl;;\\csgray\\c50000\\c20000;\\cssrgb\\c0\\c0\\c0\\c84706\\cname labelColor;"
            "\\cscmyk\\c0\\c100000\\c0\\c0;}")
            .header;
    EXPECT_FALSE(header.color(0));
    EXPECT_EQ(header.color(1), (RtfColor{1, 0, 0.2, 1}));
    EXPECT_EQ(header.color(2), (RtfColor{0.5, 0.5, 0.5, 0.2}));
    EXPECT_EQ(header.color(3), (RtfColor{0, 0, 0, 0.84706}));
    EXPECT_EQ(header.color(4), (RtfColor{1, 0, 1, 1}));
    EXPECT_FALSE(header.color(5));
    EXPECT_FALSE(header.color(-1));
}

TEST(RtfHeader, BringsWideColorsIntoSrgb) {
    EXPECT_FALSE(rtfColorInSpace(RtfColorSpace::none, {1, 1, 1}));
    const RtfColor white = rtfColorInSpace(RtfColorSpace::displayP3, {1, 1, 1}).value();
    EXPECT_NEAR(white.red, 1, 1e-4);
    EXPECT_NEAR(white.blue, 1, 1e-4);
    const RtfColor red = rtfColorInSpace(RtfColorSpace::displayP3, {1, 0, 0, 0.5}).value();
    EXPECT_NEAR(red.red, 1, 1e-9);
    EXPECT_EQ(red.green, 0);
    EXPECT_EQ(red.alpha, 0.5);
    // The red of sRGB, in Display P3.
    const RtfColor srgbRed = rtfColorInSpace(RtfColorSpace::displayP3, {0.91749, 0.20030, 0.13856}).value();
    EXPECT_NEAR(srgbRed.red, 1, 2e-3);
    EXPECT_NEAR(srgbRed.green, 0, 3e-3);
}

TEST(RtfHeader, ReadsListsAndTheirOverrides) {
    const RtfHeaderTables header =
        contentOf(
            "{\\*\\listtable{\\list{\\listlevel\\levelnfc0\\levelstartat3{\\leveltext\\'02\\'00.;}{\\levelnumbers\\'01;"
            "}}"
            "{\\listlevel\\levelnfc23{\\*\\levelmarker \\{disc\\}}{\\leveltext\\'01\\uc0\\u8226 ;}}{\\listname "
            ";}\\listid7}"
            "{\\list{\\listlevel{\\leveltext{\\uc1\\u2 ?}{\\uc1\\u0 ?}{\\uc1\\u41 ?}{\\uc1\\u59 ?}}}\\listid8}}"
            "{\\*\\listoverridetable{\\listoverride\\listid7\\listoverridecount0\\ls1}"
            "{\\listoverride\\listid8\\listoverridecount1{\\lfolevel\\listoverrideformat{\\listlevel\\levelnfc4"
            "{\\leveltext\\'01\\u-3913 ?;}}}\\ls2}{\\listoverride\\listid99\\ls3}}")
            .header;
    ASSERT_TRUE(header.list(1));
    ASSERT_EQ(header.list(1)->levels.size(), 2u);
    EXPECT_EQ(header.list(1)->id, 7);
    EXPECT_EQ(header.list(1)->levels[0].text, std::u16string(u"\0.", 2));
    EXPECT_EQ(header.list(1)->levels[0].start, 3);
    EXPECT_EQ(header.list(1)->levels[1].text, u"\u2022");
    EXPECT_EQ(header.list(1)->levels[1].marker, u"{disc}");
    EXPECT_EQ(header.list(1)->levels[1].numberKind, 23);
    ASSERT_TRUE(header.list(2));
    EXPECT_EQ(header.list(2)->levels[0].text, u"\u2022");
    EXPECT_EQ(header.list(2)->levels[0].numberKind, 4);
    EXPECT_FALSE(header.list(3));
    EXPECT_FALSE(header.list(0));
}

TEST(RtfHeader, ReadsPageSetUp) {
    const RtfDocumentProperties properties =
        contentOf(
            "\\cocoartf2513\\cocoasubrtf460\\cocoatextscaling1\\cocoascreenfonts1\\paperw11900\\paperh16840\\margl1440"
            "\\margr1441\\margt1442\\margb1443\\vieww9000\\viewh8400\\viewkind1\\viewscale120\\readonlydoc1"
            "\\hyphauto1\\hyphfactor90\\deftab720\\pgwsxn1 x")
            .properties;
    EXPECT_EQ(properties.cocoaVersion, 2513);
    EXPECT_EQ(properties.cocoaSubversion, 460);
    EXPECT_EQ(properties.textScaling, 1);
    EXPECT_EQ(properties.screenFonts, 1);
    EXPECT_EQ(properties.paperWidth, 11900);
    EXPECT_EQ(properties.paperHeight, 16840);
    EXPECT_EQ(properties.leftMargin, 1440);
    EXPECT_EQ(properties.rightMargin, 1441);
    EXPECT_EQ(properties.topMargin, 1442);
    EXPECT_EQ(properties.bottomMargin, 1443);
    EXPECT_EQ(properties.viewWidth, 9000);
    EXPECT_EQ(properties.viewHeight, 8400);
    EXPECT_EQ(properties.viewKind, 1);
    EXPECT_EQ(properties.viewScale, 120);
    EXPECT_EQ(properties.readOnly, 1);
    EXPECT_EQ(properties.hyphenation, 1);
    EXPECT_EQ(properties.hyphenationFactor, 90);
    EXPECT_EQ(properties.tabInterval, 720);
    // The first section's page stands in for the document's.
    EXPECT_EQ(contentOf("\\sectd\\pgwsxn500\\marglsxn7 x\\sect\\pgwsxn600").properties.paperWidth, 500);
    EXPECT_EQ(contentOf("x").properties.paperWidth, kRtfUnset);
}

TEST(RtfHeader, ReadsTheColorOfThePageFromTheShapeBehindIt) {
    const std::string_view before = "{\\*\\background{\\shp{\\*\\shpinst\\shplid1025{\\sp{\\sn shapeType}{\\sv 1}}";
    struct Row {
        std::string_view properties;
        std::optional<RtfColor> color;
    };
    for (const Row& row :
         {Row{"{\\sp{\\sn fillColor}{\\sv 13158}}", RtfColor{102 / 255.0, 0.2, 0, 1}},
          Row{"{\\sp\n{\\sn fillColor}\n{\\sv  255 }}{\\sp{\\sn fFilled}{\\sv 1}}", RtfColor{1, 0, 0, 1}},
          Row{"{\\sp{\\sn fillColor}{\\sv 255}}{\\sp{\\sn fFilled}{\\sv 0}}", std::nullopt},
          Row{"{\\sp{\\sn fillColor}{\\sv 268435455}}", std::nullopt},
          Row{"{\\sp{\\sn fillColor}{\\sv 9999999999}}", std::nullopt},
          Row{"{\\sp{\\sn fillColor}{\\sv x}}{\\shptxt no text}{\\pict\\pngblip 89504e470d0a1a0a}", std::nullopt}}) {
        const RtfContent content = contentOf(std::string(before) + std::string(row.properties) +
                                             "}}}{\\shp{\\*\\shpinst{\\sp{\\sn fillColor}{\\sv 9}}}}text");
        EXPECT_EQ(content.properties.background, row.color) << row.properties;
        EXPECT_EQ(content.text, u"text");
        EXPECT_TRUE(content.attachments.empty());
    }
}

TEST(RtfHeader, ReadsInformation) {
    const RtfDocumentProperties properties =
        contentOf(
            "\\ansicpg1251{\\info{\\title \\'cf a{\\b b}}{\\subject s}{\\author a}{\\manager m}{\\*\\company c}"
            "{\\operator o}{\\category k}{\\keywords x, y}{\\doccomm d}{\\*\\copyright r}{\\comment ignored}"
            "{\\creatim\\yr2007\\mo6\\dy21\\hr12\\min11\\sec5}{\\revtim\\yr2000\\mo1\\dy1}{\\nofpages3}}"
            "{\\title not this}x")
            .properties;
    EXPECT_EQ(properties.title, u"\u041F ab");
    EXPECT_EQ(properties.subject, u"s");
    EXPECT_EQ(properties.author, u"a");
    EXPECT_EQ(properties.manager, u"m");
    EXPECT_EQ(properties.company, u"c");
    EXPECT_EQ(properties.editor, u"o");
    EXPECT_EQ(properties.category, u"k");
    EXPECT_EQ(properties.keywords, u"x, y");
    EXPECT_EQ(properties.comment, u"d");
    EXPECT_EQ(properties.copyright, u"r");
    EXPECT_EQ(properties.created->unixSeconds(), 1182427865);
    EXPECT_EQ(properties.modified->unixSeconds(), 946684800);
    // The better form of a doubled text comes last.
    EXPECT_EQ(contentOf("{\\info{\\upr{\\title a}{\\*\\ud{\\title \\u1041?}}}}").properties.title, u"\u0411");
    for (const std::string_view date : {"\\yr0\\mo1\\dy1", "\\yr2000\\mo13\\dy1", "\\yr2000\\mo1\\dy1\\hr99", ""}) {
        EXPECT_FALSE(contentOf("{\\info{\\creatim" + std::string(date) + "}}").properties.created) << date;
    }
}

}  // namespace
}  // namespace halden
