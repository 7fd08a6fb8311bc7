// Paragraph attributes as control words.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfOutput.h"
#include "richtext/RtfWriteTables.h"

namespace halden {

struct RtfParagraphPlace {
    int depth = 0;  // in tables, 0 outside
    /// The document states a hyphenation factor, so that paragraphs must say when they have none.
    bool hyphenates = false;
};

/// Writes `\pard` and all that follows from `attributes`.
void writeRtfParagraph(RtfOutput& output, const ParagraphAttributes& attributes, RtfParagraphPlace place,
                       RtfWriteTables& tables);

/// What stands in a cell that no paragraph of the text is in.
void writeRtfEmptyCellParagraph(RtfOutput& output, int depth);

}  // namespace halden
