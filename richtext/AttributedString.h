// Text with attributes: what rich-text readers make and writers take.
//
// Characters have attributes in runs, paragraphs have attributes of their own, and each U+FFFC may stand for an
// attachment. Lengths and positions in text are UTF-16 units, lengths on paper points.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"
#include "foundation/Value.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// sRGB, each component from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const Color&, const Color&) noexcept = default;
};

struct Font {
    std::u16string name = u"Helvetica";    // PostScript name, "Helvetica-Bold"
    std::u16string family = u"Helvetica";  // "Helvetica"
    double size = 12;
    bool bold = false;
    bool italic = false;
    friend bool operator==(const Font&, const Font&) = default;
};

/// The platform's numbers of line styles, under and through text: a weight, a pattern, and whether blanks are left out.
inline constexpr int kLineNone = 0;
inline constexpr int kLineSingle = 0x01;
inline constexpr int kLineThick = 0x02;
inline constexpr int kLineDouble = 0x09;
inline constexpr int kLinePatternDot = 0x0100;
inline constexpr int kLinePatternDash = 0x0200;
inline constexpr int kLinePatternDashDot = 0x0300;
inline constexpr int kLinePatternDashDotDot = 0x0400;
inline constexpr int kLineByWord = 0x8000;

struct Shadow {
    double x = 0;  // to the right
    double y = 0;  // upwards
    double blurRadius = 0;
    std::optional<Color> color;
    friend bool operator==(const Shadow&, const Shadow&) = default;
};

struct CharacterAttributes {
    Font font;
    std::optional<Color> foreground;  // without one: black
    std::optional<Color> background;  // without one: none
    int underline = kLineNone;
    std::optional<Color> underlineColor;  // without one: the text's
    int strikethrough = kLineNone;
    std::optional<Color> strikethroughColor;
    int superscript = 0;        // levels up, or down below 0
    double baselineOffset = 0;  // upwards
    double kern = 0;
    int ligature = 1;        // 0 none, 1 the usual ones, 2 all
    double strokeWidth = 0;  // percent of the size; above 0 outlined, below 0 outlined and filled
    std::optional<Color> strokeColor;
    double obliqueness = 0;
    double expansion = 0;
    std::optional<Shadow> shadow;
    std::u16string link;      // an address; empty without
    std::u16string language;  // BCP 47, "de-CH"; empty where nothing is said
    friend bool operator==(const CharacterAttributes&, const CharacterAttributes&) = default;
};

enum class TextAlignment : std::uint8_t { natural, left, right, center, justified };
enum class WritingDirection : std::uint8_t { natural, leftToRight, rightToLeft };
enum class TabStopType : std::uint8_t { left, right, center, decimal };

struct TabStop {
    double location = 0;
    TabStopType type = TabStopType::left;
    friend bool operator==(const TabStop&, const TabStop&) noexcept = default;
};

/// A list. Paragraphs of one list share the object: a list is the same by identity, not by contents.
struct TextList {
    /// What stands before the number, the number's kind in braces, what stands after it: "{decimal}.",
    /// "({lower-roman})",
    /// "{disc}".
    std::u16string markerFormat;
    int startingItemNumber = 1;
};

/// A table. Cells of one table share the object.
struct TextTable {
    int columnCount = 1;
};

enum class TableEdge : std::uint8_t { left, top, right, bottom };
enum class VerticalAlignment : std::uint8_t { top, middle, bottom };

struct TableBorder {
    double width = 0;
    std::optional<Color> color;
    friend bool operator==(const TableBorder&, const TableBorder&) = default;
};

/// How a cell looks; shared by cells that look alike.
struct TextTableCellStyle {
    std::optional<Color> background;
    std::array<TableBorder, 4> borders;  // by TableEdge
    std::array<double, 4> padding{};     // by TableEdge
    double minimumHeight = 0;
    VerticalAlignment verticalAlignment = VerticalAlignment::top;
    friend bool operator==(const TextTableCellStyle&, const TextTableCellStyle&) = default;
};

/// A cell of a table, as the paragraphs in it see it. Equal are cells of one table with equal places and styles.
struct TextTableBlock {
    std::shared_ptr<const TextTable> table;
    std::shared_ptr<const TextTableCellStyle> style;  // never null
    double width = 0;                                 // 0 where nothing is said
    int row = 0;
    int rowSpan = 1;
    int column = 0;
    int columnSpan = 1;
    friend bool operator==(const TextTableBlock& a, const TextTableBlock& b) {
        return a.table == b.table && a.width == b.width && a.row == b.row && a.rowSpan == b.rowSpan &&
               a.column == b.column && a.columnSpan == b.columnSpan && (a.style == b.style || *a.style == *b.style);
    }
};

struct ParagraphAttributes {
    TextAlignment alignment = TextAlignment::natural;
    WritingDirection writingDirection = WritingDirection::natural;
    double firstLineHeadIndent = 0;  // from the leading margin, as headIndent
    double headIndent = 0;
    double tailIndent = 0;  // from the leading margin; at or below 0 from the trailing one
    double paragraphSpacingBefore = 0;
    double paragraphSpacing = 0;  // after the paragraph
    double lineSpacing = 0;       // between lines
    double lineHeightMultiple = 0;
    double minimumLineHeight = 0;
    double maximumLineHeight = 0;  // 0: no maximum
    double defaultTabInterval = 0;
    double tighteningFactor = 0;
    double hyphenationFactor = 0;
    int headerLevel = 0;  // 1 to 6 for headings
    std::vector<TabStop> tabStops{};
    std::vector<std::shared_ptr<const TextList>> lists{};  // outermost first
    std::vector<TextTableBlock> blocks{};                  // outermost first
    friend bool operator==(const ParagraphAttributes&, const ParagraphAttributes&) = default;
};

/// A file or a folder with files.
struct FileNode {
    std::u16string name;
    Data data;  // of a file
    bool isFolder = false;
    std::vector<FileNode> children;  // of a folder
    friend bool operator==(const FileNode&, const FileNode&) = default;
};

/// What stands at a U+FFFC.
struct Attachment {
    FileNode file;
    std::u16string type{};  // content type, "public.png"; empty where it is not known
    Size size{};            // as shown; zeros: its own
    friend bool operator==(const Attachment&, const Attachment&) = default;
};

/// A text with its runs. A value: a copy is independent and costs a pointer. Safe for readers in several threads.
class AttributedString {
public:
    /// Attributes of the characters up to `end`, from the end of the run before. Neighbours may have equal attributes.
    struct CharacterRun {
        std::size_t end = 0;
        std::shared_ptr<const CharacterAttributes> attributes;
    };
    /// The same of paragraphs: a run ends after a paragraph's separator, or with the text.
    struct ParagraphRun {
        std::size_t end = 0;
        std::shared_ptr<const ParagraphAttributes> attributes;
    };
    struct AttachmentPlace {
        std::size_t position = 0;
        std::shared_ptr<const Attachment> attachment;
    };
    struct Parts {
        std::u16string text;
        std::vector<CharacterRun> characterRuns;
        std::vector<ParagraphRun> paragraphRuns;
        std::vector<AttachmentPlace> attachments;
    };

    AttributedString();
    // A string that was moved from keeps its text: moving is copying.
    AttributedString(const AttributedString&) = default;
    AttributedString& operator=(const AttributedString&) = default;
    ~AttributedString() = default;
    /// Plain text, all of it with the same attributes.
    explicit AttributedString(std::u16string text, CharacterAttributes characters = {},
                              ParagraphAttributes paragraphs = {});
    /// REQUIRES: the runs of either kind have ascending ends, the last one at the end of the text (no runs for no
    /// text), and attributes; the attachments have ascending positions, at U+FFFC units of the text.
    explicit AttributedString(Parts parts);

    [[nodiscard]] std::u16string_view string() const noexcept;
    [[nodiscard]] std::size_t length() const noexcept { return string().size(); }
    [[nodiscard]] bool empty() const noexcept { return length() == 0; }

    [[nodiscard]] std::span<const CharacterRun> characterRuns() const noexcept;
    [[nodiscard]] std::span<const ParagraphRun> paragraphRuns() const noexcept;
    [[nodiscard]] std::span<const AttachmentPlace> attachments() const noexcept;

    /// REQUIRES: position < length().
    [[nodiscard]] const CharacterAttributes& characterAttributesAt(std::size_t position) const;
    [[nodiscard]] const ParagraphAttributes& paragraphAttributesAt(std::size_t position) const;
    /// The attachment at `position`, or a null pointer.
    [[nodiscard]] const Attachment* attachmentAt(std::size_t position) const noexcept;

    void append(const AttributedString& other);
    /// The `length` units from `position` on, cut to what there is.
    [[nodiscard]] AttributedString substring(std::size_t position, std::size_t length) const;

    /// Equal text, and equal attributes and attachments of every unit.
    friend bool operator==(const AttributedString& a, const AttributedString& b);

private:
    std::shared_ptr<Parts> parts_;  // shared; changed only by its one owner
};

/// A rich-text document as its reader returns it.
struct RichTextDocument {
    AttributedString text;
    /// By the platform's keys of document attributes.
    Dictionary documentAttributes;
};

}  // namespace halden
