#include "richtext/RtfTableLayout.h"

#include "richtext/RtfOutput.h"

#include <algorithm>

namespace halden {
namespace {

// What readers of the format take for a row.
constexpr std::int32_t kMaxColumns = 16384;
// Rows of a table in which nothing begins, one after the other.
constexpr std::int32_t kMaxEmptyRows = 1024;
// Left edge of tables: their text begins where that of other paragraphs does.
constexpr std::int32_t kLeft = -108;
// Six inches, what tables of unknown width are taken to have.
constexpr std::int32_t kTableWidth = 8640;
// Edges that are nearer to one another are taken for one.
constexpr std::int32_t kLeastWidth = 16;
constexpr std::int32_t kMostEdge = 100'000'000;
constexpr std::int32_t kUnknown = INT32_MIN;

}  // namespace

RtfTableLayout::RtfTableLayout(std::span<const RtfTextCell> cells) {
    placeCells(cells);
    placeEdges();
    findLoneEdges();
}

void RtfTableLayout::placeCells(std::span<const RtfTextCell> cells) {
    std::int32_t row = 0;
    std::int32_t end = 0;  // of the cell before
    const TextTableBlock* before = nullptr;
    for (const RtfTextCell& cell : cells) {
        const TextTableBlock& block = *cell.block;
        const std::int32_t column = std::clamp(block.column, 0, kMaxColumns - 1);
        if (before && block.row > before->row) {
            row +=
                static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{block.row} - before->row, kMaxEmptyRows));
        } else if (before && (block.row < before->row || column < end)) {
            ++row;
        }
        before = &block;
        places_.push_back({.row = row,
                           .column = column,
                           .columnSpan = std::clamp(block.columnSpan, 1, kMaxColumns - column),
                           .rowSpan = std::max(block.rowSpan, 1),
                           .text = &cell});
        end = places_.back().end();
    }
}

/// An edge lies where the width of a cell puts it, from one that is known on. The others share what lies between.
void RtfTableLayout::placeEdges() {
    std::int32_t columns = 0;
    for (const Place& place : places_)
        columns = std::max(columns, place.end());
    edges_.assign(static_cast<std::size_t>(columns) + 1, kUnknown);
    if (!places_.empty()) edges_[0] = 0;
    // A row may need an edge that a later one gives.
    for (int pass = 0; pass < 2; ++pass) {
        for (const Place& place : places_) {
            const std::int32_t width = rtfNumber(place.text->block->width);
            std::int32_t& left = edges_[static_cast<std::size_t>(place.column)];
            std::int32_t& right = edges_[static_cast<std::size_t>(place.end())];
            if (width <= 0) continue;
            if (left != kUnknown && right == kUnknown) right = std::min(left + width, kMostEdge);
            if (left == kUnknown && right != kUnknown) left = std::max(right - width, 0);
        }
    }
    std::size_t known = 0;
    for (std::size_t i = 1; i < edges_.size(); ++i) {
        if (edges_[i] == kUnknown) continue;
        const std::int32_t width = edges_[i] - edges_[known];
        const auto count = static_cast<std::int32_t>(i - known);
        for (std::int32_t k = 1; k < count; ++k)
            edges_[known + static_cast<std::size_t>(k)] =
                edges_[known] + static_cast<std::int32_t>(std::int64_t{width} * k / count);
        known = i;
    }
    const std::int32_t share = std::max(kLeastWidth, kTableWidth / std::max(columns, 1));
    for (std::size_t i = known + 1; i < edges_.size(); ++i)
        edges_[i] = edges_[i - 1] + share;
    for (std::size_t i = 1; i < edges_.size(); ++i)
        edges_[i] = std::max(edges_[i], edges_[i - 1] + kLeastWidth);
}

void RtfTableLayout::findLoneEdges() {
    std::vector<bool> isSide(edges_.size(), false);
    std::vector<std::int32_t> insides(edges_.size() + 1,
                                      0);  // how many more cells have the edge inside than the one before
    for (const Place& place : places_) {
        isSide[static_cast<std::size_t>(place.column)] = true;
        isSide[static_cast<std::size_t>(place.end())] = true;
        ++insides[static_cast<std::size_t>(place.column) + 1];
        --insides[static_cast<std::size_t>(place.end())];
    }
    std::int32_t inside = 0;
    for (std::size_t i = 0; i < edges_.size(); ++i) {
        inside += insides[i];
        if (inside > 0 && !isSide[i]) loneEdges_.insert(static_cast<std::int32_t>(i));
    }
}

std::vector<RtfRow> RtfTableLayout::rows() {
    std::vector<RtfRow> rows;
    std::size_t first = 0;
    while (first < places_.size()) {
        std::size_t end = first;
        while (end < places_.size() && places_[end].row == places_[first].row)
            ++end;
        rows.push_back(row(std::span(places_).subspan(first, end - first)));
        // Rows in between, and below the last one, hold what reaches down from above.
        const std::int32_t missing =
            end < places_.size() ? places_[end].row - places_[first].row - 1 : rowsReachedBelow();
        for (std::int32_t i = 0; i < std::min(missing, kMaxEmptyRows) && !reaching_.empty(); ++i)
            rows.push_back(row({}));
        first = end;
    }
    return rows;
}

std::int32_t RtfTableLayout::rowsReachedBelow() const noexcept {
    std::int32_t rows = 0;
    for (const auto& [column, reach] : reaching_)
        rows = std::max(rows, reach.rowsLeft);
    return rows;
}

RtfRow RtfTableLayout::row(std::span<const Place> places) {
    RtfRow row;
    const std::int32_t firstColumn = std::min(places.empty() ? INT32_MAX : places.front().column,
                                              reaching_.empty() ? INT32_MAX : reaching_.begin()->first);
    std::int32_t column = firstColumn;
    row.left = kLeft + edges_[static_cast<std::size_t>(firstColumn)];
    std::map<std::int32_t, Reach> begun;
    for (const Place& place : places) {
        addReaching(row, column, place.column);
        fillTo(row, column, place.column);
        add(row, place);
        column = place.end();
        // What it covers of a cell from above ends here.
        reaching_.erase(reaching_.lower_bound(place.column), reaching_.lower_bound(place.end()));
        if (place.rowSpan > 1) {
            begun[place.column] = {
                .columnSpan = place.columnSpan, .rowsLeft = place.rowSpan - 1, .style = place.text->block->style.get()};
        }
    }
    addReaching(row, column, INT32_MAX);
    for (auto reach = reaching_.begin(); reach != reaching_.end();) {
        reach = --reach->second.rowsLeft <= 0 ? reaching_.erase(reach) : std::next(reach);
    }
    reaching_.merge(begun);
    return row;
}

/// Cells from above that begin between `column` and `until`; one that would reach beyond is left out.
void RtfTableLayout::addReaching(RtfRow& row, std::int32_t& column, std::int32_t until) {
    for (auto reach = reaching_.lower_bound(column); reach != reaching_.end() && reach->first < until;) {
        if (reach->first < column || reach->first + reach->second.columnSpan > until) {
            reach = reaching_.erase(reach);
            continue;
        }
        fillTo(row, column, reach->first);
        column = reach->first + reach->second.columnSpan;
        row.cells.push_back({.rightEdge = kLeft + edges_[static_cast<std::size_t>(column)],
                             .style = reach->second.style,
                             .verticallyMerged = true});
        ++reach;
    }
}

void RtfTableLayout::fillTo(RtfRow& row, std::int32_t& column, std::int32_t until) const {
    if (column >= until) return;
    column = until;
    row.cells.push_back({.rightEdge = kLeft + edges_[static_cast<std::size_t>(column)]});
}

void RtfTableLayout::add(RtfRow& row, const Place& place) {
    const TextTableBlock& block = *place.text->block;
    RtfRowCell cell{.rightEdge = 0,
                    .width = std::max(0, rtfNumber(block.width)),
                    .style = block.style.get(),
                    .text = place.text,
                    .verticalMergeFirst = place.rowSpan > 1};
    auto lone = loneEdges_.upper_bound(place.column);
    while (lone != loneEdges_.end() && *lone < place.end()) {
        cell.mergeFirst = !cell.merged;
        cell.rightEdge = kLeft + edges_[static_cast<std::size_t>(*lone)];
        row.cells.push_back(cell);
        cell = {.style = cell.style, .merged = true};
        lone = loneEdges_.erase(lone);
    }
    cell.rightEdge = kLeft + edges_[static_cast<std::size_t>(place.end())];
    row.cells.push_back(cell);
}

}  // namespace halden
