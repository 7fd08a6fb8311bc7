// Character and paragraph formatting as control words state it: numbers in the file's own units, indices into its
// tables. Small, comparable and hashable, so that equal formatting is translated to attributes once.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halden {

/// Nothing was said.
inline constexpr std::int32_t kRtfUnset = INT32_MIN;

enum class RtfUnderline : std::uint8_t {
    none,
    single,
    word,
    doubled,
    thick,
    dotted,
    dashed,
    dashDotted,
    dashDotDotted,
    wave,
};

/// The formatting that \plain resets.
struct RtfCharacter {
    std::int32_t font = kRtfUnset;            // \f: a number of the font table
    std::int32_t associatedFont = kRtfUnset;  // \af: for right-to-left text
    std::int32_t size = 12000;                // thousandths of a point
    std::int32_t associatedSize = kRtfUnset;  // \afs
    std::int32_t color = 0;                   // \cf: an index into the colour table
    std::int32_t background = 0;              // \cb, \highlight, \chcbpat
    std::int32_t underlineColor = 0;
    std::int32_t strikeColor = 0;
    std::int32_t strokeColor = 0;
    std::int32_t strokeWidth = 0;  // twentieths
    std::int32_t shadowColor = 0;
    std::int32_t shadowX = 0;  // twentieths of a point
    std::int32_t shadowY = 0;
    std::int32_t shadowRadius = 0;
    std::int32_t shadowOpacity = 255;
    std::int32_t baseline = 0;  // half points, positive upwards
    std::int32_t kern = 0;      // twentieths of a point
    std::int32_t language = 0;  // Windows language number
    std::int32_t ligature = 1;
    std::int32_t obliqueness = 0;  // twentieths
    std::int32_t expansion = 0;
    std::int32_t link = 0;  // 1 + index of the hyperlink, 0 without
    std::int32_t superscript = 0;
    std::int32_t cocoaUnderline = kRtfUnset;  // \ulstyle: the platform's own number
    std::int32_t cocoaStrike = kRtfUnset;
    RtfUnderline underline = RtfUnderline::none;
    std::uint8_t strike = 0;  // 1 single, 2 double
    bool bold = false;
    bool italic = false;
    bool associatedBold = false;    // \ab
    bool associatedItalic = false;  // \ai
    bool rightToLeft = false;       // \rtlch: the associated font, size and styles hold
    bool caps = false;
    bool smallCaps = false;
    bool outline = false;
    bool shadow = false;
    bool hidden = false;
    bool deleted = false;

    friend bool operator==(const RtfCharacter&, const RtfCharacter&) noexcept = default;
};

enum class RtfTabKind : std::uint8_t { left, right, center, decimal };

struct RtfTab {
    std::int32_t position = 0;  // twips
    RtfTabKind kind = RtfTabKind::left;
    friend bool operator==(const RtfTab&, const RtfTab&) noexcept = default;
};

enum class RtfAlignment : std::uint8_t { natural, left, right, center, justified };
enum class RtfDirection : std::uint8_t { unset, natural, leftToRight, rightToLeft };

/// How paragraphs of before Word 97 are numbered (\pn): the kind of number, and the marks around it.
struct RtfOldNumbering {
    enum class Kind : std::uint8_t { none, bullet, decimal, upperRoman, upperLetter, lowerRoman, lowerLetter };
    Kind kind = Kind::none;
    std::int32_t level = 0;
    std::int32_t start = 1;
    std::u16string before;
    std::u16string after;
    friend bool operator==(const RtfOldNumbering&, const RtfOldNumbering&) = default;
};

/// The formatting that \pard resets. Tab stops and old numbering are shared between copies and replaced when changed.
struct RtfParagraph {
    std::int32_t leftIndent = 0;  // twips, as all lengths here
    std::int32_t rightIndent = 0;
    std::int32_t firstIndent = 0;
    std::int32_t spaceBefore = 0;
    std::int32_t spaceAfter = 0;
    std::int32_t lineSpacing = 0;          // \sl
    std::int32_t leading = 0;              // \slleading
    std::int32_t minimumLineHeight = 0;    // \slminimum
    std::int32_t maximumLineHeight = 0;    // \slmaximum
    std::int32_t tabInterval = kRtfUnset;  // \pardeftab
    std::int32_t tightening = 0;           // \partightenfactor, hundredths
    std::int32_t outlineLevel = 0;         // \outlinelevel
    std::int32_t list = 0;                 // \ls
    std::int32_t listLevel = 0;            // \ilvl
    std::int32_t nesting = kRtfUnset;      // \itap
    std::int32_t background = 0;           // \cbpat
    bool multipleLineSpacing = false;      // \slmult
    bool inTable = false;                  // \intbl
    bool hyphenated = true;                // \hyphpar
    RtfAlignment alignment = RtfAlignment::natural;
    RtfDirection direction = RtfDirection::unset;
    std::shared_ptr<const std::vector<RtfTab>> tabs;
    std::shared_ptr<const RtfOldNumbering> numbering;

    friend bool operator==(const RtfParagraph& a, const RtfParagraph& b) noexcept;
    /// How deep in tables the paragraph lies: 0 outside.
    [[nodiscard]] std::int32_t tableLevel() const noexcept {
        return nesting != kRtfUnset && nesting >= 0 ? nesting : (inTable ? 1 : 0);
    }
};

struct RtfCharacterHash {
    std::size_t operator()(const RtfCharacter& character) const noexcept;
};
struct RtfParagraphHash {
    std::size_t operator()(const RtfParagraph& paragraph) const noexcept;
};

}  // namespace halden
