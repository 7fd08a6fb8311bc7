// A PDF document: its pages, its text and what it says of itself.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"
#include "foundation/Value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halden {

/// What a document may cost.
struct PdfLimits {
    /// Bytes that the engine may hold for the document, its own bytes not counted. What needs more fails.
    std::size_t memory = std::size_t{512} * 1024 * 1024;
    /// The time that opening, and then each call, may take; 0 for no limit. It is looked at whenever the engine asks
    /// for memory or unpacks a block of bytes, so that its work ends soon after.
    double seconds = 0;
    /// The time from the beginning of opening after which no call gets more than a second; 0 for no limit.
    double secondsInAll = 0;
};

/// A page as a picture: 3 bytes a pixel (red, green, blue), rows from the top without gaps.
struct PdfPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

/// Characters that look alike, from the end of the run before.
struct PdfTextRun {
    std::size_t end = 0;    ///< in UTF-16 units
    std::u16string font{};  ///< PostScript name, without the tag of a subset: "Times-Bold"; empty where it has none
    double size = 0;        ///< points
    bool bold = false;
    bool italic = false;
    std::uint32_t color = 0;  ///< sRGB, 0xRRGGBB
    friend bool operator==(const PdfTextRun&, const PdfTextRun&) = default;
};

/// Text and its runs: ends ascend, the last one is the end of the text, neighbours differ.
struct PdfStyledText {
    std::u16string text{};
    std::vector<PdfTextRun> runs{};
};

/// An open document. Pages are numbered from 0.
///
/// Damaged files are rebuilt as far as they can be: their cross-reference table, their object streams, and a page tree
/// made of every page object, in object-number order. A document that is encrypted under the empty password is open;
/// one that needs another is locked: it has a page count, and those attributes that are not encrypted, but no text. A
/// document that encrypts only its attachments is not locked; one encrypted in a way that nobody here knows (for the
/// holders of certificates, say) is. Scripts in a document are never run.
///
/// Used by one thread at a time.
class PdfDocument {
public:
    /// Opens `data`, sharing its bytes. Null when it is no PDF, when it cannot be rebuilt, or when the engine is not
    /// there (see PdfEngine.h).
    [[nodiscard]] static std::unique_ptr<PdfDocument> documentWithData(const Data& data, const PdfLimits& limits = {});

    virtual ~PdfDocument() = default;
    PdfDocument(const PdfDocument&) = delete;
    PdfDocument& operator=(const PdfDocument&) = delete;

    [[nodiscard]] virtual bool isLocked() const noexcept = 0;
    /// Whether anything in the file is encrypted, locked or not.
    [[nodiscard]] virtual bool isEncrypted() const noexcept = 0;
    /// At most a million; 0 for a locked document whose page tree is encrypted.
    [[nodiscard]] virtual int pageCount() const noexcept = 0;
    /// "1.7", the later one of header and catalog; empty when neither makes sense.
    [[nodiscard]] virtual std::string version() = 0;

    /// The media box of a page, inherited or not, in points and before rotation; a letter's when the page has none that
    /// is usable. nullopt for a page that cannot be had.
    [[nodiscard]] virtual std::optional<Size> mediaBoxOfPage(int page) = 0;

    /// The size of a page as it is shown, in points: cut to its crop box, turned and scaled as the page says. nullopt
    /// for a page that cannot be had, and for a locked document.
    [[nodiscard]] virtual std::optional<Size> shownSizeOfPage(int page) = 0;

    /// That page on white with its annotations and form fields, in exactly that many pixels. Whatever breaks off in the
    /// middle, a limit included, is drawn up to there. nullopt when it cannot be had, the document is locked, or a side
    /// is not from 1 to 16,384.
    [[nodiscard]] virtual std::optional<PdfPicture> drawPage(int page, int width, int height) = 0;

    /// The text of a page: lines joined by line feeds, in the order of the page's content; then that of its annotations
    /// and form fields. Ligatures are kept, words are not joined over lines, glyphs without a known character are left
    /// out. Whatever breaks off in the middle, a limit included, counts up to there. Empty when the page has no text;
    /// nullopt when it cannot be had or the document is locked.
    [[nodiscard]] virtual std::optional<std::u16string> textOfPage(int page) = 0;

    /// The text of `textOfPage` with its fonts and colours; a line feed looks as what stands before it.
    [[nodiscard]] virtual std::optional<PdfStyledText> styledTextOfPage(int page) = 0;

    /// "Title", "Author", "Subject", "Creator" and "Producer" (strings), "CreationDate" and "ModDate" (dates; the zone
    /// counts, malformed ones are left out), "Keywords" (an array of strings, split at commas, else at semicolons, and
    /// trimmed), as far as the document has them. Strings are cut after 64 Ki bytes.
    [[nodiscard]] virtual Dictionary documentAttributes() = 0;

protected:
    PdfDocument() = default;
};

}  // namespace halden
