// The text of a document as RTF: paragraphs, runs, links, marks of lists, attachments, tables.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfCharacterState.h"
#include "richtext/RtfOutput.h"
#include "richtext/RtfTableLayout.h"
#include "richtext/RtfWriteTables.h"
#include "richtext/RtfWriter.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace halden {

/// Writes one text. `text`, `tables` and the names in `options` must outlive it.
class RtfBodyWriter {
public:
    RtfBodyWriter(const AttributedString& text, RtfWriteTables& tables, const RtfWriteOptions& options,
                  bool hyphenates);

    /// The text; `tables` holds what the header needs then.
    [[nodiscard]] std::string write();

private:
    /// A paragraph: its text, and what separates it from the next one (nothing at the end of the text).
    struct Paragraph {
        std::size_t start = 0;
        std::size_t textEnd = 0;
        std::size_t end = 0;
        const ParagraphAttributes* attributes = nullptr;
        [[nodiscard]] std::size_t depth() const noexcept;
    };
    enum class Ending { paragraph, cell };

    void findParagraphs();
    void writeParagraphs(std::size_t first, std::size_t end, std::size_t depth, Ending ending);
    void writeParagraph(const Paragraph& paragraph, std::size_t depth, Ending ending);
    void writeFormat(const ParagraphAttributes& attributes, std::size_t depth);
    void writeCellEnd(std::size_t depth);

    void writeTable(std::size_t first, std::size_t end, std::size_t depth);
    void writeRow(const RtfRow& row, std::size_t depth, bool isLast);
    void writeRowDefinition(const RtfRow& row, std::size_t depth);
    void writeCellDefinition(const RtfRowCell& cell);

    [[nodiscard]] std::size_t markerEnd(const Paragraph& paragraph);
    void writeLinks(std::size_t start, std::size_t end);
    void writeRuns(std::size_t start, std::size_t end);
    void writeUnits(std::size_t start, std::size_t end);
    void writeAttachment(const AttributedString::AttachmentPlace& place, std::size_t number);
    void writeStateAt(std::size_t position);
    [[nodiscard]] const CharacterAttributes& attributesAt(std::size_t position);
    [[nodiscard]] bool isSeparator(std::size_t position) const noexcept;

    const AttributedString& text_;
    std::u16string_view units_;
    RtfWriteTables& tables_;
    const RtfWriteOptions& options_;
    const bool hyphenates_;

    RtfOutput output_;
    std::vector<Paragraph> paragraphs_;
    RtfCharacterState state_;
    const CharacterAttributes* stated_ = nullptr;  // what `state_` says
    std::size_t run_ = 0;                          // the one that holds the position last asked for
    std::size_t attachment_ = 0;                   // the next one
    const ParagraphAttributes* format_ = nullptr;  // what the last \pard said, and where
    std::size_t formatDepth_ = 0;
    bool usesBytes_ = true;  // of the font now: whether characters may be written as bytes
};

}  // namespace halden
