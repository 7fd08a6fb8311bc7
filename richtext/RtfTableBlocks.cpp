#include "richtext/RtfTableBlocks.h"

#include <algorithm>

namespace halden {
namespace {

constexpr double kTwipsInPoint = 20;

/// By cell, whether it holds nothing: one paragraph of nothing, and no table.
std::vector<bool> emptyCells(const RtfContent& content) {
    const RtfTables& tables = content.tables;
    std::vector<bool> isEmpty(tables.cells().size(), true);
    std::vector<bool> hasParagraph(tables.cells().size(), false);
    std::size_t start = 0;
    for (const RtfParagraphRun& paragraph : content.paragraphs) {
        if (paragraph.cell >= 0) {
            const auto cell = static_cast<std::size_t>(paragraph.cell);
            if (hasParagraph[cell] || paragraph.end - start > 1) isEmpty[cell] = false;
            hasParagraph[cell] = true;
        }
        start = paragraph.end;
    }
    for (const RtfTables::Table& table : tables.tables()) {
        if (table.parentCell >= 0) isEmpty[static_cast<std::size_t>(table.parentCell)] = false;
    }
    return isEmpty;
}

VerticalAlignment alignmentOf(RtfVerticalAlignment alignment) noexcept {
    switch (alignment) {
        case RtfVerticalAlignment::top:
            return VerticalAlignment::top;
        case RtfVerticalAlignment::middle:
            return VerticalAlignment::middle;
        case RtfVerticalAlignment::bottom:
            return VerticalAlignment::bottom;
    }
    return VerticalAlignment::top;
}

}  // namespace

RtfTableBlocks::RtfTableBlocks(RtfContent& content, const RtfAttributes& attributes)
    : content_(content), attributes_(attributes) {
    content.tables.resolve(emptyCells(content));
    for (const RtfTables::Table& table : content.tables.tables()) {
        tables_.push_back(std::make_shared<const TextTable>(TextTable{.columnCount = table.columnCount}));
    }
}

std::vector<TextTableBlock> RtfTableBlocks::blocks(std::int32_t cell) {
    const RtfTables& tables = content_.tables;
    std::vector<TextTableBlock> blocks;
    while (cell >= 0) {
        const RtfTables::Cell& found = tables.cells()[static_cast<std::size_t>(cell)];
        blocks.push_back(block(found));
        const std::int32_t table = tables.rows()[static_cast<std::size_t>(found.row)].table;
        cell = tables.tables()[static_cast<std::size_t>(table)].parentCell;
    }
    std::ranges::reverse(blocks);
    return blocks;
}

bool RtfTableBlocks::isContinuation(std::int32_t cell) const noexcept {
    return cell >= 0 && content_.tables.cells()[static_cast<std::size_t>(cell)].place.continuation;
}

TextTableBlock RtfTableBlocks::block(const RtfTables::Cell& cell) {
    const RtfTables& tables = content_.tables;
    const std::int32_t number = tables.rows()[static_cast<std::size_t>(cell.row)].table;
    const RtfTables::Table& table = tables.tables()[static_cast<std::size_t>(number)];
    TextTableBlock block;
    block.table = tables_[static_cast<std::size_t>(number)];
    block.style = style(cell);
    block.row = cell.place.row;
    block.rowSpan = cell.place.rowSpan;
    block.column = cell.place.column;
    block.columnSpan = cell.place.columnSpan;
    const auto first = static_cast<std::size_t>(cell.place.column);
    const auto end = first + static_cast<std::size_t>(cell.place.columnSpan);
    if (tables.definition(cell) && end < table.edges.size()) {
        block.width = (static_cast<double>(table.edges[end]) - table.edges[first]) / kTwipsInPoint;
    }
    return block;
}

std::shared_ptr<const TextTableCellStyle> RtfTableBlocks::style(const RtfTables::Cell& cell) {
    const RtfCellDefinition* definition = content_.tables.definition(cell);
    if (!definition) return plainStyle_;
    auto& style = styles_[definition];
    if (!style) {
        const RtfRowDefinition& row = *content_.tables.rows()[static_cast<std::size_t>(cell.row)].definition;
        style = std::make_shared<const TextTableCellStyle>(
            translated(row, *definition, definition == &row.cells.front(), definition == &row.cells.back()));
    }
    return style;
}

/// What a cell does not say itself, its row says: borders between cells and around them, padding, background, height.
TextTableCellStyle RtfTableBlocks::translated(const RtfRowDefinition& row, const RtfCellDefinition& cell, bool isFirst,
                                              bool isLast) const {
    TextTableCellStyle style;
    style.verticalAlignment = alignmentOf(cell.alignment);
    style.background = attributes_.color(cell.background != 0 ? cell.background : row.background);
    if (cell.background == 0 && row.background == 0) style.background.reset();
    const std::int32_t height = cell.height != kRtfUnset ? cell.height : row.height;
    style.minimumHeight = std::abs(static_cast<double>(height)) / kTwipsInPoint;

    // Word gives the left padding of a cell under the name of the top one and the other way round; Cocoa does not.
    const bool isSwapped = content_.properties.cocoaVersion == kRtfUnset;
    constexpr std::array<std::size_t, 4> kStraight = {0, 1, 2, 3};
    constexpr std::array<std::size_t, 4> kSwapped = {1, 0, 2, 3};
    for (std::size_t side = 0; side < 4; ++side) {
        const bool isVertical = side == 0 || side == 2;
        RtfBorder border = cell.borders[side];
        if (border.style == RtfBorderStyle::unset) {
            const bool isInside = (side == 0 && !isFirst) || (side == 2 && !isLast);
            border = isInside ? row.insideVertical : row.borders[side];
        }
        if (border.style != RtfBorderStyle::unset && border.style != RtfBorderStyle::none) {
            const double width = border.width > 0 ? border.width / kTwipsInPoint : 0.5;
            style.borders[side].width = border.style == RtfBorderStyle::thick ? width * 2 : width;
            if (border.color != 0) style.borders[side].color = attributes_.color(border.color);
        }
        const std::int32_t stated = cell.padding[(isSwapped ? kSwapped : kStraight)[side]];
        const std::int32_t ofRow = row.padding[side] != kRtfUnset ? row.padding[side] : (isVertical ? row.gap : 0);
        style.padding[side] = std::max(0.0, (stated != kRtfUnset ? stated : ofRow) / kTwipsInPoint);
    }
    return style;
}

}  // namespace halden
