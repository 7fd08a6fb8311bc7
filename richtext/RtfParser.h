// The parser of RTF: tokens in, RtfContent out. One object reads one document; its parts lie in several files by
// subject.
#pragma once

#include "richtext/RtfCodePages.h"
#include "richtext/RtfContent.h"
#include "richtext/RtfControlWords.h"
#include "richtext/RtfListMarkers.h"
#include "richtext/RtfTokenizer.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// Where the text of a group goes, and which words mean what.
enum class RtfDestination : std::uint8_t {
    body,
    ignored,  // words and groups are read, text is dropped
    fontTable,
    colorTable,
    expandedColorTable,
    styleSheet,
    listTable,
    list,
    listLevel,
    levelText,
    levelMarker,
    listOverrideTable,
    listOverride,
    listOverrideLevel,
    info,
    infoText,
    infoDate,
    oldNumbering,
    oldNumberingBefore,
    oldNumberingAfter,
    fieldInstruction,
    picture,
    attachment,
    rowProperties,   // \nesttableprops
    pageBackground,  // \background: a shape, whose properties alone count
    shapePropertyName,
    shapePropertyValue,
};

/// What braces save and restore.
struct RtfGroup {
    static constexpr std::uint32_t kNoFormat = UINT32_MAX;

    RtfCharacter character;
    RtfParagraph paragraph;
    const RtfCodePage* page = nullptr;          // nullptr: to be found from the font
    std::uint32_t characterFormat = kNoFormat;  // the number of `character`, once it is known
    std::uint32_t paragraphFormat = kNoFormat;
    std::int32_t fallbackLength = 1;    // \uc
    bool inMarker = false;              // \listtext, \pntext
    std::int32_t textBoxLevel = -1;     // inside a text box: how deep in tables it is anchored
    RtfWord opener = RtfWord::unknown;  // the word that made this group a destination, unknown in groups within
    RtfDestination destination = RtfDestination::body;
    RtfDestination outerDestination = RtfDestination::body;  // of the \upr around
};

class RtfParser {
public:
    explicit RtfParser(std::string_view rtf) : tokenizer_(rtf) {}

    /// To be called once.
    [[nodiscard]] RtfContent parse();

private:
    // RtfParser.cpp: groups, text.
    void beginGroup();
    void endGroup();
    void passOverGroup();
    void word(const RtfToken& token);
    void symbol(char c);
    void byte(std::uint8_t value);
    void text(std::string_view bytes, bool isHex = false);
    void unicode(std::int32_t number);
    [[nodiscard]] const RtfCodePage& page();
    void flushBytes();
    void emit(std::u16string_view units);
    void emitUnit(char16_t unit) { emit({&unit, 1}); }
    void collect(std::u16string_view units);
    [[nodiscard]] std::u16string takeCollected();
    [[nodiscard]] bool skipsFallback(const RtfToken& token);

    // RtfParserDestinations.cpp: what opens destinations of the header, and closes all.
    void open(RtfWord opener, RtfDestination destination);
    void gather(RtfWord opener, RtfDestination destination);
    void openTable(RtfWord word);
    void openInformation(RtfWord word);
    void closeDestination(RtfWord opener);

    // RtfParserContent.cpp: fields, pictures, attachments, shapes.
    void pictureWord(RtfWord word, std::int32_t parameter);
    void openContent(RtfWord word, bool starred);
    void openShapeProperty(RtfWord word);
    void closeShapeProperty();
    void closePageBackground();
    void openTextBox();
    void closeField();
    void closeFieldInstruction();
    void insertSymbol(char32_t number, std::u16string_view font, bool isUnicode);
    void openMarker(RtfWord word);
    void closeMarker();
    void closePicture();
    void closeAttachment();

    // RtfParserHeader.cpp: the document, its tables and its information.
    void documentWord(RtfWord word, std::int32_t parameter, bool hasParameter);
    void fontWord(RtfWord word, std::int32_t parameter);
    void fontTableText(std::u16string_view units);
    void endFontEntry();
    void colorWord(RtfWord word, std::int32_t parameter);
    void colorTableText(std::u16string_view units);
    void styleWord(RtfWord word, std::int32_t parameter);
    void endStyle();
    void infoWord(RtfWord word, std::int32_t parameter);
    void closeInfoText(RtfWord opener);
    void closeInfoDate(RtfWord opener);

    // RtfParserLists.cpp
    void openOverrideLevel();
    void listWord(RtfWord word, std::int32_t parameter, bool hasParameter);
    void closeListText(RtfWord opener);
    void closeListLevel();
    void closeListOverride();

    // RtfParserFormat.cpp: formatting.
    void paragraphWord(RtfWord word, std::int32_t parameter, bool hasParameter);
    void characterWord(RtfWord word, std::int32_t parameter, bool hasParameter);
    void underlineWord(RtfWord word, bool on);
    void applyStyle(std::int32_t number, bool paragraphToo);

    // RtfParserBody.cpp: paragraphs, the text itself.
    void specialWord(RtfWord word);
    void insertMarker();
    void appendToBody(std::u16string_view units);
    void cutBody(std::size_t length);
    [[nodiscard]] bool noteFormatOfBody();
    void insertAttachment(RtfAttachment attachment);
    void endParagraph(char16_t separator, std::int32_t level);
    void endParagraphIfAny();
    void finishBody();

    // RtfParserTables.cpp
    void tableWord(RtfWord word, std::int32_t parameter);
    void borderWord(RtfWord word, std::int32_t parameter);
    void endCell(std::int32_t level);
    void endRow(std::int32_t level);

    [[nodiscard]] RtfRowDefinitionBuilder& rowBuilder() noexcept {
        return group_.destination == RtfDestination::rowProperties ? nestedRow_ : row_;
    }
    [[nodiscard]] std::size_t paragraphStart() const noexcept {
        return content_.paragraphs.empty() ? 0 : content_.paragraphs.back().end;
    }
    [[nodiscard]] std::int32_t paragraphLevel() const noexcept {
        return group_.textBoxLevel >= 0 ? group_.textBoxLevel : group_.paragraph.tableLevel();
    }

    struct Field {
        std::u16string instruction;
        std::int32_t link = 0;
        std::size_t start = 0;  // of its result in the text
    };

    RtfTokenizer tokenizer_;
    RtfContent content_;
    RtfCodePages pages_;
    int documentPage_ = 1252;

    std::vector<RtfGroup> stack_;
    RtfGroup group_;
    bool starred_ = false;             // after \*
    bool placeholderFollows_ = false;  // after the group of an attachment
    bool dropsPlaceholder_ = false;    // the character after an attachment stands for it
    std::int32_t fallbackLeft_ = 0;    // characters after \u still to be passed over
    std::string pendingBytes_;         // of a multi-byte page
    std::u16string decoded_;           // scratch
    std::u16string collected_;         // of the destination that gathers text
    std::uint32_t lastParagraphFormat_ = 0;
    std::int32_t lastParagraphLevel_ = 0;

    std::int32_t fontNumber_ = kRtfUnset;
    RtfFont font_;
    int fontStatedPage_ = 0;
    bool fontNameEnded_ = false;
    RtfColor color_;
    bool colorStated_ = false;
    RtfColorSpace colorSpace_ = RtfColorSpace::none;
    std::vector<double> colorComponents_;
    std::size_t extendedColorIndex_ = 0;
    std::int32_t styleNumber_ = kRtfUnset;
    std::int32_t styleBase_ = kRtfUnset;
    RtfList list_;
    RtfListLevel level_;
    std::vector<RtfListOverrideLevel> overrideLevels_;
    bool overridesFormat_ = false;
    std::int32_t overrideList_ = 0;
    std::int32_t overrideNumber_ = kRtfUnset;
    std::array<std::int32_t, 6> date_{};
    RtfOldNumbering oldNumbering_;

    RtfTabKind tabKind_ = RtfTabKind::left;

    RtfListCounters counters_;
    std::size_t markerStart_ = 0;             // of the marker that the file gave last
    std::size_t markerEnd_ = 0;               // and its end
    std::size_t markedParagraph_ = SIZE_MAX;  // start of the paragraph that last opened a marker of its own
    std::u16string shapePropertyName_;
    std::optional<std::int32_t> pageFill_;  // blue, green and red from the highest byte
    bool pageIsFilled_ = true;
    RtfPicture picture_;
    RtfAttachment attachment_;
    std::vector<Field> fields_;
    RtfRowDefinitionBuilder row_;
    RtfRowDefinitionBuilder nestedRow_;
    RtfBorder ignoredBorder_;
    RtfBorder* border_ = &ignoredBorder_;
};

}  // namespace halden
