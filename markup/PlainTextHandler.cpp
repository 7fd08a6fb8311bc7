// What each tag does to the plain text of a page.
#include "foundation/CharacterComparison.h"
#include "foundation/Characters.h"
#include "foundation/Strings.h"
#include "foundation/WideUnits.h"
#include "markup/Entities.h"
#include "markup/Html2Text.h"
#include "markup/PlainTextWriter.h"
#include "markup/TagAttributes.h"
#include "markup/TagNames.h"

#include <algorithm>
#include <string>

namespace halden {
namespace {

// --- Comments for indexers -----------------------------------------------------------------------------------------

constexpr std::size_t kShortestIndexingComment = 19;

bool contains(std::u16string_view text, std::string_view word) {
    return fastUnicharsContainChars(text, word) != nullptr;
}

bool containsNoCase(std::u16string_view text, std::string_view word) {
    return fastCaseInsensitiveUnicharsContainChars(text, word) != nullptr;
}

std::uint64_t indexingFlagsNamedIn(std::u16string_view comment) {
    if (contains(comment, "all")) return PlainTextState::kIndex | PlainTextState::kSnippet | PlainTextState::kAnchor;
    return (contains(comment, "index") ? PlainTextState::kIndex : 0) |
           (contains(comment, "snippet") ? PlainTextState::kSnippet : 0) |
           (contains(comment, "anchor") ? PlainTextState::kAnchor : 0);
}

void heedComment(PlainTextState& state, const Tag& tag) {
    if (!state.options.googleTags || tag.kind != TagKind::remark || tag.tagLength < kShortestIndexingComment) return;
    if (containsNoCase(tag.tag(), "googleon:")) state.indexingFlags |= indexingFlagsNamedIn(tag.tag());
    if (containsNoCase(tag.tag(), "googleoff:")) state.indexingFlags &= ~indexingFlagsNamedIn(tag.tag());
}

// --- Hidden and invisible text -------------------------------------------------------------------------------------

bool containsInOrder(std::u16string_view text, std::string_view first, std::string_view second) {
    const char16_t* place = fastUnicharsContainChars(text, first);
    if (place == nullptr) return false;
    const std::size_t behind = static_cast<std::size_t>(place - text.data()) + first.size();
    return contains(text.substr(behind), second);
}

bool isFarOutside(const std::u16string& style, std::u16string_view property) {
    constexpr std::int64_t kFarthestVisible = -1000;
    const std::optional<std::u16string> value = attributeOfStyleWithName(style, property);
    return value && integerValue(*value) < kFarthestVisible;
}

/// Whether a tag holds, in any case, one of the pairs without which it cannot be hidden: the middle of "hidden" and of
/// "width", the ends of "position:" and of "display:".
bool mayBeHidden(std::u16string_view tag) {
    const auto isPair = [](char16_t first, char16_t second) {
        const int a = first | 0x20;
        const int b = second | 0x20;
        return (a == u'd' && (b == u'd' || b == u't')) || (b == (u':' | 0x20) && (a == u'n' || a == u'y'));
    };
    const auto is = [](WideUnits units, char16_t unit) { return units == WideUnits::broadcast(unit); };
    const WideUnits lower = WideUnits::broadcast(0x20);
    std::size_t at = 0;
    for (; at + WideUnits::kCount < tag.size(); at += WideUnits::kCount) {
        const WideUnits a = WideUnits::load(tag.data() + at) | lower;
        const WideUnits b = WideUnits::load(tag.data() + at + 1) | lower;
        const WideUnits pairs =
            (is(a, u'd') & (is(b, u'd') | is(b, u't'))) | (is(b, u':' | 0x20) & (is(a, u'n') | is(a, u'y')));
        if (pairs.bits() != 0) return true;
    }
    for (; at + 1 < tag.size(); ++at) {
        if (isPair(tag[at], tag[at + 1])) return true;
    }
    return false;
}

bool isHiddenDiv(std::u16string_view tag) {
    constexpr std::size_t kShortestHiddenTag = 16;
    if (tag.size() < kShortestHiddenTag || !mayBeHidden(tag)) return false;
    const std::optional<std::u16string> tagClass = attributeOfTagCharacters(tag, "CLASS");
    if (tagClass && fastCaseInsensitiveCompareUnicharsWithChars(*tagClass, "hidden") == 0) return true;
    if (containsInOrder(tag, "visibility", "hidden") || containsInOrder(tag, "display:", "none")) return true;
    const std::optional<std::u16string> style = attributeOfTagCharacters(tag, "STYLE");
    if (style && containsNoCase(*style, "position:absolute") &&
        (isFarOutside(*style, u"TOP") || isFarOutside(*style, u"LEFT"))) {
        return true;
    }
    const auto isTiny = [](std::int64_t length) { return length >= 1 && length <= 3; };
    std::int64_t width = 0;
    std::int64_t height = 0;
    return getTagWidthCharacters(tag, &width, &height) && isTiny(width) && isTiny(height);
}

/// Whether the style has a size of 1 to 4 points, of one digit.
bool hasTinyPointSize(std::u16string_view style) {
    const auto isDigit = [](char16_t unit) { return (unit >= u'0' && unit <= u'9') || unit == u'.'; };
    for (std::size_t at = style.find(u"pt"); at != std::u16string_view::npos; at = style.find(u"pt", at + 1)) {
        const bool hasDigit = at >= 1 && style[at - 1] >= u'1' && style[at - 1] <= u'4';
        if (hasDigit && (at < 2 || !isDigit(style[at - 2]))) return true;
    }
    return false;
}

void readFont(PlainTextState& state, std::u16string_view tag) {
    state.hasInvisibleFont = false;
    state.isFeedDate = false;
    if (formOfTag(tag) != TagForm::start) return;
    const std::optional<std::u16string> color = attributeOfTagCharacters(tag, "COLOR");
    const std::optional<std::u16string> style = attributeOfTagCharacters(tag, "STYLE");
    state.hasInvisibleFont =
        (color && state.backgroundColor && fastCaseInsensitiveCompareUnichars(*color, *state.backgroundColor) == 0) ||
        (style && contains(*style, "font-size") && hasTinyPointSize(*style));
    state.isFeedDate = attributeOfTagCharacters(tag, "CLASS") == u"feed_date";
}

/// Many long words that nobody sees are there for search engines.
bool isKeywordStuffing(PlainTextState& state, std::u16string_view run) {
    constexpr std::size_t kShortestRun = 100;
    constexpr std::size_t kFewestWords = 5;
    constexpr std::size_t kShortestAverage = 6;
    if (run.size() < kShortestRun) return false;
    run = trimmedRun(decodedRun(state, run));
    if (run.size() < kShortestRun) return false;
    const CharacterBitmap& alphaNum = alphaNumCharacterSetRep();
    std::size_t words = 0;
    std::size_t letters = 0;
    bool inWord = false;
    for (const char16_t unit : run) {
        const bool isLetter = alphaNum.contains(unit);
        words += isLetter && !inWord ? 1 : 0;
        letters += isLetter ? 1 : 0;
        inWord = isLetter;
    }
    return words >= kFewestWords && letters >= kShortestAverage * words;
}

// --- Text ----------------------------------------------------------------------------------------------------------

void takeText(PlainTextState& state, const Tag& tag, TagNameKey name) {
    const std::u16string_view run = tag.text();
    if (run.empty()) return;
    const PlainTextOptions& options = state.options;
    if (options.removeJunk && name == "title"_tag) return;
    if (state.inHiddenBlock || state.inMarquee || state.inTextarea || state.inNoframes || state.inNoscript) return;
    if (options.removeJunk && state.hasInvisibleFont) {
        state.junkFound = state.junkFound || isKeywordStuffing(state, run);
        return;
    }
    if (options.googleTags && ((state.indexingFlags & PlainTextState::kIndex) == 0 || state.isFeedDate)) return;
    appendRangeToPlainText(state, run);
}

void takeImageText(PlainTextState& state, std::u16string_view tag) {
    if (!state.options.imageAlts) return;
    std::optional<std::u16string> text = attributeOfTagCharacters(tag, "ALT");
    if (!text) text = attributeOfTagCharacters(tag, "TITLE");
    if (!text) return;
    state.spacePending = true;
    appendRangeToPlainText(state, *text);
    state.spacePending = true;
}

// --- Regions -------------------------------------------------------------------------------------------------------

void leaveSkippedRegions(PlainTextState& state) {
    state.inMarquee = false;
    state.inTextarea = false;
}

void forgetPresentation(PlainTextState& state) {
    state.hasInvisibleFont = false;
    state.isFeedDate = false;
    state.inHiddenBlock = false;
    leaveSkippedRegions(state);
    state.backgroundColor.reset();
}

void enterOrLeaveBody(PlainTextState& state, std::u16string_view tag) {
    state.bodyDepth += depthChangeOfTag(tag);
    forgetPresentation(state);
    state.inNoframes = false;
    state.backgroundColor = attributeOfTagCharacters(tag, "BGCOLOR");
}

void changeHeadingAndAnchorDepth(PlainTextState& state, std::u16string_view tag) {
    state.headingAndAnchorDepth = std::max<std::int64_t>(0, state.headingAndAnchorDepth + depthChangeOfTag(tag));
}

void takeTagOutsideBody(PlainTextState& state, std::u16string_view tag, TagNameKey name) {
    switch (name) {
        case "noframes"_tag:
            state.bodyDepth += depthChangeOfTag(tag);
            forgetPresentation(state);
            state.inNoframes = formOfTag(tag) == TagForm::start;
            break;
        case "noscript"_tag:
            state.bodyDepth += depthChangeOfTag(tag);
            forgetPresentation(state);
            state.inNoscript = formOfTag(tag) == TagForm::start;
            break;
        case "body"_tag:
            enterOrLeaveBody(state, tag);
            break;
        case "head"_tag:
            state.bodyDepth -= depthChangeOfTag(tag);
            break;
        default:
            break;
    }
}

// --- Tags in the body ----------------------------------------------------------------------------------------------

void takeCell(PlainTextState& state) {
    if (!writeSpaceUnlessWhite(state)) state.spacePending = true;
    state.lineHasText = false;
}

void takeRow(PlainTextState& state) {
    if (state.lineHasText || !lastWrittenIsLineBreak(state)) writeLineBreak(state);
}

void takeTable(PlainTextState& state) {
    if (state.lineHasText) writeParagraphBreak(state);
    if (state.write - state.output >= 2 && isLineBreak(state.write[-1]) && !isLineBreak(state.write[-2])) {
        writeLineBreak(state);
    }
}

void takePreformatted(PlainTextState& state, std::u16string_view tag) {
    const bool starts = formOfTag(tag) == TagForm::start;
    state.collapsesWhiteSpace = !starts;
    if (starts) writeParagraphBreak(state);
}

void takeHeading(PlainTextState& state, std::u16string_view tag) {
    if (state.lineHasText) writeParagraphBreak(state);
    changeHeadingAndAnchorDepth(state, tag);
    leaveSkippedRegions(state);
}

void takeTagInBody(PlainTextState& state, std::u16string_view tag, TagNameKey name) {
    const bool starts = formOfTag(tag) == TagForm::start;
    switch (name) {
        case "a"_tag:
            changeHeadingAndAnchorDepth(state, tag);
            state.spacePending = true;
            break;
        case "br"_tag:
        case "dd"_tag:
        case "dl"_tag:
        case "dt"_tag:
        case "li"_tag:
        case "ol"_tag:
        case "ul"_tag:
            if (state.lineHasText) writeLineBreak(state);
            break;
        case "tr"_tag:
            takeRow(state);
            break;
        case "p"_tag:
        case "hr"_tag:
        case "blockquote"_tag:
            if (state.lineHasText) writeParagraphBreak(state);
            break;
        case "h0"_tag:
        case "h1"_tag:
        case "h2"_tag:
        case "h3"_tag:
        case "h4"_tag:
        case "h5"_tag:
        case "h6"_tag:
        case "h7"_tag:
        case "h8"_tag:
        case "h9"_tag:
            takeHeading(state, tag);
            break;
        case "td"_tag:
        case "th"_tag:
            takeCell(state);
            break;
        case "div"_tag:
            if (state.lineHasText) writeParagraphBreak(state);
            state.inHiddenBlock = isHiddenDiv(tag);
            break;
        case "pre"_tag:
        case "plaintext"_tag:
            takePreformatted(state, tag);
            break;
        case "img"_tag:
            takeImageText(state, tag);
            break;
        case "code"_tag:
        case "cite"_tag:
            if (state.lineHasText) writeSpaceUnlessWhite(state);
            break;
        case "font"_tag:
            readFont(state, tag);
            break;
        case "body"_tag:
            enterOrLeaveBody(state, tag);
            break;
        case "input"_tag:
            if (!writeSpaceUnlessWhite(state)) state.spacePending = true;
            leaveSkippedRegions(state);
            break;
        case "table"_tag:
            takeTable(state);
            break;
        case "iframe"_tag:
        case "noframes"_tag:
            state.inNoframes = starts;
            break;
        case "noscript"_tag:
            state.inNoscript = starts;
            break;
        case "option"_tag:
            state.inHiddenBlock = starts;
            break;
        case "select"_tag:
            state.inHiddenBlock = false;
            leaveSkippedRegions(state);
            break;
        case "marquee"_tag:
            state.inMarquee = starts;
            break;
        case "textarea"_tag:
            state.inTextarea = starts;
            break;
        default:
            break;
    }
}

}  // namespace

bool PlainTextHandler(const Tag& tag, void* context) {
    auto& state = *static_cast<PlainTextState*>(context);
    const TagNameKey name = tagNameKey(tag.name());
    if (state.bodyDepth < 1) {
        if (tag.nameLength == 0) {
            heedComment(state, tag);
        } else {
            takeTagOutsideBody(state, tag.tag(), name);
        }
        return false;
    }
    state.bodyContentSeen = true;
    takeText(state, tag, name);
    if (tag.nameLength == 0) {
        heedComment(state, tag);
    } else {
        takeTagInBody(state, tag.tag(), name);
    }
    return false;
}

bool SimplePlainTextHandler(const Tag& tag, void* context) {
    auto& state = *static_cast<PlainTextState*>(context);
    const std::u16string_view run = tag.text();
    if (state.bodyDepth >= 1) {
        state.bodyContentSeen = true;
        if (!run.empty()) {
            *state.write++ = u' ';
            state.write +=
                convertEntities2Characters(run.data(), state.write, 0, run.size(),
                                           {.decodesSpecials = true, .nonUmlauted = state.options.nonUmlauted});
        }
    }
    switch (tagNameKey(tag.name())) {
        case "noframes"_tag:
        case "body"_tag:
            state.bodyDepth += depthChangeOfTag(tag.tag());
            break;
        case "head"_tag:
            state.bodyDepth -= depthChangeOfTag(tag.tag());
            break;
        default:
            break;
    }
    return false;
}

}  // namespace halden
