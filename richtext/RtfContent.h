// What the parser makes of an RTF document, before it becomes an attributed string: text with runs of formatting in the
// file's own terms, paragraphs, tables, attachments, and what the file says of itself.
#pragma once

#include "foundation/Value.h"
#include "richtext/RtfFormat.h"
#include "richtext/RtfHeaderTables.h"
#include "richtext/RtfPicture.h"
#include "richtext/RtfTables.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halden {

/// Equal formatting under one number, each number only once. Beyond `kMaxFormats` different ones, the last is used: the
/// text stays, its formatting is lost.
template <class Format, class Hash>
class RtfFormatPool {
public:
    static constexpr std::size_t kMaxFormats = 65536;

    [[nodiscard]] std::uint32_t numberOf(const Format& format) {
        if (const auto found = numbers_.find(format); found != numbers_.end()) return found->second;
        if (formats_.size() >= kMaxFormats) return static_cast<std::uint32_t>(formats_.size() - 1);
        const auto number = static_cast<std::uint32_t>(formats_.size());
        formats_.push_back(format);
        numbers_.emplace(format, number);
        return number;
    }
    [[nodiscard]] const std::vector<Format>& formats() const noexcept { return formats_; }

private:
    std::vector<Format> formats_;
    std::unordered_map<Format, std::uint32_t, Hash> numbers_;
};

/// Characters of one formatting, up to `end` (UTF-16 units).
struct RtfRun {
    std::uint32_t end = 0;
    std::uint32_t format = 0;
};

/// A paragraph with what ends it.
struct RtfParagraphRun {
    std::uint32_t end = 0;
    std::uint32_t format = 0;
    std::int32_t cell = -1;  // of the tables
};

/// What stands at a U+FFFC.
struct RtfAttachment {
    std::uint32_t position = 0;
    std::u16string name;  // of a file of the package; empty for pictures
    std::optional<RtfPictureFile> picture;
    std::int32_t width = 0;  // of files: twips
    std::int32_t height = 0;
};

/// What the file says of the document: numbers in its own units, kRtfUnset where it says nothing.
struct RtfDocumentProperties {
    std::int32_t version = 1;  // \rtf
    std::int32_t cocoaVersion = kRtfUnset;
    std::int32_t cocoaSubversion = kRtfUnset;
    std::int32_t paperWidth = kRtfUnset;
    std::int32_t paperHeight = kRtfUnset;
    std::int32_t leftMargin = kRtfUnset;
    std::int32_t rightMargin = kRtfUnset;
    std::int32_t topMargin = kRtfUnset;
    std::int32_t bottomMargin = kRtfUnset;
    std::int32_t tabInterval = kRtfUnset;
    std::int32_t viewKind = kRtfUnset;
    std::int32_t viewScale = kRtfUnset;
    std::int32_t viewWidth = kRtfUnset;
    std::int32_t viewHeight = kRtfUnset;
    std::int32_t readOnly = kRtfUnset;
    std::int32_t hyphenation = kRtfUnset;
    std::int32_t hyphenationFactor = kRtfUnset;
    std::int32_t textScaling = kRtfUnset;
    std::int32_t screenFonts = kRtfUnset;
    std::int32_t defaultFont = kRtfUnset;            // \deff
    std::int32_t defaultAssociatedFont = kRtfUnset;  // \adeff

    std::u16string title, subject, author, manager, company, editor, category, keywords, comment, copyright;
    std::optional<RtfColor> background;  // of the page
    std::optional<Date> created;
    std::optional<Date> modified;

    /// The number of the font that characters are in.
    [[nodiscard]] std::int32_t fontOf(const RtfCharacter& character) const noexcept {
        if (character.rightToLeft && character.associatedFont != kRtfUnset) return character.associatedFont;
        if (character.rightToLeft && defaultAssociatedFont != kRtfUnset) return defaultAssociatedFont;
        return character.font != kRtfUnset ? character.font : defaultFont;
    }
};

struct RtfContent {
    std::u16string text;
    std::vector<RtfRun> runs;
    std::vector<RtfParagraphRun> paragraphs;
    RtfFormatPool<RtfCharacter, RtfCharacterHash> characters;
    RtfFormatPool<RtfParagraph, RtfParagraphHash> paragraphFormats;
    RtfTables tables;
    std::vector<RtfAttachment> attachments;
    std::vector<std::u16string> links;
    RtfHeaderTables header;
    RtfDocumentProperties properties;
};

/// Reads a document. nullopt when `rtf` does not begin as one (`{\rtf`, white space and a UTF-8 mark before it allowed)
/// or is longer than `kMaxRtfLength`. Everything that begins as RTF is read as far as it goes.
[[nodiscard]] std::optional<RtfContent> parsedRtf(std::string_view rtf);

/// Bytes; positions are 32-bit numbers.
inline constexpr std::size_t kMaxRtfLength = std::size_t{1} << 30;
/// Groups inside groups; deeper ones are passed over.
inline constexpr std::size_t kMaxRtfGroupDepth = 4096;
/// Pictures and files; further ones are dropped.
inline constexpr std::size_t kMaxRtfAttachments = 65536;
/// UTF-16 units of a name, a title, an instruction; the rest is dropped.
inline constexpr std::size_t kMaxRtfCollected = 65536;
/// Tab stops of a paragraph; the rest is dropped.
inline constexpr std::size_t kMaxRtfTabs = 64;

}  // namespace halden
