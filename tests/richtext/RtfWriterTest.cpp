// The words that the writer chooses: what the platform's own readers and others know.
#include "richtext/DocumentAttributes.h"
#include "richtext/FontNames.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::string rtfOf(const AttributedString& text) {
    return rtfFromDocument({text, {}});
}

AttributedString styled(std::u16string text, void (*change)(CharacterAttributes&)) {
    CharacterAttributes attributes;
    change(attributes);
    return AttributedString(std::move(text), attributes);
}

TEST(RtfWriter, ADocumentInTheDialect) {
    AttributedString text = AttributedString(u"plain ");
    text.append(styled(
        u"bold", [](auto& c) { c.font = fontNamed(u"Helvetica-Bold", FontNaming::postScript, 12, true, false); }));
    text.append(AttributedString(u"\nend"));
    EXPECT_EQ(rtfOf(text), R"({\rtf1\ansi\ansicpg1252\cocoartf2513
\cocoatextscaling0\cocoaplatform0{\fonttbl\f0\fswiss\fcharset0 Helvetica;\f1\fswiss\fcharset0 Helvetica-Bold;}
{\colortbl;\red255\green255\blue255;}
{\*\expandedcolortbl;;}
\pard\pardirnatural\partightenfactor0

\f0\fs24 \cf0 plain 
\f1\b bold
\f0\b0 \
end})");
}

TEST(RtfWriter, TextIsEscaped) {
    struct Row {
        std::u16string text;
        std::string rtf;
    };
    const Row rows[] = {{u"a\\{b}", "a\\\\\\{b\\}"},
                        {u"\u00E9\u201C", "\\'e9\\'93"},
                        {u"\u65E5\u672C x", "\\uc0\\u26085\\u26412  x"},
                        {u"\U0001F600", "\\uc0\\u-10179\\u-8704"},
                        {u"\u00A0\u2011", "\\~\\_"},
                        {u"a\tb\fc", "a\tb\\page c"},
                        {u"a\u2028b", "a\\line b"},
                        {std::u16string(u"a\0b", 3), "ab"},
                        {{0xD800, u'x'}, "\\uc0\\u-3 x"},
                        {u"a\r\nb\rc\u2029d", "a\\\nb\\\nc\\\nd"}};
    for (const Row& row : rows)
        EXPECT_THAT(rtfOf(AttributedString(row.text)), HasSubstr("\\cf0 " + row.rtf + "}"));
}

TEST(RtfWriter, CharactersHaveTheirWords) {
    struct Row {
        void (*change)(CharacterAttributes&);
        const char* words;
    };
    const Row rows[] = {
        {[](auto& c) { c.font.size = 14.1; }, "\\fs28\\fsmilli14100 "},
        {[](auto& c) { c.font.size = 13.5; }, "\\fs27 "},
        {[](auto& c) { c.font.size = -1; }, "\\fs24 "},
        {[](auto& c) { c.underline = kLineSingle; }, "\\ul x"},
        {[](auto& c) { c.underline = kLineDouble; }, "\\uldb x"},
        {[](auto& c) { c.underline = 0x202; }, "\\ul\\ulstyle514 x"},
        {[](auto& c) { c.strikethrough = kLineSingle; }, "\\strike x"},
        {[](auto& c) { c.strikethrough = kLineDouble; }, "\\striked1 x"},
        {[](auto& c) { c.superscript = -1; }, "\\sub x"},
        {[](auto& c) { c.superscript = 2; }, "\\super2 x"},
        {[](auto& c) { c.baselineOffset = 2.5; }, "\\up5 x"},
        {[](auto& c) { c.baselineOffset = -1; }, "\\dn2 x"},
        {[](auto& c) { c.kern = 0.5; }, "\\kerning1\\expnd2\\expndtw10 x"},
        {[](auto& c) { c.strokeWidth = 3; }, "\\strokewidth60 x"},
        {[](auto& c) { c.ligature = 0; }, "\\CocoaLigature0 x"},
        {[](auto& c) { c.language = u"de-CH"; }, "\\lang2055 x"},
        {[](auto& c) { c.language = u"no such"; }, "\\cf0 x"},
        {[](auto& c) {
             c.shadow = Shadow{.x = 1, .y = -2, .blurRadius = 3, .color = Color{0, 0, 0, 0.5}};
         },
         "\\shad\\shadx20\\shady-40\\shadr60\\shado128 x"},
        {[](auto& c) {
             c.foreground = Color{1, 0, 0, 1};
         },
         "\\cf2 x"},
        {[](auto& c) {
             c.background = Color{1, 1, 1, 1};
         },
         "\\cb1\\chcbpat1 x"},
    };
    for (const Row& row : rows)
        EXPECT_THAT(rtfOf(styled(u"x", row.change)), HasSubstr(row.words));
}

TEST(RtfWriter, ColoursOfEightBitsStandInOneTable) {
    AttributedString text = styled(u"x", [](auto& c) { c.foreground = Color{1, 0, 128 / 255.0, 1}; });
    text.append(styled(u"y", [](auto& c) { c.foreground = Color{0.5, 2, -1, 0.25}; }));
    const std::string rtf = rtfOf(text);
    EXPECT_THAT(rtf, HasSubstr("{\\colortbl;\\red255\\green255\\blue255;\\red255\\green0\\blue128;"
                               "\\red128\\green255\\blue0;}\n"
                               "{\\*\\expandedcolortbl;;;\\cssrgb\\c50000\\c100000\\c0\\c25000;}"));
}

TEST(RtfWriter, LinksAreFields) {
    AttributedString text = AttributedString(u"see ");
    text.append(styled(u"this", [](auto& c) { c.link = u"http://example.org/\"\\{\u00E9"; }));
    text.append(AttributedString(u" one"));
    EXPECT_THAT(rtfOf(text), HasSubstr(R"(see {\field{\*\fldinst{HYPERLINK "http://example.org/\\"\\\\\{\uc0\u233 "}})"
                                       R"({\fldrslt this}} one)"));
}

TEST(RtfWriter, ParagraphsHaveTheirWords) {
    struct Row {
        ParagraphAttributes attributes;
        const char* words;
    };
    const Row rows[] = {
        {{}, "\\pard\\pardirnatural\\partightenfactor0\n"},
        {{.alignment = TextAlignment::center, .writingDirection = WritingDirection::rightToLeft}, "\\qc\\rtlpar"},
        {{.firstLineHeadIndent = 10, .headIndent = 36, .tailIndent = -20}, "\\li720\\fi-520\\ri400"},
        {{.paragraphSpacingBefore = 3, .paragraphSpacing = 4}, "\\sb60\\sa80"},
        {{.lineHeightMultiple = 1.5}, "\\sl360\\slmult1"},
        {{.lineSpacing = 1, .minimumLineHeight = 2, .maximumLineHeight = 3}, "\\slleading20\\slminimum40\\slmaximum60"},
        {{.defaultTabInterval = 36, .tabStops = {{28, TabStopType::left}, {56, TabStopType::decimal}}},
         "\\pard\\tx560\\tqdec\\tx1120\\pardeftab720"},
        {{.headerLevel = 2}, "\\outlinelevel1"},
        {{.tighteningFactor = 0.05}, "\\partightenfactor5"},
    };
    for (const Row& row : rows)
        EXPECT_THAT(rtfOf(AttributedString(u"x", {}, row.attributes)), HasSubstr(row.words));
}

TEST(RtfWriter, ParagraphsThatAreAlikeAreStatedOnce) {
    AttributedString text(u"a\n");
    text.append(AttributedString(u"b\nc\n"));
    const std::string rtf = rtfOf(text);
    EXPECT_EQ(rtf.find("\\pard\\"), rtf.rfind("\\pard\\"));
}

ParagraphAttributes inLists(std::vector<std::shared_ptr<const TextList>> lists) {
    ParagraphAttributes attributes;
    attributes.lists = std::move(lists);
    return attributes;
}

TEST(RtfWriter, ListsStandInTheTable) {
    const auto outer =
        std::make_shared<const TextList>(TextList{.markerFormat = u"{decimal}.", .startingItemNumber = 5});
    const auto inner = std::make_shared<const TextList>(TextList{.markerFormat = u"{disc}"});
    AttributedString text(u"\t5.\tone\n", {}, inLists({outer}));
    text.append(AttributedString(u"\t\u2022\ttwo\n", {}, inLists({outer, inner})));
    const std::string rtf = rtfOf(text);
    EXPECT_THAT(rtf, HasSubstr("{\\listlevel\\levelnfc0\\levelnfcn0\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat5"
                               "\\levelspace360\\levelindent0{\\*\\levelmarker \\{decimal\\}.}{\\leveltext"
                               "\\leveltemplateid101\\'02\\'00.;}{\\levelnumbers\\'01;}\\fi-360\\li720\\lin720 }"));
    EXPECT_THAT(rtf, HasSubstr("{\\*\\levelmarker \\{disc\\}}{\\leveltext\\leveltemplateid102\\'01\\uc0\\u8226 ;}"));
    EXPECT_THAT(rtf, HasSubstr("{\\listoverride\\listid1\\listoverridecount0\\ls1}"));
    EXPECT_THAT(rtf, HasSubstr("\\ls1\\ilvl0\n\n\\f0\\fs24 \\cf0 {\\listtext\t5.\t}one\\\n"));
    EXPECT_THAT(rtf, HasSubstr("\\ls1\\ilvl1\n{\\listtext\t\\'95\t}two\\\n"));
    EXPECT_THAT(rtf, Not(HasSubstr("\\ls2")));
}

TEST(RtfWriter, PicturesAndOtherAttachmentsThatStandAlone) {
    struct Row {
        std::string file;
        const char* words;  // empty: left out
    };
    std::string emf("\1\0\0\0", 4);
    emf.resize(40);
    std::string wmf =
        "\xD7\xCD\xC6\x9A" + std::string(6, '\0') + "\xA0\x05\xD0\x02\xA0\x05" + std::string(6, '\0') + "drawing";
    std::string pict(522, '\0');
    pict.append("\x00\x11\x02\xFF", 4);
    const Row rows[] = {{"\x89PNG\r\n\x1A\n..", "{\\pict\\pngblip\\picwgoal200\\pichgoal400\n89504e470d0a1a0a2e2e}"},
                        {"\xFF\xD8\xFF", "{\\pict\\jpegblip\\picwgoal200\\pichgoal400\nffd8ff}"},
                        {emf + " EMF", "{\\pict\\emfblip\\picwgoal200"},
                        {wmf, "{\\pict\\wmetafile8\\picwgoal200\\pichgoal400\n64726177696e67}"},
                        {"BM" + std::string(30, 'x'), "{\\pict\\dibitmap0\\picwgoal200\\pichgoal400\n787878"},
                        {pict, "{\\pict\\macpict\\picwgoal200\\pichgoal400\n00000000000000000000001102ff}"},
                        {"%PDF-1.4", ""},
                        {"", ""}};
    for (const Row& row : rows) {
        AttributedString::Parts parts;
        parts.text = u"a\uFFFCb";
        Attachment attachment;
        attachment.file.data = Data::copying(row.file);
        attachment.size = {10, 20};
        parts.attachments.push_back({1, std::make_shared<const Attachment>(attachment)});
        parts.characterRuns.push_back({3, std::make_shared<const CharacterAttributes>()});
        parts.paragraphRuns.push_back({3, std::make_shared<const ParagraphAttributes>()});
        const AttributedString text(std::move(parts));
        const std::string rtf = rtfOf(text);
        if (*row.words == '\0') {
            EXPECT_THAT(rtf, HasSubstr("\\cf0 ab}"));
        } else {
            EXPECT_THAT(rtf, HasSubstr(row.words));
        }
        // In a package every file is named.
        const std::u16string names[] = {u"a file.png"};
        EXPECT_THAT(rtfFromDocument({text, {}}, {.fileNames = names}),
                    HasSubstr("a{{\\NeXTGraphic a file.png \\width200 \\height400\n}\xAC}b"));
    }
}

TEST(RtfWriter, WithoutAttributesNothingIsSaidOfThePage) {
    EXPECT_THAT(rtfOf(AttributedString(u"x")), Not(HasSubstr("\\paperw")));
    EXPECT_THAT(rtfOf(AttributedString(u"x")), Not(HasSubstr("\\info")));
    EXPECT_TRUE(documentFromRtf(rtfOf(AttributedString()))->text.empty());
}

// Values of other kinds than documented say nothing, and numbers beyond measure are cut.
TEST(RtfWriter, WrongAttributesDoNoHarm) {
    const Dictionary attributes{{std::u16string(kPaperSizeKey), 3.0},
                                {std::u16string(kTitleKey), 1},
                                {std::u16string(kLeftMarginKey), 1e300},
                                {std::u16string(kRightMarginKey), u"wide"},
                                {std::u16string(kKeywordsKey), Array{1, u"", u"k"}},
                                {std::u16string(kCreationTimeKey), Date{1e300}}};
    const std::string rtf = rtfFromDocument({AttributedString(u"x"), attributes});
    EXPECT_THAT(rtf, HasSubstr("{\\info\n{\\keywords k}\n}\\margl100000000\n"));
}

// A cell may end without a separator, with a table, or lie anywhere: what comes out is a table.
TEST(RtfWriter, TablesOfAnyShapeCanBeRead) {
    const auto table = std::make_shared<const TextTable>();
    const auto other = std::make_shared<const TextTable>();
    const auto style = std::make_shared<const TextTableCellStyle>();
    const auto block = [&](const auto& of, int row, int column, int rows = 1, int columns = 1) {
        return TextTableBlock{
            .table = of, .style = style, .row = row, .rowSpan = rows, .column = column, .columnSpan = columns};
    };
    struct Row {
        std::vector<std::vector<TextTableBlock>> cells;
        std::u16string text;  // as it comes back, paragraphs "0", "1" ...
    };
    const Row rows[] = {
        {{{block(table, 0, 0)}}, u"0\n"},
        {{{block(table, 0, 2)}, {block(table, 1, 0)}}, u"0\n1\n"},
        {{{block(table, 0, 0)}, {block(table, 0, 2)}}, u"0\n\n1\n"},  // a gap
        {{{block(table, 0, 1)}, {block(table, 0, 0)}}, u"0\n1\n"},    // backwards
        {{{block(table, 5, 0)}, {block(table, 1, 0)}, {block(table, 1, 0)}}, u"0\n1\n2\n"},
        {{{block(table, 0, 0, 9, 9)}, {block(table, 1, 3)}, {}}, u"0\n\n1\n2\n"},  // overlaid, after a gap
        {{{block(table, 0, 0), block(other, 0, 0)}}, u"0\n\n"},                    // ends in a table
        {{{block(table, 0, 0), block(other, 0, 0)}, {block(table, 0, 0)}}, u"0\n1\n"},
        {{{block(table, -5, -5, -1, 0)}, {block(table, 2000000000, 2000000000, 2000000000, 2000000000)}}, u"0\n1\n"},
    };
    for (const Row& row : rows) {
        AttributedString text;
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            ParagraphAttributes attributes;
            attributes.blocks = row.cells[i];
            const bool isLast = i + 1 == row.cells.size();
            text.append(AttributedString({static_cast<char16_t>(u'0' + i), isLast ? u' ' : u'\n'}, {}, attributes));
        }
        std::u16string expected = row.text;
        expected.insert(expected.rfind(static_cast<char16_t>(u'0' + row.cells.size() - 1)) + 1, u" ");
        if (row.cells.back().empty()) expected.pop_back();
        EXPECT_EQ(documentFromRtf(rtfOf(text))->text.string(), expected);
    }
}

TEST(RtfWriter, DepthsAreBounded) {
    ParagraphAttributes attributes;
    for (int i = 0; i < 1000; ++i) {
        attributes.blocks.push_back(
            {.table = std::make_shared<const TextTable>(), .style = std::make_shared<const TextTableCellStyle>()});
        attributes.lists.push_back(std::make_shared<const TextList>());
    }
    const auto again = documentFromRtf(rtfOf(AttributedString(u"\t\u2022\tx\n", {}, attributes)));
    EXPECT_TRUE(again->text.string().starts_with(u"\t\u2022\tx\n"));
    EXPECT_EQ(again->text.paragraphAttributesAt(0).blocks.size(), 32U);
    EXPECT_EQ(again->text.paragraphAttributesAt(0).lists.size(), 9U);
}

}  // namespace
}  // namespace halden
