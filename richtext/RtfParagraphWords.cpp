#include "richtext/RtfParagraphWords.h"

#include <algorithm>

namespace halden {
namespace {

void setUnless(std::int32_t unsaid, RtfOutput& output, std::string_view name, std::int32_t value) {
    if (value != unsaid) output.word(name, value);
}

void writeTabs(RtfOutput& output, const std::vector<TabStop>& stops) {
    for (const TabStop& stop : stops) {
        switch (stop.type) {
            case TabStopType::left:
                break;
            case TabStopType::right:
                output.word("tqr");
                break;
            case TabStopType::center:
                output.word("tqc");
                break;
            case TabStopType::decimal:
                output.word("tqdec");
                break;
        }
        output.word("tx", rtfNumber(stop.location));
    }
}

void writeAlignment(RtfOutput& output, const ParagraphAttributes& attributes) {
    switch (attributes.alignment) {
        case TextAlignment::natural:
            break;
        case TextAlignment::left:
            output.word("ql");
            break;
        case TextAlignment::right:
            output.word("qr");
            break;
        case TextAlignment::center:
            output.word("qc");
            break;
        case TextAlignment::justified:
            output.word("qj");
            break;
    }
    switch (attributes.writingDirection) {
        case WritingDirection::natural:
            output.word("pardirnatural");
            break;
        case WritingDirection::leftToRight:
            output.word("ltrpar");
            break;
        case WritingDirection::rightToLeft:
            output.word("rtlpar");
            break;
    }
}

void beginParagraph(RtfOutput& output, int depth) {
    output.newLine();
    output.word("pard");
    if (depth > 0) {
        output.word("intbl");
        output.word("itap", depth);
    }
}

}  // namespace

void writeRtfParagraph(RtfOutput& output, const ParagraphAttributes& attributes, RtfParagraphPlace place,
                       RtfWriteTables& tables) {
    beginParagraph(output, place.depth);
    writeTabs(output, attributes.tabStops);
    setUnless(0, output, "pardeftab", rtfNumber(attributes.defaultTabInterval));
    const std::int32_t head = rtfNumber(attributes.headIndent);
    setUnless(0, output, "li", head);
    setUnless(0, output, "fi", rtfNumber(attributes.firstLineHeadIndent) - head);
    setUnless(0, output, "ri", -rtfNumber(attributes.tailIndent));
    if (attributes.lineHeightMultiple > 0) {
        output.word("sl", std::max(1, rtfNumber(attributes.lineHeightMultiple, 240)));
        output.word("slmult", 1);
    }
    setUnless(0, output, "slleading", rtfNumber(attributes.lineSpacing));
    setUnless(0, output, "slminimum", rtfNumber(attributes.minimumLineHeight));
    setUnless(0, output, "slmaximum", rtfNumber(attributes.maximumLineHeight));
    setUnless(0, output, "sb", rtfNumber(attributes.paragraphSpacingBefore));
    setUnless(0, output, "sa", rtfNumber(attributes.paragraphSpacing));
    writeAlignment(output, attributes);
    if (place.hyphenates && attributes.hyphenationFactor == 0) output.word("hyphpar", 0);
    if (attributes.headerLevel > 0) output.word("outlinelevel", attributes.headerLevel - 1);
    output.word("partightenfactor", rtfNumber(attributes.tighteningFactor, 100));
    if (!attributes.lists.empty()) {
        const auto listPlace = tables.listPlace(attributes.lists);
        output.word("ls", listPlace.number);
        output.word("ilvl", listPlace.level);
    }
    output.newLine();
}

void writeRtfEmptyCellParagraph(RtfOutput& output, int depth) {
    beginParagraph(output, depth);
}

}  // namespace halden
