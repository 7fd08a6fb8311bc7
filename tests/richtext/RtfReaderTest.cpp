// Whole documents: attributed strings and document attributes.
#include "foundation/Unicode.h"
#include "richtext/DocumentAttributes.h"
#include "richtext/RtfAttributes.h"
#include "richtext/RtfReader.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

#include <functional>

namespace halden {
namespace {

constexpr std::string_view kHeader =
    "\\cocoartf2513{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;\\f1\\fnil\\fcharset0 "
    "Menlo-Bold;}{\\colortbl;\\red255\\green0"
    "\\blue0;\\red0\\green0\\blue255;}{\\*\\listtable{\\list{\\listlevel\\levelnfc23{\\*\\levelmarker \\{disc\\}}}"
    "{\\listlevel\\levelnfc2\\levelstartat4{\\leveltext\\'03(\\'01);}}\\listid1}}{\\*\\listoverridetable"
    "{\\listoverride\\listid1\\ls1}{\\listoverride\\listid1\\ls2}}\\f0 ";

RichTextDocument documentOf(std::string_view body) {
    return documentFromRtf(testing::documentOf(std::string(kHeader) + std::string(body))).value();
}

CharacterAttributes charactersOf(std::string_view words) {
    return documentOf(std::string(words) + " x").text.characterAttributesAt(0);
}

ParagraphAttributes paragraphOf(std::string_view words) {
    return documentOf(std::string(words) + "{\\listtext m}x\\par").text.paragraphAttributesAt(0);
}

TEST(RtfReader, RefusesWhatIsNoRtf) {
    EXPECT_FALSE(documentFromRtf(""));
    EXPECT_FALSE(documentFromRtf("<html>"));
    EXPECT_TRUE(documentFromRtf("{\\rtf1}").value().text.empty());
}

TEST(RtfReader, TranslatesCharacters) {
    struct Case {
        std::string_view words;
        std::function<void(CharacterAttributes&)> change;
    };
    constexpr Color kRed{1, 0, 0, 1};
    constexpr Color kBlue{0, 0, 1, 1};
    const Case cases[] = {
        {"", [](auto&) {}},
        {"\\b\\fs28",
         [](auto& a) {
             a.font = {u"Helvetica-Bold", u"Helvetica", 14, true, false};
         }},
        {"\\f1\\fs26\\fsmilli13500",
         [](auto& a) {
             a.font = {u"Menlo-Bold", u"Menlo", 13.5, true, false};
         }},
        {"\\f9", [](auto&) {}},  // there is none of that number
        {"\\ltrch\\f0\\fs24\\rtlch\\af1\\afs20\\ai",
         [](auto& a) {
             a.font = {u"Menlo-BoldItalic", u"Menlo", 10, true, true};
         }},
        {"\\rtlch\\af1\\afs20\\ab\\ltrch", [](auto&) {}},
        {"\\cf1\\cb2", [&](auto& a) { a.foreground = kRed, a.background = kBlue; }},
        {"\\cf0\\cb0", [](auto&) {}},
        {"\\cf7", [](auto&) {}},
        {"\\highlight1", [&](auto& a) { a.background = kRed; }},
        {"\\ul\\ulc1", [&](auto& a) { a.underline = 1, a.underlineColor = kRed; }},
        {"\\ulc1", [](auto&) {}},
        {"\\ulw", [](auto& a) { a.underline = 0x8001; }},
        {"\\uldashd", [](auto& a) { a.underline = 0x0301; }},
        {"\\ul\\ulstyle265", [](auto& a) { a.underline = 265; }},
        {"\\ul\\ulstyle265\\ulnone", [](auto&) {}},
        {"\\strike\\strikec2", [&](auto& a) { a.strikethrough = 1, a.strikethroughColor = kBlue; }},
        {"\\striked1", [](auto& a) { a.strikethrough = 9; }},
        {"\\super2", [](auto& a) { a.superscript = 2; }},
        {"\\sub", [](auto& a) { a.superscript = -1; }},
        {"\\up5", [](auto& a) { a.baselineOffset = 2.5; }},
        {"\\dn4", [](auto& a) { a.baselineOffset = -2; }},
        {"\\expndtw30", [](auto& a) { a.kern = 1.5; }},
        {"\\CocoaLigature0", [](auto& a) { a.ligature = 0; }},
        {"\\outl", [](auto& a) { a.strokeWidth = 3; }},
        {"\\outl0\\strokewidth-60\\strokec1", [&](auto& a) { a.strokeWidth = -3, a.strokeColor = kRed; }},
        {"\\shad\\shadx40\\shady-60\\shadr20\\shado51\\shadc2",
         [](auto& a) {
             a.shadow = Shadow{2, -3, 1, Color{0, 0, 1, 0.2}};
         }},
        {"\\obliqueness4\\expansion-2", [](auto& a) { a.obliqueness = 0.2, a.expansion = -0.1; }},
        {"\\lang1031", [](auto& a) { a.language = u"de-DE"; }},
        {"\\lang1024", [](auto&) {}},
        {"\\lang65535", [](auto&) {}},
        {"{\\field{\\*\\fldinst HYPERLINK \"http://a.example/\"}{\\fldrslt y}}",
         [](auto& a) { a.link = u"http://a.example/"; }},
    };
    for (const Case& c : cases) {
        CharacterAttributes expected;
        c.change(expected);
        EXPECT_TRUE(charactersOf(c.words) == expected) << c.words;
    }
}

TEST(RtfReader, TranslatesParagraphs) {
    struct Case {
        std::string_view words;
        std::function<void(ParagraphAttributes&)> change;
    };
    const Case cases[] = {
        {"\\pard", [](auto&) {}},
        {"\\qc", [](auto& p) { p.alignment = TextAlignment::center; }},
        {"\\qj", [](auto& p) { p.alignment = TextAlignment::justified; }},
        {"\\li720\\fi-360\\ri200", [](auto& p) { p.headIndent = 36, p.firstLineHeadIndent = 18, p.tailIndent = -10; }},
        {"\\sb120\\sa240", [](auto& p) { p.paragraphSpacingBefore = 6, p.paragraphSpacing = 12; }},
        {"\\sl360\\slmult1", [](auto& p) { p.lineHeightMultiple = 1.5; }},
        {"\\sl240\\slmult1", [](auto&) {}},
        {"\\sl360", [](auto& p) { p.minimumLineHeight = 18; }},
        {"\\sl-360", [](auto& p) { p.minimumLineHeight = p.maximumLineHeight = 18; }},
        {"\\slleading40\\slminimum200\\slmaximum300",
         [](auto& p) { p.lineSpacing = 2, p.minimumLineHeight = 10, p.maximumLineHeight = 15; }},
        {"\\tqr\\tx1120\\tx560",
         [](auto& p) {
             p.tabStops = {{28, TabStopType::left}, {56, TabStopType::right}};
         }},
        {"\\pardeftab720", [](auto& p) { p.defaultTabInterval = 36; }},
        {"\\rtlpar", [](auto& p) { p.writingDirection = WritingDirection::rightToLeft; }},
        {"\\partightenfactor5", [](auto& p) { p.tighteningFactor = 0.05; }},
        {"\\outlinelevel1", [](auto& p) { p.headerLevel = 2; }},
        {"\\hyphfactor90\\pard", [](auto& p) { p.hyphenationFactor = 0.9; }},
        {"\\hyphfactor90\\hyphpar0", [](auto&) {}},
    };
    for (const Case& c : cases) {
        ParagraphAttributes expected;
        c.change(expected);
        EXPECT_TRUE(paragraphOf(c.words) == expected) << c.words;
    }
}

TEST(RtfReader, SharesListsByIdentity) {
    const AttributedString text =
        documentOf(
            "\\ls1\\ilvl0{\\listtext -\\tab}a\\par\\ilvl1{\\listtext i\\tab}b\\par\\qc\\ilvl0{\\listtext -\\tab}c\\par"
            "\\pard\\ls2\\ilvl0{\\listtext -\\tab}d\\par")
            .text;
    EXPECT_EQ(text.string(), u"-\ta\ni\tb\n-\tc\n-\td\n");
    const auto& a = text.paragraphAttributesAt(0).lists;
    const auto& b = text.paragraphAttributesAt(4).lists;
    const auto& c = text.paragraphAttributesAt(8).lists;
    const auto& d = text.paragraphAttributesAt(12).lists;
    ASSERT_TRUE(a.size() == 1 && b.size() == 2 && c.size() == 1 && d.size() == 1);
    EXPECT_EQ(a[0], b[0]);
    EXPECT_EQ(a[0], c[0]);
    EXPECT_NE(a[0], d[0]);
    EXPECT_EQ(a[0]->markerFormat, u"{disc}");
    EXPECT_EQ(b[1]->markerFormat, u"({lower-roman})");
    EXPECT_EQ(b[1]->startingItemNumber, 4);
}

TEST(RtfReader, LevelsThatMarkNothingAreNoLists) {
    const auto listsWith = [](std::string_view level) {
        const std::string text = "{\\*\\listtable{\\list{\\listlevel" + std::string(level) +
                                 "}\\listid1}}{\\*\\listoverridetable{\\listoverride\\listid1\\ls1}}\\ls1 a\\par";
        return documentOf(text).text.paragraphAttributesAt(0).lists.size();
    };
    EXPECT_EQ(listsWith("\\levelnfc255{\\leveltext\\'01\\'00;}"), 0U);
    EXPECT_EQ(listsWith("\\levelnfc255{\\leveltext\\'02\\'00);}"), 1U);
    EXPECT_EQ(listsWith("\\levelnfc255{\\*\\levelmarker \\{disc\\}}{\\leveltext\\'00;}"), 1U);
    EXPECT_EQ(listsWith("\\levelnfc0{\\leveltext\\'01\\'00;}"), 1U);
}

TEST(RtfReader, MakesMarkerFormats) {
    struct Case {
        std::int32_t kind;
        std::u16string text;
        std::size_t level;
        std::u16string_view format;
    };
    const Case cases[] = {
        {0, std::u16string(u"\0.", 2), 0, u"{decimal}."},
        {3, std::u16string(u"(\0)", 3), 0, u"({upper-alpha})"},
        {4, std::u16string(u"\0.\1.", 4), 1, u"{lower-alpha}."},  // the outer number is no part of it
        {0, u"", 0, u"{decimal}"},
        {23, u"\u2022", 0, u"{disc}"},
        {23, u"\u27A2", 0, u"\u27A2"},
        {255, u"", 0, u""},
    };
    for (const Case& c : cases) {
        const RtfListLevel level{.numberKind = c.kind, .start = 1, .text = c.text, .marker = {}};
        EXPECT_EQ(markerFormatOf(level, c.level), c.format) << c.kind;
    }
    const RtfListLevel own{.numberKind = 0, .start = 1, .text = u"x", .marker = u"{square}"};
    EXPECT_EQ(markerFormatOf(own, 0), u"{square}");
}

TEST(RtfReader, MakesBlocksOfCells) {
    const AttributedString text =
        documentOf(
            "x\\par\\trowd\\trgaph100\\trleft0\\trcbpat1\\trbrdrt\\brdrs\\brdrw20\\brdrcf2\\trbrdrv\\brdrs\\brdrw10"
            "\\clvmgf\\clvertalc\\clcbpat2\\clpadl60\\clbrdrl\\brdrnone\\cellx2000\\clmgf\\cellx3000\\clmrg\\cellx4000"
            "\\pard\\intbl a\\cell b\\cell\\cell\\row\\trowd\\clvmrg\\cellx2000\\cellx4000\\pard\\intbl\\cell"
            "\\pard\\intbl\\itap2 n\\nestcell{\\*\\nesttableprops\\trowd\\cellx100\\nestrow}\\pard\\intbl c\\cell\\row"
            "\\pard y\\par")
            .text;
    // The cells that only continue others have no text.
    ASSERT_EQ(text.string(), u"x\na\nb\nn\nc\ny\n");
    EXPECT_TRUE(text.paragraphAttributesAt(0).blocks.empty());
    EXPECT_TRUE(text.paragraphAttributesAt(10).blocks.empty());
    const TextTableBlock& a = text.paragraphAttributesAt(2).blocks.at(0);
    const TextTableBlock& b = text.paragraphAttributesAt(4).blocks.at(0);
    ASSERT_EQ(text.paragraphAttributesAt(6).blocks.size(), 2u);
    const TextTableBlock& n = text.paragraphAttributesAt(6).blocks.at(1);
    const TextTableBlock& c = text.paragraphAttributesAt(8).blocks.at(0);
    EXPECT_EQ(a.table, b.table);
    EXPECT_EQ(a.table, c.table);
    EXPECT_EQ(text.paragraphAttributesAt(6).blocks.at(0), c);
    EXPECT_NE(n.table, a.table);
    EXPECT_EQ(a.table->columnCount, 3);
    EXPECT_EQ(a.rowSpan, 2);
    EXPECT_EQ(a.width, 100);
    EXPECT_EQ(b.column, 1);
    EXPECT_EQ(b.columnSpan, 2);
    EXPECT_EQ(b.width, 100);
    EXPECT_EQ(c.row, 1);
    EXPECT_EQ(c.column, 1);
    EXPECT_EQ(c.columnSpan, 2);
    EXPECT_EQ(a.style->verticalAlignment, VerticalAlignment::middle);
    EXPECT_EQ(a.style->background, (Color{0, 0, 1, 1}));
    EXPECT_EQ(b.style->background, (Color{1, 0, 0, 1}));
    EXPECT_EQ(a.style->padding, (std::array<double, 4>{3, 0, 5, 0}));
    EXPECT_EQ(a.style->borders[0].width, 0);
    EXPECT_EQ(a.style->borders[1], (TableBorder{1, Color{0, 0, 1, 1}}));
    EXPECT_EQ(a.style->borders[2].width, 0.5);
    EXPECT_EQ(a.style->borders[3].width, 0);
}

TEST(RtfReader, AsksForTheFilesOfAttachments) {
    const std::string rtf = testing::documentOf(
        "a{{\\NeXTGraphic x.png \\width400 \\height200\n}\xAC}{{\\NeXTGraphic ../y "
        "\\width-5}\xAC}{\\pict\\pngblip\\picwgoal200"
        "\\pichgoal100 89504e470d0a1a0a}");
    std::vector<std::u16string> asked;
    const RtfReadOptions options{.attachment = [&](std::u16string_view name) -> std::optional<FileNode> {
        asked.emplace_back(name);
        if (name != u"x.png") return std::nullopt;
        return FileNode{.name = u"other", .data = Data::copying("bytes"), .isFolder = false, .children = {}};
    }};
    const AttributedString text = documentFromRtf(rtf, options).value().text;
    EXPECT_EQ(text.string(), u"a\uFFFC\uFFFC\uFFFC");
    EXPECT_EQ(asked, (std::vector<std::u16string>{u"x.png", u"../y"}));
    ASSERT_EQ(text.attachments().size(), 3u);
    EXPECT_EQ(text.attachmentAt(1)->file.name, u"x.png");
    EXPECT_EQ(text.attachmentAt(1)->file.data.view(), "bytes");
    EXPECT_EQ(text.attachmentAt(1)->size, (Size{20, 10}));
    EXPECT_EQ(text.attachmentAt(2)->file.name, u"../y");
    EXPECT_TRUE(text.attachmentAt(2)->file.data.empty());
    EXPECT_EQ(text.attachmentAt(2)->size, (Size{0, 0}));
    EXPECT_EQ(text.attachmentAt(3)->file.name, u"Picture 1.png");
    EXPECT_EQ(text.attachmentAt(3)->type, u"public.png");
    EXPECT_EQ(text.attachmentAt(3)->size, (Size{10, 5}));
}

TEST(RtfReader, TellsDocumentAttributes) {
    const Dictionary plain = documentFromRtf("{\\rtf1 a}").value().documentAttributes;
    const Dictionary expected = {{u"DocumentType", u"NSRTF"},   {u"UTI", u"public.rtf"}, {u"CocoaRTFVersion", 80.0},
                                 {u"PaperSize", u"{612, 792}"}, {u"LeftMargin", 90.0},   {u"RightMargin", 90.0},
                                 {u"TopMargin", 72.0},          {u"BottomMargin", 72.0}, {u"DefaultTabInterval", 36.0},
                                 {u"HyphenationFactor", 0.0},   {u"TextScaling", 0},     {u"UsesScreenFonts", 0}};
    EXPECT_TRUE(plain == expected);

    const Dictionary full =
        documentFromRtf(
            "{\\rtf1\\cocoartf1138\\cocoasubrtf500\\cocoatextscaling1\\cocoascreenfonts1\\paperw11900\\paperh16840\\mar"
            "gl1440"
            "\\margr1220\\margt1200\\margb1180\\vieww9000\\viewh8400\\viewkind1\\viewscale120\\readonlydoc1"
            "\\hyphfactor90\\deftab700{\\info{\\title T}{\\author A}{\\subject S}{\\doccomm C}{\\operator O}"
            "{\\manager M}{\\company F}{\\copyright R}{\\category K}{\\keywords x, y z;,}"
            "{\\creatim\\yr2001\\mo1\\dy1}{\\revtim\\yr2001\\mo1\\dy1\\min1}}a}")
            .value()
            .documentAttributes;
    const Dictionary expectedFull = {{u"DocumentType", u"NSRTF"},
                                     {u"UTI", u"public.rtf"},
                                     {u"CocoaRTFVersion", 1138.5},
                                     {u"PaperSize", u"{595, 842}"},
                                     {u"LeftMargin", 72.0},
                                     {u"RightMargin", 61.0},
                                     {u"TopMargin", 60.0},
                                     {u"BottomMargin", 59.0},
                                     {u"DefaultTabInterval", 35.0},
                                     {u"HyphenationFactor", static_cast<double>(0.9F)},
                                     {u"TextScaling", 1},
                                     {u"UsesScreenFonts", 1},
                                     {u"ViewSize", u"{450, 420}"},
                                     {u"ViewZoom", 120.0},
                                     {u"ViewMode", 1},
                                     {u"ReadOnly", 1},
                                     {u"NSTitleDocumentAttribute", u"T"},
                                     {u"NSAuthorDocumentAttribute", u"A"},
                                     {u"NSSubjectDocumentAttribute", u"S"},
                                     {u"NSCompanyDocumentAttribute", u"F"},
                                     {u"NSCopyrightDocumentAttribute", u"R"},
                                     {u"NSCommentDocumentAttribute", u"C"},
                                     {u"NSEditorDocumentAttribute", u"O"},
                                     {u"NSManagerDocumentAttribute", u"M"},
                                     {u"NSCategoryDocumentAttribute", u"K"},
                                     {u"NSKeywordsDocumentAttribute", Array{u"x", u"y z"}},
                                     {u"NSCreationTimeDocumentAttribute", Date{0}},
                                     {u"NSModificationTimeDocumentAttribute", Date{60}}};
    EXPECT_TRUE(full == expectedFull);
    // Cocoa states its tab interval where it has one.
    EXPECT_EQ(*documentFromRtf("{\\rtf1\\cocoartf100 a}").value().documentAttributes.find(kDefaultTabIntervalKey),
              Value(0.0));
}

}  // namespace
}  // namespace halden
