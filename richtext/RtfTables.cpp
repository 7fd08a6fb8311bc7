#include "richtext/RtfTables.h"

#include <algorithm>
#include <map>

namespace halden {
namespace {

// Edges of different rows that lie closer than this are meant to be one (twips).
constexpr std::int32_t kEdgeTolerance = 15;

std::int32_t indexOf(std::size_t size) noexcept {
    return static_cast<std::int32_t>(size);
}

/// The column that starts at or nearest before `edge`.
std::int32_t columnAtEdge(const std::vector<std::int32_t>& edges, std::int32_t edge) noexcept {
    const auto after = std::upper_bound(edges.begin(), edges.end(), edge);
    return after == edges.begin() ? 0 : static_cast<std::int32_t>(after - edges.begin()) - 1;
}

/// The edges of all cells of `definitions`, ascending, those that nearly agree taken as one.
std::vector<std::int32_t> columnEdges(const std::vector<const RtfRowDefinition*>& definitions) {
    std::vector<std::int32_t> edges;
    for (const RtfRowDefinition* definition : definitions) {
        edges.push_back(definition->left);
        for (const RtfCellDefinition& cell : definition->cells)
            edges.push_back(std::max(definition->left, cell.rightEdge));
    }
    std::ranges::sort(edges);
    std::vector<std::int32_t> distinct;
    for (const std::int32_t edge : edges) {
        if (distinct.empty() || static_cast<std::int64_t>(edge) - distinct.back() > kEdgeTolerance) {
            distinct.push_back(edge);
        }
    }
    return distinct;
}

}  // namespace

RtfRowDefinitionBuilder::RtfRowDefinitionBuilder() : current_(std::make_shared<RtfRowDefinition>()) {}

void RtfRowDefinitionBuilder::begin() {
    current_ = std::make_shared<RtfRowDefinition>();
    taken_ = false;
    pending_ = {};
}

RtfRowDefinition& RtfRowDefinitionBuilder::row() {
    if (taken_) begin();
    return *current_;
}

void RtfRowDefinitionBuilder::endCell(std::int32_t rightEdge) {
    RtfCellDefinition cell = pending_;
    RtfRowDefinition& definition = row();
    pending_ = {};
    if (definition.cells.size() >= kMaxCells) return;
    cell.rightEdge = rightEdge;
    definition.cells.push_back(cell);
}

std::shared_ptr<const RtfRowDefinition> RtfRowDefinitionBuilder::take() {
    taken_ = true;
    if (last_ && last_ != current_ && *last_ == *current_) current_ = last_;
    last_ = current_;
    return current_;
}

std::int32_t RtfTables::openCell(Level& level) {
    if (level.row < 0) {
        level.row = indexOf(rows_.size());
        rows_.push_back({.table = level.table, .definition = nullptr});
        tables_[static_cast<std::size_t>(level.table)].rows.push_back(level.row);
    }
    if (level.cell < 0) {
        Row& row = rows_[static_cast<std::size_t>(level.row)];
        level.cell = indexOf(cells_.size());
        cells_.push_back({.row = level.row, .index = row.cellCount++, .place = {}});
    }
    return level.cell;
}

std::int32_t RtfTables::cellOfParagraph(std::int32_t level) {
    const bool isFull = cells_.size() + kMaxNesting >= kMaxCells;
    const auto wanted = static_cast<std::size_t>(isFull ? 0 : std::clamp(level, 0, kMaxNesting));
    if (open_.size() > wanted) open_.resize(wanted);
    ++tablesAllowed_;
    while (open_.size() < wanted && tablesAllowed_ > 0) {
        --tablesAllowed_;
        const std::int32_t parent = open_.empty() ? -1 : openCell(open_.back());
        open_.push_back({.table = indexOf(tables_.size())});
        tables_.push_back({.parentCell = parent, .rows = {}, .edges = {}});
    }
    return open_.empty() ? -1 : openCell(open_.back());
}

void RtfTables::endCell(std::int32_t level) {
    const auto wanted = static_cast<std::size_t>(std::clamp(level, 0, kMaxNesting));
    if (wanted == 0 || open_.size() < wanted) return;
    open_.resize(wanted);
    open_.back().cell = -1;
}

void RtfTables::endRow(std::int32_t level, const std::shared_ptr<const RtfRowDefinition>& definition) {
    const auto wanted = static_cast<std::size_t>(std::clamp(level, 0, kMaxNesting));
    if (wanted == 0 || open_.size() < wanted) return;
    open_.resize(wanted);
    Level& open = open_.back();
    if (open.row < 0) return;
    rows_[static_cast<std::size_t>(open.row)].definition = definition;
    open.row = -1;
    open.cell = -1;
}

const RtfCellDefinition* RtfTables::definition(const Cell& cell) const noexcept {
    const Row& row = rows_[static_cast<std::size_t>(cell.row)];
    const auto index = static_cast<std::size_t>(cell.index);
    return row.definition && index < row.definition->cells.size() ? &row.definition->cells[index] : nullptr;
}

void RtfTables::resolve(const std::vector<bool>& isEmpty) {
    std::vector<std::vector<std::int32_t>> cellsOfRow(rows_.size());
    for (std::size_t cell = 0; cell < cells_.size(); ++cell) {
        cellsOfRow[static_cast<std::size_t>(cells_[cell].row)].push_back(indexOf(cell));
    }
    for (Table& table : tables_)
        resolveTable(table, cellsOfRow, isEmpty);
}

void RtfTables::resolveTable(Table& table, const std::vector<std::vector<std::int32_t>>& cellsOfRow,
                             const std::vector<bool>& isEmpty) {
    std::vector<const RtfRowDefinition*> definitions;
    for (const std::int32_t row : table.rows) {
        const auto* definition = rows_[static_cast<std::size_t>(row)].definition.get();
        if (definition && (definitions.empty() || definitions.back() != definition)) definitions.push_back(definition);
    }
    table.edges = columnEdges(definitions);

    // For each column, the cell at whose bottom a vertically merged cell may continue.
    std::map<std::int32_t, Cell*> mergeAtColumn;
    std::int32_t rowNumber = 0;
    for (const std::int32_t row : table.rows) {
        std::map<std::int32_t, Cell*> mergeBelow;
        std::int32_t column = 0;
        Cell* first = nullptr;  // of a horizontal merge
        for (const std::int32_t number : cellsOfRow[static_cast<std::size_t>(row)]) {
            Cell& cell = cells_[static_cast<std::size_t>(number)];
            const RtfCellDefinition* definition = this->definition(cell);
            const bool empty = isEmpty[static_cast<std::size_t>(number)];
            cell.place.row = rowNumber;
            if (!definition) {
                cell.place.column = column++;
                first = nullptr;
                continue;
            }
            // A first cell that begins right of the table's edge leaves the columns before it free.
            if (cell.index == 0)
                column = columnAtEdge(table.edges, rows_[static_cast<std::size_t>(row)].definition->left);
            const std::int32_t end = std::max(column + 1, columnAtEdge(table.edges, definition->rightEdge));
            if (definition->merged && first && empty) {
                cell.place.continuation = true;
                first->place.columnSpan = end - first->place.column;
                column = end;
                continue;
            }
            cell.place.column = column;
            cell.place.columnSpan = end - column;
            column = end;
            first = definition->mergeFirst ? &cell : nullptr;
            const auto above = mergeAtColumn.find(cell.place.column);
            if (definition->verticallyMerged && empty && above != mergeAtColumn.end()) {
                cell.place.continuation = true;
                ++above->second->place.rowSpan;
                mergeBelow.insert_or_assign(cell.place.column, above->second);
            } else if (definition->verticalMergeFirst || definition->verticallyMerged) {
                mergeBelow.insert_or_assign(cell.place.column, &cell);
            }
        }
        table.columnCount = std::max(table.columnCount, column);
        mergeAtColumn.swap(mergeBelow);
        ++rowNumber;
    }
}

}  // namespace halden
