// Any bytes read as RTF: what comes out must hold together, whatever went in.
#include "foundation/Unicode.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfContent.h"
#include "richtext/RtfReader.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

/// Runs and paragraphs cover the text without a gap, and refer to what exists.
void checkRuns(const halden::RtfContent& content) {
    std::size_t end = 0;
    for (const halden::RtfRun& run : content.runs) {
        require(run.end > end && run.format < content.characters.formats().size());
        end = run.end;
    }
    require(end == content.text.size());
    end = 0;
    for (const halden::RtfParagraphRun& paragraph : content.paragraphs) {
        require(paragraph.end > end && paragraph.format < content.paragraphFormats.formats().size());
        require(paragraph.cell < static_cast<std::int32_t>(content.tables.cells().size()));
        end = paragraph.end;
    }
    require(end == content.text.size());
    for (const halden::RtfAttachment& attachment : content.attachments) {
        require(content.text.at(attachment.position) == u'\uFFFC');
    }
    for (const halden::RtfCharacter& character : content.characters.formats()) {
        require(character.link >= 0 && static_cast<std::size_t>(character.link) <= content.links.size());
    }
}

/// The attributed string is the parsed text without the cells that continue others, all of it with attributes.
void checkDocument(const halden::RtfContent& content, const halden::RichTextDocument& document) {
    const halden::AttributedString& text = document.text;
    require(text.length() <= content.text.size() && text.attachments().size() == content.attachments.size());
    std::size_t end = 0;
    for (const auto& run : text.characterRuns()) {
        require(run.end > end && run.attributes);
        end = run.end;
    }
    require(end == text.length());
    end = 0;
    for (const auto& run : text.paragraphRuns()) {
        require(run.end > end && run.attributes);
        end = run.end;
        for (const auto& block : run.attributes->blocks)
            require(block.table && block.style);
    }
    require(end == text.length());
    for (const auto& place : text.attachments())
        require(text.string().at(place.position) == u'\uFFFC');
    const halden::AttributedString part = text.substring(text.length() / 3, text.length() / 2);
    require(part.string() == text.string().substr(text.length() / 3, text.length() / 2));
}

/// Cells that are shown do not overlap, and lie inside their tables.
void checkTables(halden::RtfTables& tables) {
    tables.resolve(std::vector<bool>(tables.cells().size(), true));
    std::int32_t row = -1;
    std::int32_t column = 0;
    for (const auto& cell : tables.cells()) {
        if (cell.place.continuation) continue;
        const auto& place = cell.place;
        require(place.row >= 0 && place.rowSpan >= 1 && place.column >= 0 && place.columnSpan >= 1);
        const auto& table =
            tables.tables().at(static_cast<std::size_t>(tables.rows().at(static_cast<std::size_t>(cell.row)).table));
        require(place.column + place.columnSpan <= table.columnCount);
        require(static_cast<std::size_t>(place.row + place.rowSpan) <= table.rows.size());
        if (cell.row == row) require(place.column >= column);
        row = cell.row;
        column = place.column + place.columnSpan;
    }
}

/// What is written of a document can be read, and has its attachments; from then on its text stays as it is.
void checkWriting(const halden::RichTextDocument& document) {
    const auto written = halden::rtfdFromDocument(document, 0);
    require(written.has_value());
    const auto again = halden::documentFromRtfd(*written);
    require(again && again->text.attachments().size() == document.text.attachments().size());
    const auto third = halden::documentFromRtfd(halden::rtfdFromDocument(*again, 0).value());
    require(third && third->text.string() == again->text.string());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    auto content = halden::parsedRtf({reinterpret_cast<const char*>(bytes), size});
    if (!content) return 0;
    require(halden::isWellFormed(content->text));
    checkRuns(*content);
    const std::string_view rtf(reinterpret_cast<const char*>(bytes), size);
    const auto document = halden::documentFromRtf(rtf);
    checkDocument(*content, *document);
    checkWriting(*document);
    checkTables(content->tables);
    return 0;
}
