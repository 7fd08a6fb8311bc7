// Tables of RTF: rows defined by control words, cells that hold paragraphs, tables inside cells.
//
// The format has no table as such. Paragraphs say how deep they lie; a cell ends where \cell (outermost) or \nestcell
// stands, a row where \row or \nestrow does; and the definition of a row may stand before its cells, after them, or
// both. So cells are numbered as their paragraphs come, rows take their definition when they end, and the geometry of a
// table is worked out when the whole document is read: the right edges of all its rows' cells make the columns.
#pragma once

#include "richtext/RtfFormat.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace halden {

/// Sides, in the order of the arrays below.
enum class RtfSide : std::uint8_t { left, top, right, bottom };

enum class RtfBorderStyle : std::uint8_t { unset, none, solid, thick, doubled, dotted, dashed };

struct RtfBorder {
    RtfBorderStyle style = RtfBorderStyle::unset;
    std::int32_t width = 0;  // twips
    std::int32_t color = 0;  // index into the colour table
    friend bool operator==(const RtfBorder&, const RtfBorder&) noexcept = default;
};

enum class RtfVerticalAlignment : std::uint8_t { top, middle, bottom };

struct RtfCellDefinition {
    std::int32_t rightEdge = 0;        // twips
    std::int32_t width = kRtfUnset;    // \clwWidth
    std::int32_t widthUnit = 0;        // \clftsWidth: 2 fiftieths of a percent, 3 twips
    std::int32_t height = kRtfUnset;   // \clheight
    std::int32_t background = 0;       // \clcbpat
    std::array<RtfBorder, 4> borders;  // by side
    std::array<std::int32_t, 4> padding{kRtfUnset, kRtfUnset, kRtfUnset, kRtfUnset};
    RtfVerticalAlignment alignment = RtfVerticalAlignment::top;
    bool mergeFirst = false;  // \clmgf
    bool merged = false;      // \clmrg
    bool verticalMergeFirst = false;
    bool verticallyMerged = false;
    friend bool operator==(const RtfCellDefinition&, const RtfCellDefinition&) noexcept = default;
};

struct RtfRowDefinition {
    std::int32_t left = 0;
    std::int32_t gap = 0;  // \trgaph: half the space between cells
    std::int32_t height = 0;
    std::int32_t background = 0;
    std::array<RtfBorder, 4> borders;
    RtfBorder insideHorizontal;
    RtfBorder insideVertical;
    std::array<std::int32_t, 4> padding{kRtfUnset, kRtfUnset, kRtfUnset, kRtfUnset};
    std::vector<RtfCellDefinition> cells;
    friend bool operator==(const RtfRowDefinition&, const RtfRowDefinition&) = default;
};

/// The definition that control words are building.
///
/// A definition that a row has taken is closed: further words without \trowd begin a new one, so that what the rows of
/// a file hold in memory is bounded by the length of the file.
class RtfRowDefinitionBuilder {
public:
    static constexpr std::size_t kMaxCells = 1024;

    RtfRowDefinitionBuilder();

    /// \trowd
    void begin();
    /// The row, for words about it.
    [[nodiscard]] RtfRowDefinition& row();
    /// The cell that the next \cellx ends, for words about it.
    [[nodiscard]] RtfCellDefinition& cell() noexcept { return pending_; }
    /// \cellx
    void endCell(std::int32_t rightEdge);
    /// What a row that ends now takes. Rows one after the other with equal definitions share one.
    [[nodiscard]] std::shared_ptr<const RtfRowDefinition> take();

private:
    std::shared_ptr<RtfRowDefinition> current_;
    std::shared_ptr<RtfRowDefinition> last_;  // taken before
    bool taken_ = false;
    RtfCellDefinition pending_;
};

/// Where a cell lies in its table.
struct RtfCellPlace {
    std::int32_t row = 0;
    std::int32_t rowSpan = 1;
    std::int32_t column = 0;
    std::int32_t columnSpan = 1;
    /// The cell continues one above or before it: it is not shown when it is empty.
    bool continuation = false;
};

/// The tables of one document.
class RtfTables {
public:
    static constexpr std::int32_t kMaxNesting = 32;
    /// How many tables may begin before their number is held to that of the paragraphs: tables inside tables cost more
    /// memory than the words that ask for them.
    static constexpr std::int64_t kMaxTablesAhead = 1024;
    /// Cells of a document; paragraphs of further ones lie outside of tables.
    static constexpr std::size_t kMaxCells = std::size_t{1} << 20;

    struct Cell {
        std::int32_t row = 0;    // of rows()
        std::int32_t index = 0;  // among the cells of its row
        RtfCellPlace place;      // after resolve()
    };
    struct Row {
        std::int32_t table = 0;
        std::int32_t cellCount = 0;
        std::shared_ptr<const RtfRowDefinition> definition;  // nullptr for rows that never ended
    };
    struct Table {
        std::int32_t parentCell = -1;
        std::vector<std::int32_t> rows;
        std::vector<std::int32_t> edges;  // after resolve(): of the columns, in twips, ascending
        std::int32_t columnCount = 1;     // after resolve()
    };

    /// The cell in which a paragraph of `level` lies now, -1 for level 0 and beyond
    /// `kMaxCells`. Tables deeper than `level` end; missing ones
    /// begin. Levels beyond `kMaxNesting`, and those for which
    /// there may be no more tables, count as the deepest that there is.
    std::int32_t cellOfParagraph(std::int32_t level);
    /// Ends the cell that is open at `level`.
    void endCell(std::int32_t level);
    /// Ends the row that is open at `level` with its definition. Without an open row nothing happens.
    void endRow(std::int32_t level, const std::shared_ptr<const RtfRowDefinition>& definition);
    /// Whether a row is open at the outermost level.
    [[nodiscard]] bool isInRow() const noexcept { return !open_.empty() && open_.front().row >= 0; }

    /// Works out the places of all cells. `isEmpty` tells by cell number whether a cell holds no text: a continuation
    /// that does hold text is shown as a cell of its own.
    void resolve(const std::vector<bool>& isEmpty);

    [[nodiscard]] const std::vector<Cell>& cells() const noexcept { return cells_; }
    [[nodiscard]] const std::vector<Row>& rows() const noexcept { return rows_; }
    [[nodiscard]] const std::vector<Table>& tables() const noexcept { return tables_; }
    /// What defines a cell, or a null pointer where the row defines fewer cells.
    [[nodiscard]] const RtfCellDefinition* definition(const Cell& cell) const noexcept;

private:
    struct Level {
        std::int32_t table = -1;
        std::int32_t row = -1;
        std::int32_t cell = -1;
    };

    std::int32_t openCell(Level& level);
    void resolveTable(Table& table, const std::vector<std::vector<std::int32_t>>& cellsOfRow,
                      const std::vector<bool>& isEmpty);

    std::int64_t tablesAllowed_ = kMaxTablesAhead;
    std::vector<Level> open_;
    std::vector<Cell> cells_;
    std::vector<Row> rows_;
    std::vector<Table> tables_;
};

}  // namespace halden
