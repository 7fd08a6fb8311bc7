// The text of the document: named characters, paragraphs, attachments, the cells and rows of tables.
#include "foundation/Unicode.h"
#include "richtext/RtfParser.h"

#include <algorithm>
#include <utility>

namespace halden {

void RtfParser::specialWord(RtfWord word) {
    const bool inBody = group_.destination == RtfDestination::body;
    switch (word) {
        case RtfWord::par:
            if (inBody) endParagraph(u'\n', paragraphLevel());
            break;
        case RtfWord::sect:
            // The end of a section ends the paragraph before it; sections as such are not kept.
            if (inBody) endParagraphIfAny();
            break;
        case RtfWord::line:
        case RtfWord::softline:
        case RtfWord::lbr:
            emitUnit(0x2028);
            break;
        case RtfWord::page:
        case RtfWord::column:
            emitUnit(u'\f');
            break;
        case RtfWord::tab:
            emitUnit(u'\t');
            break;
        case RtfWord::emdash:
            emitUnit(0x2014);
            break;
        case RtfWord::endash:
            emitUnit(0x2013);
            break;
        case RtfWord::emspace:
            emitUnit(0x2003);
            break;
        case RtfWord::enspace:
            emitUnit(0x2002);
            break;
        case RtfWord::qmspace:
            emitUnit(0x2005);
            break;
        case RtfWord::bullet:
            emitUnit(0x2022);
            break;
        case RtfWord::lquote:
            emitUnit(0x2018);
            break;
        case RtfWord::rquote:
            emitUnit(0x2019);
            break;
        case RtfWord::ldblquote:
            emitUnit(0x201C);
            break;
        case RtfWord::rdblquote:
            emitUnit(0x201D);
            break;
        case RtfWord::zwj:
            emitUnit(0x200D);
            break;
        case RtfWord::zwnj:
            emitUnit(0x200C);
            break;
        case RtfWord::zwbo:
            emitUnit(0x200B);
            break;
        case RtfWord::zwnbo:
            emitUnit(0x2060);
            break;
        case RtfWord::ltrmark:
            emitUnit(0x200E);
            break;
        case RtfWord::rtlmark:
            emitUnit(0x200F);
            break;
        default:
            break;
    }
}

void RtfParser::pictureWord(RtfWord word, std::int32_t parameter) {
    if (group_.destination == RtfDestination::attachment) {
        if (word == RtfWord::width) attachment_.width = parameter;
        if (word == RtfWord::height) attachment_.height = parameter;
        return;
    }
    if (group_.destination != RtfDestination::picture) return;
    switch (word) {
        case RtfWord::picw:
            picture_.width = parameter;
            break;
        case RtfWord::pich:
            picture_.height = parameter;
            break;
        case RtfWord::picwgoal:
            picture_.goalWidth = parameter;
            break;
        case RtfWord::pichgoal:
            picture_.goalHeight = parameter;
            break;
        case RtfWord::picscalex:
            picture_.scaleX = parameter;
            break;
        case RtfWord::picscaley:
            picture_.scaleY = parameter;
            break;
        case RtfWord::pngblip:
            picture_.kind = RtfPictureKind::png;
            break;
        case RtfWord::jpegblip:
            picture_.kind = RtfPictureKind::jpeg;
            break;
        case RtfWord::emfblip:
            picture_.kind = RtfPictureKind::emf;
            break;
        case RtfWord::wmetafile:
            picture_.kind = RtfPictureKind::wmf;
            break;
        case RtfWord::macpict:
            picture_.kind = RtfPictureKind::pict;
            break;
        case RtfWord::dibitmap:
            picture_.kind = RtfPictureKind::dib;
            break;
        case RtfWord::wbitmap:
            picture_.kind = RtfPictureKind::bitmap;
            break;
        case RtfWord::wbmbitspixel:
            picture_.bitsPerPixel = std::clamp(parameter, 0, 64);
            break;
        case RtfWord::wbmplanes:
            picture_.planes = std::clamp(parameter, 0, 64);
            break;
        case RtfWord::wbmwidthbytes:
            picture_.rowBytes = parameter;
            break;
        default:
            break;
    }
}

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

/// A paragraph of a list whose marker the file leaves to the reader gets it before its first character.
void RtfParser::insertMarker() {
    if (group_.inMarker || group_.textBoxLevel >= 0) return;
    const RtfParagraph& paragraph = group_.paragraph;
    std::u16string marker;
    if (paragraph.list != 0) {
        const RtfList* list = content_.header.list(paragraph.list);
        if (list) marker = counters_.nextMarker(*list, static_cast<std::size_t>(paragraph.listLevel));
    } else if (paragraph.numbering) {
        marker = counters_.nextMarker(*paragraph.numbering);
    }
    if (!marker.empty()) content_.text += marker + u'\t';
}

void RtfParser::appendToBody(std::u16string_view units) {
    if (noteFormatOfBody()) content_.text += units;
}

void RtfParser::insertAttachment(RtfAttachment attachment) {
    if (content_.attachments.size() >= kMaxRtfAttachments || !noteFormatOfBody()) return;
    attachment.position = static_cast<std::uint32_t>(content_.text.size());
    content_.text += u'\uFFFC';
    content_.attachments.push_back(std::move(attachment));
}

void RtfParser::endParagraph(char16_t separator, std::int32_t level) {
    // The end of a paragraph counts even where its text is hidden.
    const bool hidden = std::exchange(group_.character.hidden, false);
    const bool deleted = std::exchange(group_.character.deleted, false);
    if (hidden || deleted) group_.characterFormat = RtfGroup::kNoFormat;
    (void)noteFormatOfBody();
    content_.text += separator;
    group_.character.hidden = hidden;
    group_.character.deleted = deleted;
    if (hidden || deleted) group_.characterFormat = RtfGroup::kNoFormat;
    content_.paragraphs.push_back({.end = static_cast<std::uint32_t>(content_.text.size()),
                                   .format = group_.paragraphFormat,
                                   .cell = content_.tables.cellOfParagraph(level)});
}

void RtfParser::endParagraphIfAny() {
    if (content_.text.size() > paragraphStart()) endParagraph(u'\n', paragraphLevel());
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

/// What stands after the last paragraph's end is a paragraph without one. Halves of surrogate pairs become U+FFFD.
void RtfParser::finishBody() {
    if (content_.text.size() > paragraphStart()) {
        content_.paragraphs.push_back({.end = static_cast<std::uint32_t>(content_.text.size()),
                                       .format = lastParagraphFormat_,
                                       .cell = content_.tables.cellOfParagraph(lastParagraphLevel_)});
    }
    if (!content_.runs.empty()) content_.runs.back().end = static_cast<std::uint32_t>(content_.text.size());
    std::u16string& text = content_.text;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isSurrogate(text[i])) continue;
        if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            ++i;
        } else {
            text[i] = kReplacementCharacter;
        }
    }
}

}  // namespace halden
