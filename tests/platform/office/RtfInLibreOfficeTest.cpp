// What LibreOffice makes of the RTF that we write: another reader than ours sees the same text, fonts, colours, links,
// lists, tables and pictures.
#include "foundation/Unicode.h"
#include "platform/office/OfficeInstallation.h"
#include "platform/process/Task.h"
#include "richtext/FontNames.h"
#include "richtext/RtfWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace halden {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

// A PNG of 2 by 2 grey points.
constexpr unsigned char kPicture[] = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44, 0x52, 0x00, 0x00,
    0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x00, 0x00, 0x00, 0x00, 0x57, 0xDD, 0x52, 0xF8, 0x00, 0x00, 0x00,
    0x0E, 0x49, 0x44, 0x41, 0x54, 0x78, 0x9C, 0x63, 0x68, 0x68, 0x60, 0x68, 0x68, 0x00, 0x00, 0x06, 0x06, 0x02,
    0x01, 0x2C, 0xC1, 0x50, 0xD7, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

AttributedString styled(std::u16string text, void (*change)(CharacterAttributes&), ParagraphAttributes paragraph = {}) {
    CharacterAttributes attributes;
    change(attributes);
    return AttributedString(std::move(text), attributes, std::move(paragraph));
}

AttributedString characters() {
    AttributedString text = styled(u"Boldly", [](auto& c) {
        c.font = fontNamed(u"Times-BoldItalic", FontNaming::postScript, 17, true, true);
        c.foreground = Color{1, 0, 0.2, 1};
    });
    text.append(styled(u"behind", [](auto& c) { c.background = Color{0, 1, 0, 1}; }));
    text.append(styled(u"under", [](auto& c) { c.underline = kLineDouble; }));
    text.append(styled(u"struck", [](auto& c) { c.strikethrough = kLineSingle; }));
    text.append(styled(u"raised", [](auto& c) { c.superscript = 1; }));
    text.append(AttributedString(u"\n"));
    text.append(styled(u"a link", [](auto& c) { c.link = u"https://example.org/?a=b&c=%22d%22"; }));
    text.append(AttributedString(u" \u00E9\u201Cquoted\u201D\u65E5\u672C\U0001F600{\\}\n"));
    return text;
}

AttributedString list() {
    const auto outer = std::make_shared<const TextList>(TextList{.markerFormat = u"{decimal}."});
    const auto inner = std::make_shared<const TextList>(TextList{.markerFormat = u"{disc}"});
    AttributedString text(u"\t1.\tfirst\n", {}, {.headIndent = 36, .lists = {outer}});
    text.append(AttributedString(u"\t\u2022\tinside\n", {}, {.headIndent = 72, .lists = {outer, inner}}));
    text.append(AttributedString(u"\t2.\tsecond\n", {}, {.headIndent = 36, .lists = {outer}}));
    return text;
}

AttributedString table() {
    const auto shared = std::make_shared<const TextTable>(TextTable{.columnCount = 2});
    TextTableCellStyle look;
    look.background = Color{0, 0, 1, 1};
    for (TableBorder& border : look.borders)
        border = {.width = 1, .color = Color{}};
    const auto style = std::make_shared<const TextTableCellStyle>(look);
    AttributedString text;
    const auto cell = [&](std::u16string words, int row, int column, int columns) {
        ParagraphAttributes attributes;
        attributes.blocks = {{.table = shared,
                              .style = style,
                              .width = 100.0 * columns,
                              .row = row,
                              .column = column,
                              .columnSpan = columns}};
        text.append(AttributedString(std::move(words), {}, attributes));
    };
    cell(u"over both\n", 0, 0, 2);
    cell(u"left\n", 1, 0, 1);
    cell(u"right\n", 1, 1, 1);
    return text;
}

AttributedString picture() {
    AttributedString::Parts parts;
    parts.text = u"\uFFFC\n";
    parts.characterRuns.push_back({2, std::make_shared<const CharacterAttributes>()});
    parts.paragraphRuns.push_back({2, std::make_shared<const ParagraphAttributes>()});
    parts.attachments.push_back(
        {0, std::make_shared<const Attachment>(
                Attachment{.file = {.name = u"a.png",
                                    .data = Data::copying({reinterpret_cast<const char*>(kPicture), sizeof kPicture}),
                                    .isFolder = false,
                                    .children = {}},
                           .type = u"public.png",
                           .size = {72, 36}})});
    return AttributedString(std::move(parts));
}

class RtfInLibreOffice : public ::testing::Test {
protected:
    RtfInLibreOffice() {
        std::string name = "/tmp/quarry-test-XXXXXX";
        folder_ = mkdtemp(name.data());
    }
    ~RtfInLibreOffice() override { fs::remove_all(folder_); }

    void SetUp() override {
        const OfficeInstallation installation = findOfficeInstallation();
        if (installation.folder.empty()) GTEST_SKIP() << installation.reason;
        program_ = installation.folder + "/soffice";
    }
    /// The flat OpenDocument text that LibreOffice makes of it.
    std::string converted(const RichTextDocument& document) {
        std::ofstream(folder_ / "a.rtf") << rtfFromDocument(document);
        Task task;
        task.setLaunchPath(program_);
        task.setStandardOutputToNullDevice();
        task.setStandardErrorToNullDevice();
        task.setArguments({"-env:UserInstallation=file://" + (folder_ / "profile").string(), "--headless",
                           "--convert-to", "fodt", "--outdir", folder_.string(), (folder_ / "a.rtf").string()});
        task.setEnvironmentVariable("HOME", folder_.string());
        task.launch();
        task.waitUntilExit();
        std::ostringstream text;
        text << std::ifstream(folder_ / "a.fodt").rdbuf();
        return text.str();
    }
    /// The automatic style of the element that begins right before `text`.
    static std::string styleOf(const std::string& document, const std::string& text) {
        const std::regex before("style-name=\"([A-Za-z0-9_.]+)\"[^<]*>" + text);
        std::smatch match;
        if (!std::regex_search(document, match, before)) return "no style before " + text;
        const std::size_t start = document.find("<style:style style:name=\"" + match[1].str() + "\"");
        return start == std::string::npos ? "no style " + match[1].str()
                                          : document.substr(start, document.find("</style:style>", start) - start);
    }

    /// The text of the body: "|" ends a paragraph, "/" a row; lists stand in brackets, cells in angle brackets.
    static std::string wordsOf(const std::string& document) {
        static const std::pair<std::regex, std::string> kMarks[] = {
            {std::regex("<office:binary-data>[^<]*"), "(picture)"},
            {std::regex("</text:p>"), "|"},
            {std::regex("<text:list [^>]*>|<text:list>"), "["},
            {std::regex("</text:list>"), "]"},
            {std::regex("<table:table-cell [^>]*>"), "\1"},
            {std::regex("</table:table-cell>"), "\2"},
            {std::regex("</table:table-row>"), "/"},
            {std::regex("<[^>]*>|\n *"), ""},
            {std::regex("\1"), "<"},
            {std::regex("\2"), ">"},
        };
        std::string words = document.substr(document.find("<office:body>"));
        for (const auto& [mark, sign] : kMarks)
            words = std::regex_replace(words, mark, sign);
        return words;
    }

    fs::path folder_;
    std::string program_;
};

TEST_F(RtfInLibreOffice, LooksTheSame) {
    AttributedString text = characters();
    text.append(list());
    text.append(table());
    text.append(picture());
    text.append(AttributedString(u"centred\n", {}, {.alignment = TextAlignment::center, .paragraphSpacing = 14}));
    const std::string all = converted({text, {{u"NSTitleDocumentAttribute", u"A title"}}});

    EXPECT_THAT(all, HasSubstr("<dc:title>A title</dc:title>"));
    struct Row {
        std::string text;
        std::vector<std::string> style;
    };
    const Row rows[] = {
        {"Boldly",
         {"fo:font-weight=\"bold\"", "fo:font-style=\"italic\"", "fo:font-size=\"17pt\"", "fo:color=\"#ff0033\"",
          "style:font-name=\"Times-BoldItalic\""}},
        {"behind", {"fo:background-color=\"#00ff00\""}},
        {"under", {"style:text-underline-type=\"double\""}},
        {"struck", {"style:text-line-through-style=\"solid\""}},
        {"raised", {"style:text-position=\"super"}},
        {"<text:span text:style-name=\"T[0-9]+\">centred",
         {"fo:text-align=\"center\"", "fo:margin-bottom=\"0.1945in\""}},
    };
    for (const Row& row : rows) {
        for (const std::string& property : row.style)
            EXPECT_THAT(styleOf(all, row.text), HasSubstr(property)) << row.text;
    }
    EXPECT_THAT(all, HasSubstr("xlink:href=\"https://example.org/?a=b&amp;c=%22d%22\""));
    EXPECT_EQ(wordsOf(all),
              "Boldlybehindunderstruckraised|a link \u00E9\u201Cquoted\u201D\u65E5\u672C\U0001F600{\\}|[first|[inside"
              "|]second|]<over both|>/<left|><right|>/(picture)|centred|");
    EXPECT_THAT(all, HasSubstr("table:number-columns-spanned=\"2\""));
    EXPECT_THAT(all, HasSubstr("fo:background-color=\"#0000ff\""));
    EXPECT_THAT(all, HasSubstr("svg:width=\"1in\" svg:height=\"0.5in\""));
}

}  // namespace
}  // namespace halden
