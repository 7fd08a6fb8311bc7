// HTML to readable plain text, for indexing and for display.
//
// Block elements become line or paragraph breaks, table cells spaces; hidden and decorative content is left out; the
// alternative texts of images stay; entities are decoded. One scan, one buffer.
#pragma once

#include "markup/TagScanner.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

struct PlainTextOptions {
    /// Decode every entity.
    bool entities = false;
    /// Decode the markup-significant ones too (or, without `entities`, only them).
    bool stdEntities = false;
    /// Drop diacritics from the runs of text that are decoded.
    bool nonUmlauted = false;
    /// Join the lines of preformatted text to paragraphs.
    bool reformat = false;
    /// Leave out what stands outside the body. A page without a body is converted whole.
    bool onlyBody = false;
    /// Leave out titles and invisible text, and find keyword stuffing and huge unbroken runs.
    bool removeJunk = false;
    /// Heed the comments "googleoff: index" and "googleon: index".
    bool googleTags = false;
    /// Keep the alternative texts, else the titles, of images.
    bool imageAlts = false;
};

// --- Conversions ---------------------------------------------------------------------------------------------------
// Each gives the text, or `html` itself, moved through, when no body content was found. White space at the end of the
// text is cut, but for the simplified text.

/// `foundJunk`, when given, tells whether junk was found (and left out).
[[nodiscard]] std::u16string stringByConvertingHtml2PlainText(std::u16string html, PlainTextOptions options,
                                                              bool* foundJunk = nullptr);

/// Entities decoded, image texts kept.
[[nodiscard]] std::u16string stringByConvertingHtml2PlainText(std::u16string html);
/// The same without diacritics.
[[nodiscard]] std::u16string stringByConvertingHtml2PlainTextNonUmlauted(std::u16string html);
/// The same with preformatted text reformatted.
[[nodiscard]] std::u16string stringByConvertingHtml2ReformattedPlainText(std::u16string html);
/// A rough text: every run of text in the body after one space, as it stands but for its entities.
[[nodiscard]] std::u16string stringByConvertingHtml2SimplifiedPlainText(std::u16string html);

// --- The parts they are made of ------------------------------------------------------------------------------------

/// What a conversion knows while it scans.
struct PlainTextState {
    char16_t* output = nullptr;     ///< the buffer's start
    char16_t* write = nullptr;      ///< where the next unit goes
    char16_t* breakMark = nullptr;  ///< behind the last line or paragraph break written

    /// BGCOLOR of the last body tag.
    std::optional<std::u16string> backgroundColor{};

    PlainTextOptions options;

    // Regions whose text is left out.
    bool inMarquee = false;
    bool inTextarea = false;
    bool inNoframes = false;  ///< or in an iframe
    bool inNoscript = false;
    bool inHiddenBlock = false;  ///< a hidden div, or an option

    // The line being written.
    bool lineHasText = false;
    bool collapsesWhiteSpace = true;  ///< outside preformatted text
    bool spacePending = false;

    // The page.
    bool bodyContentSeen = false;
    bool hasInvisibleFont = false;
    bool isFeedDate = false;
    bool junkFound = false;

    std::int64_t bodyDepth = 0;
    std::int64_t headingAndAnchorDepth = 0;  ///< never below 0

    static constexpr std::uint64_t kIndex = 1, kSnippet = 2, kAnchor = 4;
    std::uint64_t indexingFlags = kIndex | kSnippet | kAnchor;

    /// Room for a run while its entities are decoded.
    std::u16string scratch{};
};

/// The depth of a page that is converted whole: no end tag leads out of it.
inline constexpr std::int64_t kWholeDocumentDepth = 0x3FFFFFFFFFFFFFFF;

/// Handlers for a scan whose context is a PlainTextState, with room for twice the units of the scanned text in its
/// output. The simple one decodes every entity, whatever the options say, and heeds `nonUmlauted` only.
bool PlainTextHandler(const Tag& tag, void* context);
bool SimplePlainTextHandler(const Tag& tag, void* context);

/// Appends a run of text: decodes its entities, makes white space single spaces, separates it from what is written.
/// Writes one unit more than the run has, at most. A run of nothing only says whether a space is pending.
void appendRangeToPlainText(PlainTextState& state, std::u16string_view run);

/// Converts with one of the handlers above.
[[nodiscard]] std::u16string convertHtml2PlainTextUsingHandler(std::u16string html, TagHandler handler,
                                                               PlainTextOptions options, bool* foundJunk = nullptr);

}  // namespace halden
