#include "richtext/RtfTables.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

/// The paragraphs of a document with their cells, one a line: text, then for each table around it from the outermost
/// "[table row+span column+span]", with "-" where the cell continues another.
std::string tablesOf(std::string_view body) {
    RtfContent content = testing::contentOf(body);
    RtfTables& tables = content.tables;
    std::vector<bool> isEmpty(tables.cells().size(), true);
    std::size_t start = 0;
    for (const RtfParagraphRun& paragraph : content.paragraphs) {
        if (paragraph.cell >= 0 && paragraph.end - start > 1) isEmpty[static_cast<std::size_t>(paragraph.cell)] = false;
        start = paragraph.end;
    }
    tables.resolve(isEmpty);
    std::string all;
    start = 0;
    for (const RtfParagraphRun& paragraph : content.paragraphs) {
        std::string cells;
        for (std::int32_t number = paragraph.cell; number >= 0;) {
            const RtfTables::Cell& cell = tables.cells()[static_cast<std::size_t>(number)];
            const std::int32_t table = tables.rows()[static_cast<std::size_t>(cell.row)].table;
            const RtfCellPlace& place = cell.place;
            cells = "[" + std::to_string(table) + " " + std::to_string(place.row) + "+" +
                    std::to_string(place.rowSpan) + " " + std::to_string(place.column) + "+" +
                    std::to_string(place.columnSpan) + (place.continuation ? " -]" : "]") + cells;
            number = tables.tables()[static_cast<std::size_t>(table)].parentCell;
        }
        std::u16string text = content.text.substr(start, paragraph.end - start);
        if (!text.empty() && text.back() == u'\n') text.pop_back();
        all += utf8FromUtf16(text) + cells + "\n";
        start = paragraph.end;
    }
    return all;
}

struct Case {
    const char* name;
    std::string_view body;
    std::string_view tables;
};

TEST(RtfTables, AreBuiltFromRows) {
    const Case cases[] = {
        {"two rows, two cells",
         "x\\par\\trowd\\cellx100\\cellx200\\pard\\intbl a\\cell b\\cell\\row\\trowd\\cellx100\\cellx200"
         "\\intbl c\\par d\\cell\\cell\\row\\pard y",
         "x\na[0 0+1 0+1]\nb[0 0+1 1+1]\nc[0 1+1 0+1]\nd[0 1+1 0+1]\n[0 1+1 1+1]\ny\n"},
        {"definition after the cells", "\\pard\\intbl a\\cell b\\cell\\trowd\\cellx100\\cellx200\\row\\pard y",
         "a[0 0+1 0+1]\nb[0 0+1 1+1]\ny\n"},
        {"tables apart by a paragraph", "\\trowd\\cellx100\\intbl a\\cell\\row\\pard x\\par\\intbl b\\cell\\row\\pard",
         "a[0 0+1 0+1]\nx\nb[1 0+1 0+1]\n"},
        {"rows of different cells share the columns of their edges",
         "\\trowd\\cellx100\\cellx200\\cellx300\\intbl a\\cell b\\cell c\\cell\\row\\trowd\\cellx200\\cellx300"
         "\\intbl d\\cell e\\cell\\row",
         "a[0 0+1 0+1]\nb[0 0+1 1+1]\nc[0 0+1 2+1]\nd[0 1+1 0+2]\ne[0 1+1 2+1]\n"},
        {"edges that nearly agree are one",
         "\\trowd\\trleft-108\\cellx100\\cellx200\\intbl a\\cell b\\cell\\row\\trowd\\trleft-100\\cellx105\\cellx195"
         "\\intbl c\\cell d\\cell\\row",
         "a[0 0+1 0+1]\nb[0 0+1 1+1]\nc[0 1+1 0+1]\nd[0 1+1 1+1]\n"},
        {"merged across", "\\trowd\\clmgf\\cellx100\\clmrg\\cellx200\\cellx300\\intbl a\\cell\\cell b\\cell\\row",
         "a[0 0+1 0+2]\n[0 0+1 0+1 -]\nb[0 0+1 2+1]\n"},
        {"merged downwards",
         "\\trowd\\clvmgf\\cellx100\\cellx200\\intbl a\\cell "
         "b\\cell\\row\\trowd\\clvmrg\\cellx100\\cellx200\\intbl\\cell"
         " c\\cell\\row\\row\\intbl\\cell d\\cell\\row",
         "a[0 0+3 0+1]\nb[0 0+1 1+1]\n[0 1+1 0+1 -]\nc[0 1+1 1+1]\n[0 2+1 0+1 -]\nd[0 2+1 1+1]\n"},
        {"a continuation with text is a cell of its own",
         "\\trowd\\clvmgf\\cellx100\\intbl a\\cell\\row\\trowd\\clvmrg\\cellx100\\intbl b\\cell\\row",
         "a[0 0+1 0+1]\nb[0 1+1 0+1]\n"},
        {"a continuation of nothing is a cell", "\\trowd\\clvmrg\\clmrg\\cellx100\\intbl\\cell\\row", "[0 0+1 0+1]\n"},
        {"a table in a cell",
         "\\trowd\\cellx900\\pard\\intbl a\\par\\pard\\intbl\\itap2 b\\nestcell c\\nestcell{\\*\\nesttableprops\\trowd"
         "\\cellx100\\cellx200\\nestrow}{\\nonesttables\\par}d\\nestcell e\\nestcell{\\*\\nesttableprops\\trowd"
         "\\cellx200\\cellx300\\nestrow}\\pard\\intbl f\\cell\\row",
         "a[0 0+1 0+1]\nb[0 0+1 0+1][1 0+1 0+1]\nc[0 0+1 0+1][1 0+1 1+1]\nd[0 0+1 0+1][1 1+1 0+2]\n"
         "e[0 0+1 0+1][1 1+1 2+1]\nf[0 0+1 0+1]\n"},
        {"cells without \\intbl", "\\trowd\\cellx100\\pard a\\cell\\row\\pard b", "a[0 0+1 0+1]\nb\n"},
        {"more cells than defined", "\\trowd\\cellx100\\intbl a\\cell b\\cell c\\cell\\row",
         "a[0 0+1 0+1]\nb[0 0+1 1+1]\nc[0 0+1 2+1]\n"},
        {"a row that never ends", "\\intbl a\\cell b", "a[0 0+1 0+1]\nb[0 0+1 1+1]\n"},
        {"text between the last cell and the row's end", "\\trowd\\cellx100\\cellx200\\intbl a\\cell b\\row",
         "a[0 0+1 0+1]\nb[0 0+1 1+1]\n"},
        {"edges that go backwards", "\\trowd\\cellx300\\cellx100\\cellx-5\\intbl a\\cell b\\cell c\\cell\\row",
         "a[0 0+1 0+2]\nb[0 0+1 2+1]\nc[0 0+1 3+1]\n"},
        {"orphans", "\\row\\nestrow\\trowd\\cellx10\\clmgf a\\par", "a\n"},
        {"orphans with text", "a\\row b\\cell c\\par", "a\nb[0 0+1 0+1]\nc\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tablesOf(c.body), c.tables) << c.name;
}

TEST(RtfTables, KeepWhatIsStatedOfRowsAndCells) {
    const RtfContent content = testing::contentOf(
        "\\trowd\\trgaph70\\trleft-"
        "70\\trrh300\\trcbpat2\\trpaddl10\\trpaddt11\\trpaddr12\\trpaddb13\\trbrdrt\\brdrs\\brdrw10"
        "\\trbrdrh\\brdrdot\\clvertalc\\clcbpat3\\clbrdrl\\brdrdb\\brdrw30\\brdrcf4\\clbrdrr\\brdrnone\\clpadl20\\clpad"
        "b23"
        "\\clftsWidth3\\clwWidth500\\clheight40\\cellx500\\clvertalb\\cellx900\\intbl\\brdrt\\brdrth a\\cell "
        "b\\cell\\row");
    const RtfRowDefinition& row = *content.tables.rows().at(0).definition;
    EXPECT_EQ(row.gap, 70);
    EXPECT_EQ(row.left, -70);
    EXPECT_EQ(row.height, 300);
    EXPECT_EQ(row.background, 2);
    EXPECT_EQ(row.padding, (std::array<std::int32_t, 4>{10, 11, 12, 13}));
    EXPECT_EQ(row.borders[1].style, RtfBorderStyle::solid);
    EXPECT_EQ(row.borders[1].width, 10);
    EXPECT_EQ(row.insideHorizontal.style, RtfBorderStyle::dotted);
    ASSERT_EQ(row.cells.size(), 2u);
    const RtfCellDefinition& cell = row.cells[0];
    EXPECT_EQ(cell.alignment, RtfVerticalAlignment::middle);
    EXPECT_EQ(cell.background, 3);
    EXPECT_EQ(cell.borders[0].style, RtfBorderStyle::doubled);
    EXPECT_EQ(cell.borders[0].width, 30);
    EXPECT_EQ(cell.borders[0].color, 4);
    EXPECT_EQ(cell.borders[2].style, RtfBorderStyle::none);
    EXPECT_EQ(cell.borders[1].style, RtfBorderStyle::unset);
    EXPECT_EQ(cell.padding, (std::array<std::int32_t, 4>{20, kRtfUnset, kRtfUnset, 23}));
    EXPECT_EQ(cell.width, 500);
    EXPECT_EQ(cell.widthUnit, 3);
    EXPECT_EQ(cell.height, 40);
    EXPECT_EQ(row.cells[1].alignment, RtfVerticalAlignment::bottom);
    EXPECT_EQ(row.cells[1].background, 0);
}

TEST(RtfTables, CloseADefinitionThatARowHasTaken) {
    const RtfContent content =
        testing::contentOf("\\trowd\\cellx100\\intbl a\\cell\\row b\\cell\\row\\trrh7\\cellx300 c\\cell\\row");
    const auto& rows = content.tables.rows();
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].definition, rows[1].definition);
    EXPECT_EQ(rows[0].definition->height, 0);
    EXPECT_EQ(rows[2].definition->height, 7);
    EXPECT_EQ(rows[2].definition->cells.size(), 1u);
}

}  // namespace
}  // namespace halden
