#include "richtext/RtfAttributes.h"

#include "richtext/FontNames.h"
#include "richtext/RtfListMarkers.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <cstdlib>

namespace halden {
namespace {

constexpr double kTwipsInPoint = 20;

int lineStyle(RtfUnderline underline) noexcept {
    switch (underline) {
        case RtfUnderline::none:
            return kLineNone;
        case RtfUnderline::single:
            return kLineSingle;
        case RtfUnderline::word:
            return kLineSingle | kLineByWord;
        case RtfUnderline::doubled:
            return kLineDouble;
        case RtfUnderline::thick:
            return kLineThick;
        case RtfUnderline::dotted:
            return kLineSingle | kLinePatternDot;
        case RtfUnderline::dashed:
            return kLineSingle | kLinePatternDash;
        case RtfUnderline::dashDotted:
            return kLineSingle | kLinePatternDashDot;
        case RtfUnderline::dashDotDotted:
            return kLineSingle | kLinePatternDashDotDot;
        case RtfUnderline::wave:
            return kLineThick | kLinePatternDot;
    }
    return kLineNone;
}

TextAlignment alignmentOf(RtfAlignment alignment) noexcept {
    switch (alignment) {
        case RtfAlignment::natural:
            return TextAlignment::natural;
        case RtfAlignment::left:
            return TextAlignment::left;
        case RtfAlignment::right:
            return TextAlignment::right;
        case RtfAlignment::center:
            return TextAlignment::center;
        case RtfAlignment::justified:
            return TextAlignment::justified;
    }
    return TextAlignment::natural;
}

TabStopType typeOf(RtfTabKind kind) noexcept {
    switch (kind) {
        case RtfTabKind::left:
            return TabStopType::left;
        case RtfTabKind::right:
            return TabStopType::right;
        case RtfTabKind::center:
            return TabStopType::center;
        case RtfTabKind::decimal:
            return TabStopType::decimal;
    }
    return TabStopType::left;
}

/// The name of a kind of number in marker formats; empty for bullets.
std::u16string_view numberName(std::int32_t kind) noexcept {
    switch (kind) {
        case 1:
            return u"{upper-roman}";
        case 2:
            return u"{lower-roman}";
        case 3:
            return u"{upper-alpha}";
        case 4:
            return u"{lower-alpha}";
        case 23:
        case 255:
            return {};
        default:
            return u"{decimal}";
    }
}

/// Bullets that marker formats have names for; others stand for themselves.
std::u16string bulletFormat(std::u16string_view bullet) {
    struct Row {
        std::u16string_view bullet;
        std::u16string_view format;
    };
    static constexpr Row kRows[] = {{u"\u2022", u"{disc}"},   {u"\u00B7", u"{disc}"},   {u"\u25CF", u"{disc}"},
                                    {u"\u25E6", u"{circle}"}, {u"o", u"{circle}"},      {u"\u25CB", u"{circle}"},
                                    {u"\u25AA", u"{square}"}, {u"\u25A0", u"{square}"}, {u"\u2043", u"{hyphen}"},
                                    {u"-", u"{hyphen}"},      {u"\u2713", u"{check}"},  {u"\u25C6", u"{diamond}"}};
    for (const Row& row : kRows) {
        if (row.bullet == bullet) return std::u16string(row.format);
    }
    return std::u16string(bullet);
}

/// Whether a level's paragraphs are marked by nothing at all: no number, and no text around it.
bool isUnmarked(const RtfListLevel& level) noexcept {
    constexpr std::int32_t kNoNumber = 255;
    return level.numberKind == kNoNumber && level.marker.empty() &&
           std::ranges::all_of(level.text, [](char16_t unit) { return unit < RtfHeaderTables::kMaxListLevels; });
}

}  // namespace

std::u16string markerFormatOf(const RtfListLevel& level, std::size_t number) {
    if (!level.marker.empty()) return level.marker;
    const std::u16string_view name = numberName(level.numberKind);
    if (name.empty()) return bulletFormat(level.text);
    // The numbers of outer levels, and what stands between, are no part of this level's format.
    std::u16string format;
    for (const char16_t unit : level.text) {
        if (unit >= RtfHeaderTables::kMaxListLevels) {
            format += unit;
        } else if (unit == number) {
            format += name;
        } else {
            format.clear();
        }
    }
    const std::size_t place = format.find(name);
    if (place == format.npos) return std::u16string(name) + format;
    const bool followsOuterLevel = !level.text.empty() && level.text.find(static_cast<char16_t>(number)) != 0 &&
                                   level.text.front() < RtfHeaderTables::kMaxListLevels;
    return followsOuterLevel ? format.substr(place) : format;
}

std::optional<Color> RtfAttributes::color(std::int32_t index) const {
    const std::optional<RtfColor> color = content_.header.color(index);
    if (!color) return std::nullopt;
    return Color{color->red, color->green, color->blue, color->alpha};
}

std::shared_ptr<const CharacterAttributes> RtfAttributes::characters(std::uint32_t format) {
    if (characters_.empty()) characters_.resize(content_.characters.formats().size());
    auto& attributes = characters_[format];
    if (!attributes) {
        attributes = std::make_shared<const CharacterAttributes>(translated(content_.characters.formats()[format]));
    }
    return attributes;
}

std::shared_ptr<const ParagraphAttributes> RtfAttributes::paragraphs(std::uint32_t format) {
    if (paragraphs_.empty()) paragraphs_.resize(content_.paragraphFormats.formats().size());
    auto& attributes = paragraphs_[format];
    if (!attributes) {
        attributes =
            std::make_shared<const ParagraphAttributes>(translated(content_.paragraphFormats.formats()[format]));
    }
    return attributes;
}

CharacterAttributes RtfAttributes::translated(const RtfCharacter& character) {
    CharacterAttributes attributes;
    const RtfDocumentProperties& properties = content_.properties;
    const RtfFont* font = content_.header.font(properties.fontOf(character));
    const bool isAssociated = character.rightToLeft;
    const std::int32_t size =
        isAssociated && character.associatedSize != kRtfUnset ? character.associatedSize : character.size;
    const bool isCocoa = properties.cocoaVersion != kRtfUnset || properties.version == 0;
    attributes.font = fontNamed(font && !font->name.empty() ? std::u16string_view(font->name) : u"Helvetica",
                                isCocoa ? FontNaming::postScript : FontNaming::family, size / 1000.0,
                                isAssociated ? character.associatedBold : character.bold,
                                isAssociated ? character.associatedItalic : character.italic);
    attributes.foreground = color(character.color);
    // Index 0 is "automatic": no colour, even where the table gives it one.
    if (character.color == 0) attributes.foreground.reset();
    if (character.background != 0) attributes.background = color(character.background);
    attributes.underline =
        character.cocoaUnderline != kRtfUnset ? character.cocoaUnderline : lineStyle(character.underline);
    if (attributes.underline != kLineNone && character.underlineColor != 0) {
        attributes.underlineColor = color(character.underlineColor);
    }
    constexpr int kStrikes[] = {kLineNone, kLineSingle, kLineDouble};
    attributes.strikethrough =
        character.cocoaStrike != kRtfUnset ? character.cocoaStrike : kStrikes[std::min<int>(character.strike, 2)];
    if (attributes.strikethrough != kLineNone && character.strikeColor != 0) {
        attributes.strikethroughColor = color(character.strikeColor);
    }
    attributes.superscript = character.superscript;
    attributes.baselineOffset = character.baseline / 2.0;
    attributes.kern = character.kern / kTwipsInPoint;
    attributes.ligature = character.ligature;
    attributes.obliqueness = character.obliqueness / 20.0;
    attributes.expansion = character.expansion / 20.0;
    if (character.strokeWidth != 0) {
        attributes.strokeWidth = character.strokeWidth / 20.0;
    } else if (character.outline) {
        attributes.strokeWidth = 3;
    }
    if (attributes.strokeWidth != 0 && character.strokeColor != 0) {
        attributes.strokeColor = color(character.strokeColor);
    }
    if (character.shadow) {
        Shadow shadow{.x = character.shadowX / kTwipsInPoint,
                      .y = character.shadowY / kTwipsInPoint,
                      .blurRadius = character.shadowRadius / kTwipsInPoint,
                      .color = color(character.shadowColor)};
        if (!shadow.color) shadow.color = Color{};
        shadow.color->alpha = character.shadowOpacity / 255.0;
        attributes.shadow = shadow;
    }
    if (character.link != 0) attributes.link = content_.links[static_cast<std::size_t>(character.link) - 1];
    attributes.language = language(character.language);
    return attributes;
}

ParagraphAttributes RtfAttributes::translated(const RtfParagraph& paragraph) {
    ParagraphAttributes attributes;
    attributes.alignment = alignmentOf(paragraph.alignment);
    if (paragraph.direction == RtfDirection::rightToLeft) attributes.writingDirection = WritingDirection::rightToLeft;
    if (paragraph.direction == RtfDirection::leftToRight) attributes.writingDirection = WritingDirection::leftToRight;
    const auto points = [](std::int64_t twips) { return static_cast<double>(twips) / kTwipsInPoint; };
    attributes.headIndent = points(paragraph.leftIndent);
    attributes.firstLineHeadIndent = points(std::int64_t{paragraph.leftIndent} + paragraph.firstIndent);
    attributes.tailIndent = paragraph.rightIndent == 0 ? 0 : -points(paragraph.rightIndent);
    attributes.paragraphSpacingBefore = points(paragraph.spaceBefore);
    attributes.paragraphSpacing = points(paragraph.spaceAfter);
    attributes.lineSpacing = points(paragraph.leading);
    attributes.minimumLineHeight = points(paragraph.minimumLineHeight);
    attributes.maximumLineHeight = points(paragraph.maximumLineHeight);
    // \sl: multiples of a line in 240ths, or twips: at least so much, or exactly so much below 0.
    if (paragraph.multipleLineSpacing) {
        attributes.lineHeightMultiple = paragraph.lineSpacing == 240 ? 0 : std::abs(paragraph.lineSpacing / 240.0);
    } else if (paragraph.lineSpacing > 0) {
        attributes.minimumLineHeight = points(paragraph.lineSpacing);
    } else if (paragraph.lineSpacing < 0) {
        attributes.minimumLineHeight = -points(paragraph.lineSpacing);
        attributes.maximumLineHeight = attributes.minimumLineHeight;
    }
    if (paragraph.tabInterval != kRtfUnset) attributes.defaultTabInterval = points(paragraph.tabInterval);
    attributes.tighteningFactor = paragraph.tightening / 100.0;
    const std::int32_t hyphenation = content_.properties.hyphenationFactor;
    if (!paragraph.hyphenated || hyphenation == kRtfUnset) {
        attributes.hyphenationFactor = 0;
    } else {
        attributes.hyphenationFactor = hyphenation / 100.0;
    }
    attributes.headerLevel = std::clamp(paragraph.outlineLevel, 0, 6);
    if (paragraph.tabs) {
        for (const RtfTab& tab : *paragraph.tabs)
            attributes.tabStops.push_back({points(tab.position), typeOf(tab.kind)});
        std::ranges::stable_sort(attributes.tabStops, {}, &TabStop::location);
    }
    attributes.lists = lists(paragraph);
    return attributes;
}

std::u16string RtfAttributes::language(std::int32_t number) {
    // 1024 is "none", 255 in the low byte a user's default.
    if (number <= 0 || number == 1024 || number > 0xFFFF) return {};
    const auto [place, isNew] = languages_.try_emplace(number);
    if (isNew) {
        char locale[ULOC_FULLNAME_CAPACITY];
        char tag[ULOC_FULLNAME_CAPACITY];
        UErrorCode error = U_ZERO_ERROR;
        const std::int32_t length =
            uloc_getLocaleForLCID(static_cast<std::uint32_t>(number), locale, sizeof locale - 1, &error);
        if (U_SUCCESS(error) && length > 0 && length < static_cast<std::int32_t>(sizeof locale)) {
            const std::int32_t tagLength = uloc_toLanguageTag(locale, tag, sizeof tag, 0, &error);
            if (U_SUCCESS(error)) place->second.assign(tag, tag + tagLength);
        }
    }
    return place->second;
}

std::vector<std::shared_ptr<const TextList>> RtfAttributes::lists(const RtfParagraph& paragraph) {
    std::vector<std::shared_ptr<const TextList>> lists;
    if (paragraph.list != 0) {
        const RtfList* list = content_.header.list(paragraph.list);
        if (!list) return lists;
        const std::size_t levels = std::min(static_cast<std::size_t>(paragraph.listLevel) + 1, list->levels.size());
        if (levels > 0 && isUnmarked(list->levels[levels - 1])) return lists;
        for (std::size_t level = 0; level < levels; ++level) {
            auto& shared = lists_[{paragraph.list, level}];
            if (!shared) {
                shared = std::make_shared<const TextList>(
                    TextList{.markerFormat = markerFormatOf(list->levels[level], level),
                             .startingItemNumber = list->levels[level].start});
            }
            lists.push_back(shared);
        }
    } else if (paragraph.numbering && paragraph.numbering->kind != RtfOldNumbering::Kind::none) {
        const RtfOldNumbering& numbering = *paragraph.numbering;
        auto& shared = oldLists_[{numbering.kind, numbering.start, numbering.before, numbering.after}];
        if (!shared) {
            const std::u16string_view name = numberName(rtfNumberKind(numbering.kind));
            const std::u16string format = name.empty() ? bulletFormat(numbering.before + numbering.after)
                                                       : numbering.before + std::u16string(name) + numbering.after;
            shared = std::make_shared<const TextList>(
                TextList{.markerFormat = format, .startingItemNumber = numbering.start});
        }
        lists.push_back(shared);
    }
    return lists;
}

}  // namespace halden
