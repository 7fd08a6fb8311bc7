#include "tests/richtext/RandomText.h"

#include "richtext/FontNames.h"

#include <algorithm>
#include <array>

namespace halden::testing {
namespace {

const char16_t* const kFonts[] = {u"Helvetica",        u"Helvetica-Bold", u"Times-Roman",
                                  u"Times-BoldItalic", u"Menlo-Italic",   u"HelveticaNeue-CondensedBold",
                                  u"Symbol",           u"Courier"};
const char16_t* const kLinks[] = {u"https://example.org/a?b=c#d", u"file:///tmp/\u00E9t\u00E9 {1}", u"a\"b\\c",
                                  u"\u201Cquoted\u201D"};
const char16_t* const kLanguages[] = {u"de-CH", u"en-US", u"fr-FR", u"ja-JP", u"ar-EG"};
const char16_t* const kWords[] = {u"plain",      u"caf\u00E9",      u"{braces}", u"back\\slash", u"\u65E5\u672C",
                                  u"\U0001F600", u"\u201Cso\u201D", u"\u20AC 5", u"-12",         u"\u00A0\u00AD\u2011",
                                  u" ",          u"a\u2028b",       u"\u00AC",   u"'ab",         u"\u0001\u0085",
                                  u"\f",         u"x\u0301",        u"\uFFFC",   u"0",           u"\uF0A7"};

std::shared_ptr<const TextList> list(const char16_t* format, int start) {
    return std::make_shared<const TextList>(TextList{.markerFormat = format, .startingItemNumber = start});
}

}  // namespace

std::optional<Color> RandomText::maybeColor() {
    if (!one(3)) return std::nullopt;
    if (one(2)) return Color{below(256) / 255.0, below(256) / 255.0, below(256) / 255.0, 1};
    return Color{below(100000) / 100000.0, below(100000) / 100000.0, below(100000) / 100000.0,
                 below(100000) / 100000.0};
}

std::u16string RandomText::word() {
    return kWords[below(std::size(kWords))];
}

CharacterAttributes RandomText::characters() {
    CharacterAttributes c;
    const double size = one(4) ? (1 + below(90000)) / 1000.0 : (1 + below(100)) / 2.0;
    c.font = fontNamed(kFonts[below(std::size(kFonts))], FontNaming::postScript, size, one(4), one(4));
    c.foreground = maybeColor();
    c.background = maybeColor();
    constexpr int kStyles[] = {0, 0, 0, 1, 2, 9, 0x8001, 0x101, 0x201, 0x301, 0x401, 0x102, 0x8009, 0x202};
    c.underline = kStyles[below(std::size(kStyles))];
    if (c.underline != 0) c.underlineColor = maybeColor();
    constexpr int kStrikes[] = {0, 0, 0, 0, 1, 9, 2, 0x8001};
    c.strikethrough = kStrikes[below(std::size(kStrikes))];
    if (c.strikethrough != 0) c.strikethroughColor = maybeColor();
    if (one(5)) c.superscript = below(5) - 2;
    if (one(5)) c.baselineOffset = (below(41) - 20) / 2.0;
    if (one(5)) c.kern = (below(401) - 200) / 20.0;
    if (one(8)) c.ligature = below(3);
    if (one(8)) c.strokeWidth = (below(401) - 200) / 20.0;
    if (c.strokeWidth != 0) c.strokeColor = maybeColor();
    if (one(8)) c.obliqueness = (below(41) - 20) / 20.0;
    if (one(8)) c.expansion = (below(41) - 20) / 20.0;
    if (one(6)) {
        Color color{below(256) / 255.0, below(256) / 255.0, 0, below(256) / 255.0};
        if (one(3)) color = {0, 0, 0, below(256) / 255.0};
        c.shadow = Shadow{.x = twentieths(5) - 2, .y = twentieths(5) - 2, .blurRadius = twentieths(9), .color = color};
    }
    if (one(4)) c.link = kLinks[below(std::size(kLinks))];
    if (one(4)) c.language = kLanguages[below(std::size(kLanguages))];
    return c;
}

ParagraphAttributes RandomText::paragraph() {
    ParagraphAttributes p;
    p.alignment = static_cast<TextAlignment>(below(5));
    p.writingDirection = static_cast<WritingDirection>(below(3));
    if (one(2)) p.headIndent = twentieths(100);
    p.firstLineHeadIndent = one(2) ? p.headIndent : twentieths(100);
    if (one(3)) p.tailIndent = twentieths(300) - 150;
    if (one(3)) p.paragraphSpacingBefore = twentieths(30);
    if (one(3)) p.paragraphSpacing = twentieths(30);
    if (one(3)) p.lineSpacing = twentieths(30);
    if (one(3)) p.lineHeightMultiple = (241 + below(400)) / 240.0;
    if (one(3)) p.minimumLineHeight = twentieths(30);
    if (one(3)) p.maximumLineHeight = twentieths(30);
    if (one(3)) p.defaultTabInterval = twentieths(72);
    if (one(3)) p.tighteningFactor = below(100) / 100.0;
    if (one(3)) p.hyphenationFactor = 0.9;
    if (one(5)) p.headerLevel = below(7);
    for (int i = below(4); i > 0; --i)
        p.tabStops.push_back({.location = twentieths(500), .type = static_cast<TabStopType>(below(4))});
    std::ranges::stable_sort(p.tabStops, {}, &TabStop::location);
    return p;
}

std::shared_ptr<const TextTableCellStyle> RandomText::cellStyle() {
    TextTableCellStyle style;
    style.background = maybeColor();
    for (TableBorder& border : style.borders) {
        if (one(2)) continue;
        border.width = (1 + below(100)) / 20.0;
        border.color = maybeColor();
    }
    for (double& padding : style.padding)
        padding = one(2) ? 0 : twentieths(20);
    if (one(3)) style.minimumHeight = twentieths(50);
    style.verticalAlignment = static_cast<VerticalAlignment>(below(3));
    return std::make_shared<const TextTableCellStyle>(style);
}

void RandomText::append(std::u16string_view units, const std::shared_ptr<const CharacterAttributes>& attributes) {
    if (units.empty()) return;
    parts_.text += units;
    parts_.characterRuns.push_back({parts_.text.size(), attributes});
}

void RandomText::appendAttachment() {
    Attachment attachment;
    attachment.size = one(3) ? Size{} : Size{1 + twentieths(300), 1 + twentieths(300)};
    if (options_.pictures) {
        const std::string digits = std::to_string(++pictures_);
        attachment.file.name = u"Picture " + std::u16string(digits.begin(), digits.end()) + u".png";
        attachment.file.data =
            Data::copying("\x89PNG\r\n\x1A\n" + std::string(static_cast<std::size_t>(below(200)), 'p'));
        attachment.type = u"public.png";
    } else {
        const std::string digits = std::to_string(++pictures_);
        const std::u16string number(digits.begin(), digits.end());
        if (one(4)) {
            attachment.file = {.name = u"folder " + number, .data = {}, .isFolder = true, .children = {}};
            attachment.file.children.push_back({.name = u"inside", .data = Data::copying(digits), .children = {}});
        } else {
            attachment.file = {
                .name = u"f\u00EFle {" + number + u"}.bin", .data = Data::copying(digits), .children = {}};
        }
    }
    const auto& attributes = formats_[static_cast<std::size_t>(below(static_cast<int>(formats_.size())))];
    parts_.attachments.push_back({parts_.text.size(), std::make_shared<const Attachment>(std::move(attachment))});
    append(u"\uFFFC", attributes);
}

void RandomText::appendParagraph(const Blocks& blocks, bool mayBeList) {
    ParagraphAttributes attributes = paragraph();
    attributes.blocks = blocks;
    const auto format = [&] { return formats_[static_cast<std::size_t>(below(static_cast<int>(formats_.size())))]; };
    if (mayBeList && one(3)) {
        attributes.lists = lists_[static_cast<std::size_t>(below(static_cast<int>(lists_.size())))];
        append(one(2) ? u"\t" : u"", format());
        append(u"\u2022\t", format());
    }
    for (int i = below(5); i > 0; --i) {
        for (int k = below(4); k > 0; --k)
            append(word(), format());
        if (one(6)) appendAttachment();
    }
    append(u"\n", blocks.empty() ? format() : formats_.front());
    parts_.paragraphRuns.push_back(
        {parts_.text.size(), std::make_shared<const ParagraphAttributes>(std::move(attributes))});
}

/// Rows of cells of which some span, with a table in one of them now and then.
void RandomText::appendTable(const Blocks& outer) {
    const int columns = 1 + below(4);
    const int rows = 1 + below(4);
    std::vector<double> widths;
    for (int i = 0; i < columns; ++i)
        widths.push_back(20 + twentieths(100));
    const auto table = std::make_shared<const TextTable>(TextTable{.columnCount = columns});
    std::vector<int> coveredUntil(static_cast<std::size_t>(columns), 0);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns;) {
            if (coveredUntil[static_cast<std::size_t>(column)] > row) {
                ++column;
                continue;
            }
            int span = 1;
            while (column + span < columns && coveredUntil[static_cast<std::size_t>(column + span)] <= row && one(4))
                ++span;
            const int rowSpan = one(5) ? 1 + below(rows - row) : 1;
            TextTableBlock block{.table = table,
                                 .style = cellStyle(),
                                 .row = row,
                                 .rowSpan = rowSpan,
                                 .column = column,
                                 .columnSpan = span};
            for (int i = column; i < column + span; ++i) {
                block.width += widths[static_cast<std::size_t>(i)];
                coveredUntil[static_cast<std::size_t>(i)] = row + rowSpan;
            }
            Blocks blocks = outer;
            blocks.push_back(block);
            if (outer.size() < 3 && one(6)) appendTable(blocks);
            for (int i = below(3); i >= 0; --i)
                appendParagraph(blocks, true);
            column += span;
        }
    }
}

AttributedString RandomText::make(const Options& options) {
    options_ = options;
    for (int i = 0; i < 8; ++i)
        formats_.push_back(std::make_shared<const CharacterAttributes>(characters()));
    // The first one ends cells, which cannot be in a link.
    CharacterAttributes first = *formats_.front();
    first.link.clear();
    formats_.front() = std::make_shared<const CharacterAttributes>(std::move(first));
    const auto numbered = list(u"{decimal}.", 3);
    const auto bulleted = list(u"{disc}", 1);
    const auto inner = list(u"({lower-alpha})", 1);
    lists_ = {{numbered}, {numbered, inner}, {bulleted}, {bulleted, list(u"{hyphen}", 1), list(u"\u2042", 1)}};
    for (int i = 0; i < options.paragraphs; ++i) {
        appendParagraph({}, true);
        if (one(4)) {
            appendTable({});
            appendParagraph({}, false);
        }
    }
    return AttributedString(std::move(parts_));
}

}  // namespace halden::testing
