// Tables: the words that define rows and cells, and the ends of both.
#include "richtext/RtfParser.h"

#include <algorithm>

namespace halden {

void RtfParser::tableWord(RtfWord word, std::int32_t parameter) {
    const bool inBody = group_.destination == RtfDestination::body;
    const bool inRowProperties = group_.destination == RtfDestination::rowProperties;
    if (!inBody && !inRowProperties) return;
    RtfRowDefinitionBuilder& builder = rowBuilder();
    const auto side = [](RtfSide which) { return static_cast<std::size_t>(which); };
    switch (word) {
        case RtfWord::row:
            if (inBody) endRow(1);
            break;
        case RtfWord::nestrow:
            endRow(std::max(2, group_.paragraph.tableLevel()));
            break;
        case RtfWord::cell:
            if (inBody) endCell(1);
            break;
        case RtfWord::nestcell:
            if (inBody) endCell(std::max(2, group_.paragraph.tableLevel()));
            break;
        case RtfWord::trowd:
            builder.begin();
            border_ = &ignoredBorder_;
            break;
        case RtfWord::cellx:
            builder.endCell(parameter);
            border_ = &ignoredBorder_;
            break;
        case RtfWord::trgaph:
            builder.row().gap = parameter;
            break;
        case RtfWord::trleft:
            builder.row().left = parameter;
            break;
        case RtfWord::trrh:
            builder.row().height = parameter;
            break;
        case RtfWord::trcbpat:
            builder.row().background = parameter;
            break;
        case RtfWord::trpaddl:
            builder.row().padding[side(RtfSide::left)] = parameter;
            break;
        case RtfWord::trpaddt:
            builder.row().padding[side(RtfSide::top)] = parameter;
            break;
        case RtfWord::trpaddr:
            builder.row().padding[side(RtfSide::right)] = parameter;
            break;
        case RtfWord::trpaddb:
            builder.row().padding[side(RtfSide::bottom)] = parameter;
            break;
        case RtfWord::clmgf:
            builder.cell().mergeFirst = true;
            break;
        case RtfWord::clmrg:
            builder.cell().merged = true;
            break;
        case RtfWord::clvmgf:
            builder.cell().verticalMergeFirst = true;
            break;
        case RtfWord::clvmrg:
            builder.cell().verticallyMerged = true;
            break;
        case RtfWord::clvertalt:
            builder.cell().alignment = RtfVerticalAlignment::top;
            break;
        case RtfWord::clvertalc:
            builder.cell().alignment = RtfVerticalAlignment::middle;
            break;
        case RtfWord::clvertalb:
            builder.cell().alignment = RtfVerticalAlignment::bottom;
            break;
        case RtfWord::clcbpat:
            builder.cell().background = parameter;
            break;
        case RtfWord::clpadl:
            builder.cell().padding[side(RtfSide::left)] = parameter;
            break;
        case RtfWord::clpadt:
            builder.cell().padding[side(RtfSide::top)] = parameter;
            break;
        case RtfWord::clpadr:
            builder.cell().padding[side(RtfSide::right)] = parameter;
            break;
        case RtfWord::clpadb:
            builder.cell().padding[side(RtfSide::bottom)] = parameter;
            break;
        case RtfWord::clwWidth:
            builder.cell().width = parameter;
            break;
        case RtfWord::clftsWidth:
            builder.cell().widthUnit = parameter;
            break;
        case RtfWord::clheight:
            builder.cell().height = parameter;
            break;
        default:
            borderWord(word, parameter);
            break;
    }
}

/// A first word says which border is meant, the following ones how it looks.
void RtfParser::borderWord(RtfWord word, std::int32_t parameter) {
    RtfRowDefinitionBuilder& builder = rowBuilder();
    const auto rowBorder = [&](RtfSide side) { border_ = &builder.row().borders[static_cast<std::size_t>(side)]; };
    const auto cellBorder = [&](RtfSide side) { border_ = &builder.cell().borders[static_cast<std::size_t>(side)]; };
    switch (word) {
        case RtfWord::trbrdrl:
            rowBorder(RtfSide::left);
            break;
        case RtfWord::trbrdrt:
            rowBorder(RtfSide::top);
            break;
        case RtfWord::trbrdrr:
            rowBorder(RtfSide::right);
            break;
        case RtfWord::trbrdrb:
            rowBorder(RtfSide::bottom);
            break;
        case RtfWord::trbrdrh:
            border_ = &builder.row().insideHorizontal;
            break;
        case RtfWord::trbrdrv:
            border_ = &builder.row().insideVertical;
            break;
        case RtfWord::clbrdrl:
            cellBorder(RtfSide::left);
            break;
        case RtfWord::clbrdrt:
            cellBorder(RtfSide::top);
            break;
        case RtfWord::clbrdrr:
            cellBorder(RtfSide::right);
            break;
        case RtfWord::clbrdrb:
            cellBorder(RtfSide::bottom);
            break;
        case RtfWord::brdrt:
        case RtfWord::brdrb:
        case RtfWord::brdrl:
        case RtfWord::brdrr:
        case RtfWord::brdrbtw:
        case RtfWord::brdrbar:
        case RtfWord::box:
        case RtfWord::chbrdr:
            border_ = &ignoredBorder_;  // of paragraphs and characters
            break;
        case RtfWord::brdrs:
        case RtfWord::brdrhair:
            border_->style = RtfBorderStyle::solid;
            break;
        case RtfWord::brdrth:
            border_->style = RtfBorderStyle::thick;
            break;
        case RtfWord::brdrdb:
            border_->style = RtfBorderStyle::doubled;
            break;
        case RtfWord::brdrdot:
            border_->style = RtfBorderStyle::dotted;
            break;
        case RtfWord::brdrdash:
            border_->style = RtfBorderStyle::dashed;
            break;
        case RtfWord::brdrnil:
        case RtfWord::brdrnone:
        case RtfWord::brdrtbl:
            border_->style = RtfBorderStyle::none;
            break;
        case RtfWord::brdrw:
            border_->width = std::clamp(parameter, 0, 1440);
            break;
        case RtfWord::brdrcf:
            border_->color = parameter;
            break;
        default:
            break;
    }
}

/// Makes the current formatting that of the text to be appended; false when that text is not to be seen.
bool RtfParser::noteFormatOfBody() {
    if (group_.character.hidden || group_.character.deleted) return false;
    if (group_.characterFormat == RtfGroup::kNoFormat) {
        group_.characterFormat = content_.characters.numberOf(group_.character);
    }
    if (group_.paragraphFormat == RtfGroup::kNoFormat) {
        group_.paragraphFormat = content_.paragraphFormats.numberOf(group_.paragraph);
    }
    lastParagraphFormat_ = group_.paragraphFormat;
    lastParagraphLevel_ = paragraphLevel();
    // A run ends where the next begins, and the last one with the text.
    if (content_.runs.empty() || content_.runs.back().format != group_.characterFormat) {
        const auto start = static_cast<std::uint32_t>(content_.text.size());
        if (!content_.runs.empty()) content_.runs.back().end = start;
        content_.runs.push_back({.end = start, .format = group_.characterFormat});
    }
    const bool inList = group_.paragraph.list != 0 || group_.paragraph.numbering;
    if (inList && content_.text.size() == paragraphStart()) insertMarker();
    return true;
}

void RtfParser::endCell(std::int32_t level) {
    if (group_.textBoxLevel >= 0) {
        endParagraph(u'\n', paragraphLevel());
        return;
    }
    endParagraph(u'\n', level);
    content_.tables.endCell(level);
}

void RtfParser::endRow(std::int32_t level) {
    if (group_.textBoxLevel >= 0) return;
    // Text after the last cell's end makes a cell of its own; outside a row it is a paragraph.
    if (content_.text.size() > paragraphStart()) {
        if (content_.tables.isInRow()) {
            endCell(level);
        } else {
            endParagraph(u'\n', paragraphLevel());
        }
    }
    border_ = &ignoredBorder_;  // the definition belongs to the row now
    content_.tables.endRow(level, rowBuilder().take());
}

}  // namespace halden
