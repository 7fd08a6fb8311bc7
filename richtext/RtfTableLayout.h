// A table of an attributed string as RTF states tables: rows of cells that lie side by side, with right edges.
//
// The format knows no columns: where cells end, columns end. A cell that other cells of its column are narrower than
// spans columns by that alone. Only an edge that no cell of the table has is written as two cells that are merged,
// once. Cells that reach down are merged with one in each row below. What lies left of the first cell of a row is left
// free; other gaps become empty cells.
#pragma once

#include "richtext/AttributedString.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <vector>

namespace halden {

/// A cell of the text: where its paragraphs begin and end, and the block that they share.
struct RtfTextCell {
    std::size_t first = 0;  // of the paragraphs
    std::size_t end = 0;
    const TextTableBlock* block = nullptr;
};

/// A cell of a row as it is written.
struct RtfRowCell {
    std::int32_t rightEdge = 0;                 // twips
    std::int32_t width = 0;                     // twips; 0 where nothing is said
    const TextTableCellStyle* style = nullptr;  // nullptr: none
    const RtfTextCell* text = nullptr;          // nullptr: empty
    bool mergeFirst = false;
    bool merged = false;
    bool verticalMergeFirst = false;
    bool verticallyMerged = false;
};

struct RtfRow {
    std::int32_t left = 0;  // twips
    std::vector<RtfRowCell> cells;
};

/// Lays out the cells of one table. They come in the order of the text: rows downwards, in a row from left to right; a
/// cell that goes back begins a new row.
class RtfTableLayout {
public:
    explicit RtfTableLayout(std::span<const RtfTextCell> cells);

    /// The rows, from the first one. Rows in which nothing lies are left out.
    [[nodiscard]] std::vector<RtfRow> rows();

private:
    struct Place {
        std::int32_t row = 0;
        std::int32_t column = 0;
        std::int32_t columnSpan = 1;
        std::int32_t rowSpan = 1;
        const RtfTextCell* text = nullptr;
        [[nodiscard]] std::int32_t end() const noexcept { return column + columnSpan; }
    };
    struct Reach {
        std::int32_t columnSpan = 1;
        std::int32_t rowsLeft = 0;
        const TextTableCellStyle* style = nullptr;
    };

    void placeCells(std::span<const RtfTextCell> cells);
    void placeEdges();
    void findLoneEdges();
    [[nodiscard]] RtfRow row(std::span<const Place> places);
    void fillTo(RtfRow& row, std::int32_t& column, std::int32_t until) const;
    void addReaching(RtfRow& row, std::int32_t& column, std::int32_t until);
    void add(RtfRow& row, const Place& place);
    [[nodiscard]] std::int32_t rowsReachedBelow() const noexcept;

    std::vector<Place> places_;
    std::vector<std::int32_t> edges_;         // of the columns, in twips
    std::set<std::int32_t> loneEdges_;        // inside cells, and at the side of none
    std::map<std::int32_t, Reach> reaching_;  // by column: cells of rows above that go on
};

}  // namespace halden
