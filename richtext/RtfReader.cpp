#include "richtext/RtfReader.h"

#include "richtext/DocumentAttributes.h"
#include "richtext/RtfAttributes.h"
#include "richtext/RtfContent.h"
#include "richtext/RtfTableBlocks.h"

#include <algorithm>
#include <utility>

namespace halden {
namespace {

// Set-up where the file says nothing, in twips: a page of 8.5 by 11 inches.
constexpr std::int32_t kPaperWidth = 12240;
constexpr std::int32_t kPaperHeight = 15840;
constexpr std::int32_t kSideMargin = 1800;
constexpr std::int32_t kTopMargin = 1440;
constexpr std::int32_t kTabInterval = 720;
// The version of the dialect that files without a version are taken for.
constexpr double kOldestVersion = 80;

double points(std::int32_t twips) noexcept {
    return twips / 20.0;
}

/// Numbers of document attributes are of single precision, sizes apart.
double single(double number) noexcept {
    return static_cast<float>(number);
}

std::int32_t statedOr(std::int32_t value, std::int32_t otherwise) noexcept {
    return value == kRtfUnset ? otherwise : value;
}

std::u16string_view trimmed(std::u16string_view text) noexcept {
    while (!text.empty() && text.front() <= u' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() <= u' ')
        text.remove_suffix(1);
    return text;
}

/// Keywords are one text with commas or semicolons between them.
Array keywordsOf(std::u16string_view text) {
    Array keywords;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(u",;"), text.size());
        const std::u16string_view keyword = trimmed(text.substr(0, end));
        if (!keyword.empty()) keywords.emplace_back(keyword);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return keywords;
}

void addInformation(Dictionary& attributes, const RtfDocumentProperties& properties) {
    const auto add = [&](std::u16string_view key, std::u16string_view text) {
        if (!text.empty()) attributes.set(std::u16string(key), text);
    };
    add(kTitleKey, properties.title);
    add(kAuthorKey, properties.author);
    add(kSubjectKey, properties.subject);
    add(kCompanyKey, properties.company);
    add(kCopyrightKey, properties.copyright);
    add(kCommentKey, properties.comment);
    add(kEditorKey, properties.editor);
    add(kManagerKey, properties.manager);
    add(kCategoryKey, properties.category);
    if (Array keywords = keywordsOf(properties.keywords); !keywords.empty()) {
        attributes.set(std::u16string(kKeywordsKey), std::move(keywords));
    }
    if (properties.created) attributes.set(std::u16string(kCreationTimeKey), *properties.created);
    if (properties.modified) attributes.set(std::u16string(kModificationTimeKey), *properties.modified);
}

/// The minor version is given in thousandths.
double versionOf(const RtfDocumentProperties& properties) noexcept {
    const std::int32_t minor = statedOr(properties.cocoaSubversion, 0);
    return single(properties.cocoaVersion + (minor > 0 && minor < 1000 ? minor / 1000.0 : 0.0));
}

Dictionary documentAttributesOf(const RtfDocumentProperties& properties) {
    Dictionary attributes;
    const auto set = [&](std::u16string_view key, Value value) {
        attributes.set(std::u16string(key), std::move(value));
    };
    const bool isCocoa = properties.cocoaVersion != kRtfUnset;
    set(kDocumentTypeKey, kRtfDocumentType);
    set(kUtiKey, u"public.rtf");
    set(kCocoaVersionKey, isCocoa ? versionOf(properties) : kOldestVersion);
    set(kPaperSizeKey, NSStringFromSize({points(statedOr(properties.paperWidth, kPaperWidth)),
                                         points(statedOr(properties.paperHeight, kPaperHeight))}));
    set(kLeftMarginKey, single(points(statedOr(properties.leftMargin, kSideMargin))));
    set(kRightMarginKey, single(points(statedOr(properties.rightMargin, kSideMargin))));
    set(kTopMarginKey, single(points(statedOr(properties.topMargin, kTopMargin))));
    set(kBottomMarginKey, single(points(statedOr(properties.bottomMargin, kTopMargin))));
    set(kDefaultTabIntervalKey, single(points(statedOr(properties.tabInterval, isCocoa ? 0 : kTabInterval))));
    set(kHyphenationFactorKey,
        properties.hyphenation == 0 ? 0.0 : single(statedOr(properties.hyphenationFactor, 0) / 100.0));
    set(kTextScalingKey, statedOr(properties.textScaling, 0));
    set(kUsesScreenFontsKey, statedOr(properties.screenFonts, 0));
    if (properties.viewWidth != kRtfUnset && properties.viewHeight != kRtfUnset) {
        set(kViewSizeKey, NSStringFromSize({points(properties.viewWidth), points(properties.viewHeight)}));
    }
    if (properties.viewScale != kRtfUnset) set(kViewZoomKey, static_cast<double>(properties.viewScale));
    if (properties.viewKind != kRtfUnset) set(kViewModeKey, properties.viewKind);
    if (properties.readOnly != kRtfUnset) set(kReadOnlyKey, properties.readOnly);
    if (const auto& color = properties.background) {
        set(kBackgroundColorKey, valueFromColor({color->red, color->green, color->blue, color->alpha}));
    }
    addInformation(attributes, properties);
    return attributes;
}

/// A name for the picture of a number.
std::u16string pictureName(std::size_t number, std::u16string_view extension) {
    const std::string digits = std::to_string(number);
    std::u16string name = u"Picture " + std::u16string(digits.begin(), digits.end()) + u".";
    name += extension;
    return name;
}

/// Puts an attributed string together from what was parsed.
class Assembly {
public:
    Assembly(RtfContent content, const RtfReadOptions& options)
        : content_(std::move(content)), options_(options), attributes_(content_), blocks_(content_, attributes_) {}

    AttributedString assemble() {
        findRemovals();
        addCharacters();
        addParagraphs();
        addAttachments();
        removeText();
        return AttributedString(std::move(parts_));
    }

private:
    using Parts = AttributedString::Parts;

    /// The paragraphs of cells that only continue others are no text; they are cut out.
    void findRemovals() {
        std::uint32_t start = 0;
        for (const RtfParagraphRun& paragraph : content_.paragraphs) {
            if (blocks_.isContinuation(paragraph.cell)) removals_.push_back({start, paragraph.end});
            start = paragraph.end;
        }
    }

    /// Where a position of the parsed text lies in the assembled one. Positions must come in ascending order between
    /// calls of `restart`.
    std::size_t placeOf(std::size_t position) {
        while (next_ < removals_.size() && removals_[next_].end <= position) {
            removed_ += removals_[next_].end - removals_[next_].start;
            ++next_;
        }
        const bool isInside = next_ < removals_.size() && removals_[next_].start < position;
        return (isInside ? removals_[next_].start : position) - removed_;
    }
    void restart() noexcept { next_ = removed_ = 0; }

    void addCharacters() {
        restart();
        parts_.characterRuns.reserve(content_.runs.size());
        std::size_t start = 0;
        for (const RtfRun& run : content_.runs) {
            const std::size_t end = placeOf(run.end);
            if (end == start) continue;
            parts_.characterRuns.push_back({end, attributes_.characters(run.format)});
            start = end;
        }
    }

    void addParagraphs() {
        restart();
        std::size_t start = 0;
        const RtfParagraphRun* last = nullptr;
        for (const RtfParagraphRun& paragraph : content_.paragraphs) {
            const std::size_t end = placeOf(paragraph.end);
            if (end == start) continue;
            start = end;
            if (last && last->format == paragraph.format && last->cell == paragraph.cell) {
                parts_.paragraphRuns.back().end = end;
                continue;
            }
            parts_.paragraphRuns.push_back({end, attributesOf(paragraph)});
            last = &paragraph;
        }
    }

    std::shared_ptr<const ParagraphAttributes> attributesOf(const RtfParagraphRun& paragraph) {
        std::shared_ptr<const ParagraphAttributes> plain = attributes_.paragraphs(paragraph.format);
        if (paragraph.cell < 0) return plain;
        ParagraphAttributes inCell = *plain;
        inCell.blocks = blocks_.blocks(paragraph.cell);
        return std::make_shared<const ParagraphAttributes>(std::move(inCell));
    }

    void addAttachments() {
        restart();
        for (RtfAttachment& attachment : content_.attachments) {
            const std::size_t position = placeOf(attachment.position);
            parts_.attachments.push_back({position, std::make_shared<const Attachment>(translated(attachment))});
        }
    }

    Attachment translated(RtfAttachment& attachment) {
        Attachment result;
        if (attachment.picture) {
            result.file.name = pictureName(++pictures_, attachment.picture->extension);
            result.file.data = std::move(attachment.picture->data);
            result.type = attachment.picture->type;
            result.size = attachment.picture->size;
            return result;
        }
        if (options_.attachment) {
            if (auto file = options_.attachment(attachment.name)) result.file = std::move(*file);
        }
        result.file.name = std::move(attachment.name);
        result.size = {std::max(0.0, points(attachment.width)), std::max(0.0, points(attachment.height))};
        return result;
    }

    void removeText() {
        parts_.text = std::move(content_.text);
        if (removals_.empty()) return;
        std::size_t kept = 0;
        std::size_t start = 0;
        const auto keep = [&](std::size_t end) {
            std::copy(parts_.text.begin() + static_cast<std::ptrdiff_t>(start),
                      parts_.text.begin() + static_cast<std::ptrdiff_t>(end),
                      parts_.text.begin() + static_cast<std::ptrdiff_t>(kept));
            kept += end - start;
        };
        for (const Removal& removal : removals_) {
            keep(removal.start);
            start = removal.end;
        }
        keep(parts_.text.size());
        parts_.text.resize(kept);
    }

    struct Removal {
        std::uint32_t start = 0;
        std::uint32_t end = 0;
    };

    RtfContent content_;
    const RtfReadOptions& options_;
    RtfAttributes attributes_;
    RtfTableBlocks blocks_;
    std::vector<Removal> removals_;
    std::size_t next_ = 0;     // of the removals, for placeOf
    std::size_t removed_ = 0;  // before it
    std::size_t pictures_ = 0;
    Parts parts_;
};

}  // namespace

std::optional<RichTextDocument> documentFromRtf(std::string_view rtf, const RtfReadOptions& options) {
    std::optional<RtfContent> content = parsedRtf(rtf);
    if (!content) return std::nullopt;
    RichTextDocument document;
    document.documentAttributes = documentAttributesOf(content->properties);
    document.text = Assembly(std::move(*content), options).assemble();
    return document;
}

}  // namespace halden
