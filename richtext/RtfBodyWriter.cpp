#include "richtext/RtfBodyWriter.h"

#include "richtext/RtfParagraphWords.h"
#include "richtext/RtfPictureForm.h"

#include <algorithm>

namespace halden {
namespace {

constexpr std::size_t kMaxDepth = 32;
// Longest mark of a list, tabs included.
constexpr std::size_t kMaxMarker = 64;
// What follows an attachment for readers that know none: a byte that no text of this writer has.
constexpr std::string_view kAttachmentMark = "\xAC";

constexpr bool endsParagraph(char16_t unit) noexcept {
    return unit == u'\n' || unit == u'\r' || unit == 0x2029;
}

/// An address as a word of a field's instruction.
std::u16string quoted(std::u16string_view address) {
    std::u16string word;
    for (const char16_t unit : address) {
        if (unit == u'"' || unit == u'\\' || unit == 0x201C || unit == 0x201D) word += u'\\';
        word += unit;
    }
    return word;
}

}  // namespace

std::size_t RtfBodyWriter::Paragraph::depth() const noexcept {
    return std::min(attributes->blocks.size(), kMaxDepth);
}

RtfBodyWriter::RtfBodyWriter(const AttributedString& text, RtfWriteTables& tables, const RtfWriteOptions& options,
                             bool hyphenates)
    : text_(text), units_(text.string()), tables_(tables), options_(options), hyphenates_(hyphenates) {}

std::string RtfBodyWriter::write() {
    output_.reserve(units_.size() + units_.size() / 4);
    findParagraphs();
    writeParagraphs(0, paragraphs_.size(), 0, Ending::paragraph);
    return output_.take();
}

/// Paragraphs have the attributes of their first unit.
void RtfBodyWriter::findParagraphs() {
    const auto runs = text_.paragraphRuns();
    std::size_t run = 0;
    std::size_t start = 0;
    while (start < units_.size()) {
        std::size_t end = start;
        while (end < units_.size() && !endsParagraph(units_[end]))
            ++end;
        const std::size_t textEnd = end;
        if (end < units_.size()) ++end;
        if (end < units_.size() && units_[end - 1] == u'\r' && units_[end] == u'\n') ++end;
        while (runs[run].end <= start)
            ++run;
        paragraphs_.push_back(
            {.start = start, .textEnd = textEnd, .end = end, .attributes = runs[run].attributes.get()});
        start = end;
    }
}

/// Paragraphs that lie `depth` deep in tables or deeper; the last one ends as `ending` says.
void RtfBodyWriter::writeParagraphs(std::size_t first, std::size_t end, std::size_t depth, Ending ending) {
    while (first < end) {
        const Paragraph& paragraph = paragraphs_[first];
        if (paragraph.depth() <= depth) {
            ++first;
            writeParagraph(paragraph, depth, first == end ? ending : Ending::paragraph);
            continue;
        }
        const auto& table = paragraph.attributes->blocks[depth].table;
        const std::size_t tableStart = first;
        while (first < end && paragraphs_[first].depth() > depth &&
               paragraphs_[first].attributes->blocks[depth].table == table) {
            ++first;
        }
        writeTable(tableStart, first, depth);
        // After a table there must be something that ends its cell.
        if (first == end && ending == Ending::cell) {
            writeRtfEmptyCellParagraph(output_, static_cast<int>(depth));
            writeCellEnd(depth);
        }
    }
}

void RtfBodyWriter::writeFormat(const ParagraphAttributes& attributes, std::size_t depth) {
    const bool isSame = format_ && formatDepth_ == depth && (format_ == &attributes || *format_ == attributes);
    if (isSame) return;
    writeRtfParagraph(output_, attributes, {.depth = static_cast<int>(depth), .hyphenates = hyphenates_}, tables_);
    format_ = &attributes;
    formatDepth_ = depth;
}

void RtfBodyWriter::writeParagraph(const Paragraph& paragraph, std::size_t depth, Ending ending) {
    writeFormat(*paragraph.attributes, depth);
    std::size_t start = paragraph.start;
    if (!paragraph.attributes->lists.empty()) {
        const std::size_t end = markerEnd(paragraph);
        if (end > start) writeStateAt(start);
        const RtfCharacterState around = state_;
        const CharacterAttributes* const statedAround = stated_;
        output_.open();
        output_.word("listtext");
        writeRuns(start, end);
        output_.close();
        state_ = around;
        stated_ = statedAround;
        start = end;
    }
    if (ending == Ending::cell) {
        writeLinks(start, paragraph.textEnd);
        if (paragraph.end > paragraph.textEnd) writeStateAt(paragraph.textEnd);
        writeCellEnd(depth);
    } else {
        writeLinks(start, paragraph.end);
    }
}

void RtfBodyWriter::writeCellEnd(std::size_t depth) {
    output_.word(depth > 1 ? "nestcell" : "cell");
    output_.blank();
}

void RtfBodyWriter::writeTable(std::size_t first, std::size_t end, std::size_t depth) {
    std::vector<RtfTextCell> cells;
    for (std::size_t i = first; i < end; ++i) {
        const TextTableBlock& block = paragraphs_[i].attributes->blocks[depth];
        const TextTableBlock* const last = cells.empty() ? nullptr : cells.back().block;
        if (last && last->row == block.row && last->column == block.column) {
            cells.back().end = i + 1;
        } else {
            cells.push_back({.first = i, .end = i + 1, .block = &block});
        }
    }
    const std::vector<RtfRow> rows = RtfTableLayout(cells).rows();
    for (std::size_t i = 0; i < rows.size(); ++i)
        writeRow(rows[i], depth + 1, i + 1 == rows.size());
}

/// Outermost rows are defined before their cells, and rows inside cells after theirs.
void RtfBodyWriter::writeRow(const RtfRow& row, std::size_t depth, bool isLast) {
    if (depth == 1) {
        output_.newLine();
        output_.newLine();
        writeRowDefinition(row, depth);
    }
    for (const RtfRowCell& cell : row.cells) {
        format_ = nullptr;
        if (cell.text) {
            writeParagraphs(cell.text->first, cell.text->end, depth, Ending::cell);
        } else {
            writeRtfEmptyCellParagraph(output_, static_cast<int>(depth));
            writeCellEnd(depth);
        }
    }
    format_ = nullptr;
    if (depth == 1) {
        if (isLast) output_.word("lastrow");
        output_.word("row");
        output_.newLine();
        return;
    }
    output_.openStarred("nesttableprops");
    writeRowDefinition(row, depth);
    if (isLast) output_.word("lastrow");
    output_.word("nestrow");
    output_.close();
    output_.newLine();
}

void RtfBodyWriter::writeRowDefinition(const RtfRow& row, std::size_t depth) {
    if (depth == 1) output_.word("itap", 1);
    output_.word("trowd");
    output_.blank();
    output_.word("taflags", 1);
    output_.blank();
    output_.word("trgaph", 108);
    output_.word("trleft", row.left);
    for (const std::string_view side : {"trbrdrl", "trbrdrt", "trbrdrr"}) {
        output_.blank();
        output_.word(side);
        output_.word("brdrnil");
    }
    output_.newLine();
    for (const RtfRowCell& cell : row.cells)
        writeCellDefinition(cell);
}

void RtfBodyWriter::writeCellDefinition(const RtfRowCell& cell) {
    static const TextTableCellStyle kNoStyle;
    const TextTableCellStyle& style = cell.style ? *cell.style : kNoStyle;
    if (cell.mergeFirst) output_.word("clmgf");
    if (cell.merged) output_.word("clmrg");
    if (cell.verticalMergeFirst) output_.word("clvmgf");
    if (cell.verticallyMerged) output_.word("clvmrg");
    constexpr std::string_view kAlignments[] = {"clvertalt", "clvertalc", "clvertalb"};
    output_.word(kAlignments[static_cast<std::size_t>(style.verticalAlignment)]);
    output_.blank();
    if (const std::int32_t background = tables_.colorNumber(style.background); background != 0) {
        output_.word("clcbpat", background);
    } else {
        output_.word("clshdrawnil");
    }
    output_.blank();
    if (cell.width > 0) {
        output_.word("clwWidth", cell.width);
        output_.word("clftsWidth", 3);
        output_.blank();
    }
    if (const std::int32_t height = rtfNumber(style.minimumHeight); height > 0) output_.word("clheight", height);
    struct Side {
        TableEdge edge;
        std::string_view border;
        std::string_view padding;
    };
    constexpr Side kSides[] = {{TableEdge::top, "clbrdrt", "clpadt"},
                               {TableEdge::left, "clbrdrl", "clpadl"},
                               {TableEdge::bottom, "clbrdrb", "clpadb"},
                               {TableEdge::right, "clbrdrr", "clpadr"}};
    for (const Side& side : kSides) {
        const TableBorder& border = style.borders[static_cast<std::size_t>(side.edge)];
        output_.word(side.border);
        if (border.width > 0) {
            output_.word("brdrs");
            output_.word("brdrw", std::clamp(rtfNumber(border.width), 1, 1440));
            output_.word("brdrcf", tables_.colorNumber(border.color));
        } else {
            output_.word("brdrnil");
        }
        output_.blank();
    }
    for (const Side& side : kSides) {
        output_.word(side.padding, std::max(0, rtfNumber(style.padding[static_cast<std::size_t>(side.edge)])));
        output_.blank();
    }
    output_.word("gaph");
    output_.word("cellx", cell.rightEdge);
    output_.newLine();
}

/// The mark of a list ends with its first tab, or its second where the paragraph begins with one.
std::size_t RtfBodyWriter::markerEnd(const Paragraph& paragraph) {
    const std::size_t first = paragraph.start + (units_[paragraph.start] == u'\t' ? 1 : 0);
    const std::size_t limit = std::min(paragraph.textEnd, paragraph.start + kMaxMarker);
    for (std::size_t i = paragraph.start; i < limit; ++i) {
        if (!attributesAt(i).link.empty()) break;  // fields do not stand in marks
        if (i >= first && units_[i] == u'\t') return i + 1;
        if (units_[i] == u'\uFFFC') break;
    }
    return paragraph.start;
}

const CharacterAttributes& RtfBodyWriter::attributesAt(std::size_t position) {
    const auto runs = text_.characterRuns();
    while (run_ > 0 && runs[run_ - 1].end > position)
        --run_;
    while (runs[run_].end <= position)
        ++run_;
    return *runs[run_].attributes;
}

void RtfBodyWriter::writeStateAt(std::size_t position) {
    const CharacterAttributes& attributes = attributesAt(position);
    if (stated_ == &attributes) return;
    writeRtfState(output_, state_, rtfState(attributes, tables_));
    output_.delimit();
    stated_ = &attributes;
    // Readers take blanks in names for families, and some of these for families of another script than ours.
    usesBytes_ = attributes.font.name.find(u' ') == std::u16string::npos;
}

/// Each stretch with one link is a field. The formatting that its words state ends with its group.
void RtfBodyWriter::writeLinks(std::size_t start, std::size_t end) {
    while (start < end) {
        const std::u16string* const link = &attributesAt(start).link;
        std::size_t linkEnd = start;
        while (linkEnd < end) {
            const CharacterAttributes& attributes = attributesAt(linkEnd);
            if (&attributes.link != link && attributes.link != *link) break;
            linkEnd = std::min(end, text_.characterRuns()[run_].end);
        }
        if (link->empty()) {
            writeRuns(start, linkEnd);
        } else {
            writeStateAt(start);
            const RtfCharacterState around = state_;
            const CharacterAttributes* const statedAround = stated_;
            output_.open();
            output_.word("field");
            output_.openStarred("fldinst");
            output_.open();
            output_.raw("HYPERLINK \"");
            output_.text(quoted(*link), RtfOutput::Bytes::none);
            output_.raw("\"");
            output_.close();
            output_.close();
            output_.open();
            output_.word("fldrslt");
            writeRuns(start, linkEnd);
            output_.close();
            output_.close();
            state_ = around;
            stated_ = statedAround;
        }
        start = linkEnd;
    }
}

void RtfBodyWriter::writeRuns(std::size_t start, std::size_t end) {
    while (start < end) {
        writeStateAt(start);
        const std::size_t runEnd = std::min(end, text_.characterRuns()[run_].end);
        writeUnits(start, runEnd);
        start = runEnd;
    }
}

/// Units of one run: text, attachments, and separators of paragraphs.
void RtfBodyWriter::writeUnits(std::size_t start, std::size_t end) {
    const auto attachments = text_.attachments();
    const auto bytes = usesBytes_ ? RtfOutput::Bytes::latin : RtfOutput::Bytes::none;
    while (start < end) {
        while (attachment_ < attachments.size() && attachments[attachment_].position < start)
            ++attachment_;
        const bool hasAttachment = attachment_ < attachments.size() && attachments[attachment_].position < end;
        const std::size_t stop = hasAttachment ? attachments[attachment_].position : end;
        std::size_t textEnd = start;
        while (textEnd < stop && !endsParagraph(units_[textEnd]))
            ++textEnd;
        output_.text(units_.substr(start, textEnd - start), bytes);
        start = textEnd;
        if (start == end) break;
        if (start == stop) {
            writeAttachment(attachments[attachment_], attachment_);
            ++start;
            continue;
        }
        if (units_[start] != u'\r' || start + 1 == units_.size() || units_[start + 1] != u'\n') output_.mark("\\\n");
        ++start;
    }
}

void RtfBodyWriter::writeAttachment(const AttributedString::AttachmentPlace& place, std::size_t number) {
    const Attachment& attachment = *place.attachment;
    if (number < options_.fileNames.size()) {
        output_.open();
        output_.open();
        output_.word("NeXTGraphic");
        output_.blank();
        output_.text(options_.fileNames[number], RtfOutput::Bytes::none);
        output_.raw(" ");
        if (attachment.size != Size{}) {
            output_.word("width", rtfNumber(attachment.size.width));
            output_.blank();
            output_.word("height", rtfNumber(attachment.size.height));
        }
        output_.newLine();
        output_.close();
        output_.mark(kAttachmentMark);
        output_.close();
        return;
    }
    const auto form = attachment.file.isFolder ? std::nullopt : rtfPictureForm(attachment.file.data, attachment.type);
    if (!form) return;
    const Size size = attachment.size != Size{} ? attachment.size : form->size;
    output_.open();
    output_.word("pict");
    output_.mark(form->words);
    if (const std::int32_t width = rtfNumber(size.width); width > 0) output_.word("picwgoal", width);
    if (const std::int32_t height = rtfNumber(size.height); height > 0) output_.word("pichgoal", height);
    output_.newLine();
    output_.hexadecimal(form->data);
    output_.close();
}

}  // namespace halden
