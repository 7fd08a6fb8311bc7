// The text of the document: named characters, paragraphs, attachments.
#include "foundation/Unicode.h"
#include "richtext/RtfParser.h"

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

/// A paragraph of a list whose marker the file leaves to the reader gets it before its first character.
void RtfParser::insertMarker() {
    if (group_.inMarker || group_.textBoxLevel >= 0 || markedParagraph_ == paragraphStart()) return;
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

/// Takes back what stands at and after `length`.
void RtfParser::cutBody(std::size_t length) {
    if (length >= content_.text.size()) return;
    content_.text.resize(length);
    while (!content_.attachments.empty() && content_.attachments.back().position >= length)
        content_.attachments.pop_back();
    // The run that holds the text before is open again; those that begin at `length` or later never were.
    std::vector<RtfRun>& runs = content_.runs;
    while (runs.size() > 1 && runs[runs.size() - 2].end >= length)
        runs.pop_back();
    if (length == 0) runs.clear();
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
