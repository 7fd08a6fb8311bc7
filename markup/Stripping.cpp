#include "markup/Stripping.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Characters.h"
#include "foundation/StringSearch.h"
#include "markup/TagAttributes.h"
#include "markup/TagNames.h"
#include "markup/TagScanner.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace halden {
namespace {

std::u16string widened(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

bool endsInWhite(const std::u16string& text) {
    return whiteCharacterSetRep().contains(lastCharacter(text));  // an empty text ends in character 0, which is white
}

bool startsElement(std::u16string_view tag) {
    return formOfTag(tag) == TagForm::start;
}

/// The name of any token, as far as tags of that name are concerned.
TagNameKey keyOf(const Tag& tag) {
    return tagNameKey(tag.name());
}

// --- Tags ----------------------------------------------------------------------------------------------------------

bool StripTagsHandler(const Tag& tag, void* context) {
    auto& result = *static_cast<std::u16string*>(context);
    const std::u16string_view run = tag.text();
    if (run.empty()) return false;
    if (!endsInWhite(result)) result += u' ';
    result += run;
    return false;
}

/// A scan for the tags of one name.
struct SingleTag {
    std::u16string_view name;
    std::optional<std::u16string> result;  ///< nullopt until the first match

    [[nodiscard]] bool matches(const Tag& tag) const {
        if (tag.nameLength != name.size()) return false;
        const ConversionTable& upper = initUpperCharsTable();
        return std::ranges::equal(tag.name(), name, {}, [&](char16_t unit) { return upper[unit]; });
    }
    /// The text before the token; before the first match, everything up to the token.
    void takeTextBefore(const Tag& tag) {
        if (result) {
            *result += tag.text();
        } else {
            result.emplace();
            result->reserve(tag.characters.size());
            *result += tag.characters.substr(0, tag.tagLocation);
        }
    }
    void takeWhole(const Tag& tag) {
        if (!result) return;
        *result += tag.text();
        *result += tag.tag();
    }
};

bool StripTagHandler(const Tag& tag, void* context) {
    auto& wanted = *static_cast<SingleTag*>(context);
    if (wanted.matches(tag)) {
        wanted.takeTextBefore(tag);
    } else {
        wanted.takeWhole(tag);
    }
    return false;
}

/// What a tag becomes without its attributes.
std::u16string bareTag(std::u16string_view tag, std::u16string_view name) {
    constexpr std::size_t kShortestEndTag = 4;
    const TagForm form = formOfTag(tag);
    std::u16string bare;
    if (form == TagForm::end)
        return tag.size() >= kShortestEndTag ? bare.append(u"</").append(name).append(u">") : bare;
    if (form == TagForm::none) return bare;
    for (const std::string_view attribute : {"HREF", "SRC"}) {
        const std::optional<std::u16string> value = attributeOfTagCharacters(tag, attribute);
        if (!value) continue;
        bare.append(u"<").append(name).append(u" ").append(widened(attribute)).append(u"=\"").append(*value);
        return bare.append(form == TagForm::selfClosing ? u"\"/>" : u"\">");
    }
    if (form == TagForm::start) bare.append(u"<").append(name).append(u">");
    return bare;
}

bool StripTagAttributesHandler(const Tag& tag, void* context) {
    auto& wanted = *static_cast<SingleTag*>(context);
    if (wanted.matches(tag)) {
        wanted.takeTextBefore(tag);
        *wanted.result += bareTag(tag.tag(), wanted.name);
    } else {
        wanted.takeWhole(tag);
    }
    return false;
}

std::u16string stripSingleTag(std::u16string html, std::string_view tagName, TagHandler handler) {
    if (tagName.empty()) return html;
    const std::u16string name = widened(tagName);
    SingleTag wanted{.name = name, .result = std::nullopt};
    GetTagsOfString(html, handler, &wanted);
    return wanted.result ? *std::move(wanted.result) : html;
}

// --- Elements with their bodies ------------------------------------------------------------------------------------

struct ElementBodies {
    std::vector<std::u16string_view> prefixes;
    std::optional<std::u16string> result;
    std::u16string_view name;  ///< of the element that the scan is in; empty outside
    std::uint64_t depth = 0;

    [[nodiscard]] bool inElement() const noexcept { return depth > 0; }

    void append(std::u16string_view text) {
        if (!result) result.emplace();
        *result += text;
    }

    /// Whether the token starts a listed element, which the scan then is in.
    bool enters(const Tag& tag) {
        const std::u16string_view characters = tag.tag();
        if (!startsElement(characters)) return false;
        const bool isListed = std::ranges::any_of(prefixes, [&](std::u16string_view prefix) {
            return prefix.size() <= characters.size() &&
                   fastCaseInsensitiveCompareUnichars(characters.substr(0, prefix.size()), prefix) == 0;
        });
        if (!isListed) return false;
        name = tag.name();
        depth = 1;
        return true;
    }

    /// Counts the nesting of the element; returns whether the token ended it.
    bool leaves(const Tag& tag) {
        const std::u16string_view characters = tag.tag();
        const TagForm form = formOfTag(characters);
        if (form == TagForm::none || tag.nameLength != name.size() ||
            fastCaseInsensitiveCompareUnichars(tag.name(), name) != 0) {
            return false;
        }
        depth += form == TagForm::start ? 1 : -1;
        return depth == 0;
    }
};

bool StripTagBodiesHandler(const Tag& tag, void* context) {
    auto& bodies = *static_cast<ElementBodies*>(context);
    if (bodies.inElement()) {
        bodies.leaves(tag);
        return false;
    }
    bodies.append(tag.text());
    if (!bodies.enters(tag)) bodies.append(tag.tag());
    return false;
}

bool StripTagBodiesExceptHandler(const Tag& tag, void* context) {
    auto& bodies = *static_cast<ElementBodies*>(context);
    if (bodies.inElement()) {
        bodies.append(tag.text());
        bodies.append(tag.tag());
        if (bodies.leaves(tag)) bodies.append(u"\n");
    } else if (bodies.enters(tag)) {
        bodies.append(tag.tag());
    }
    return false;
}

// --- Objects -------------------------------------------------------------------------------------------------------

struct ObjectStripping {
    std::u16string result;
    bool inObject = false;
    bool inParam = false;
    bool inApplet = false;
    bool inEmbed = false;
    bool inIframe = false;
    bool inAudio = false;
    bool inVideo = false;
    bool inCanvas = false;
    bool replacesImages = false;

    [[nodiscard]] bool inAny() const noexcept {
        return inObject || inParam || inApplet || inEmbed || inIframe || inAudio || inVideo || inCanvas;
    }

    /// The flag of the element with that name, or a null pointer.
    [[nodiscard]] bool* flagOf(TagNameKey name) noexcept {
        switch (name) {
            case "object"_tag:
                return &inObject;
            case "param"_tag:
                return &inParam;
            case "applet"_tag:
                return &inApplet;
            case "embed"_tag:
                return &inEmbed;
            case "iframe"_tag:
                return &inIframe;
            case "audio"_tag:
                return &inAudio;
            case "video"_tag:
                return &inVideo;
            case "canvas"_tag:
                return &inCanvas;
            default:
                return nullptr;
        }
    }

    void takeImageText(std::u16string_view tag) {
        std::optional<std::u16string> text = attributeOfTagCharacters(tag, "ALT");
        if (!text) text = attributeOfTagCharacters(tag, "TITLE");
        if (!text) return;
        if (!endsInWhite(result)) result += u' ';
        result.append(*text).append(u"\n");
    }
};

bool StripObjectsHandler(const Tag& tag, void* context) {
    auto& stripping = *static_cast<ObjectStripping*>(context);
    if (!stripping.inAny()) stripping.result += tag.text();
    const TagNameKey name = keyOf(tag);
    if (name == "link"_tag || name == "script"_tag) return false;
    if (name == "img"_tag && stripping.replacesImages) {
        stripping.takeImageText(tag.tag());
    } else if (bool* flag = stripping.flagOf(name)) {
        *flag = startsElement(tag.tag());
    } else {
        stripping.result += tag.tag();
    }
    return false;
}

// --- Links ---------------------------------------------------------------------------------------------------------

struct LinkStripping {
    std::u16string result;
    bool inAnchor = false;
};

bool StripLinksHandler(const Tag& tag, void* context) {
    auto& stripping = *static_cast<LinkStripping*>(context);
    if (!stripping.inAnchor) stripping.result += tag.text();
    switch (keyOf(tag)) {
        case "link"_tag:
            break;
        case "a"_tag:
            stripping.inAnchor = startsElement(tag.tag());
            break;
        default:
            stripping.result += tag.tag();
            break;
    }
    return false;
}

/// Without white space and line ends at both ends; what else counts as white in a text is no white space here.
std::u16string_view trimmed(std::u16string_view string) {
    const auto isTrimmed = [](char16_t unit) {
        constexpr std::u16string_view kKept(u"\u0000\u0003\uFEFF\uFFFC", 4);
        return whiteCharacterSetRep().contains(unit) && kKept.find(unit) == std::u16string_view::npos;
    };
    while (!string.empty() && isTrimmed(string.front()))
        string.remove_prefix(1);
    while (!string.empty() && isTrimmed(string.back()))
        string.remove_suffix(1);
    return string;
}

}  // namespace

std::u16string stripTags(std::u16string_view html) {
    std::u16string result;
    result.reserve(html.size());
    GetTagsOfString(html, StripTagsHandler, &result);
    return result;
}

std::u16string stripTag(std::u16string html, std::string_view tagName) {
    return stripSingleTag(std::move(html), tagName, StripTagHandler);
}

std::u16string stripAttributesOfTag(std::u16string html, std::string_view tagName) {
    return stripSingleTag(std::move(html), tagName, StripTagAttributesHandler);
}

std::optional<std::u16string> stripTagBodies(std::u16string html, std::span<const std::u16string> prefixes,
                                             StrippedBodies stripped) {
    ElementBodies bodies;
    std::ranges::copy_if(prefixes, std::back_inserter(bodies.prefixes),
                         [](const auto& prefix) { return !prefix.empty(); });
    const bool keepsListed = stripped == StrippedBodies::allButTheListed;
    if (bodies.prefixes.empty() || html.empty()) return keepsListed ? std::nullopt : std::optional(std::move(html));
    if (!keepsListed) bodies.result.emplace().reserve(html.size());
    GetTagsOfString(html, keepsListed ? StripTagBodiesExceptHandler : StripTagBodiesHandler, &bodies);
    return std::move(bodies.result);
}

std::optional<std::u16string> stripTagBodies(std::u16string html, std::span<const std::u16string> prefixes) {
    return stripTagBodies(std::move(html), prefixes, StrippedBodies::listed);
}

std::optional<std::u16string> stripTagBodiesExcept(std::u16string html, std::span<const std::u16string> prefixes) {
    return stripTagBodies(std::move(html), prefixes, StrippedBodies::allButTheListed);
}

std::u16string stripObjectsAndReplaceImages(std::u16string_view html, ImageReplacement images) {
    ObjectStripping stripping{.result = {}, .replacesImages = images == ImageReplacement::text};
    stripping.result.reserve(html.size());
    GetTagsOfString(html, StripObjectsHandler, &stripping);
    return std::move(stripping.result);
}

std::u16string stripLinks(std::u16string_view html) {
    LinkStripping stripping;
    stripping.result.reserve(html.size());
    GetTagsOfString(html, StripLinksHandler, &stripping);
    return std::move(stripping.result);
}

bool isHTML(std::u16string_view string) {
    constexpr std::size_t kShortestDocument = 6;
    const std::u16string_view text = trimmed(string);
    if (text.size() < kShortestDocument || text.front() != u'<' || text.back() != u'>') return false;
    return fastCaseInsensitiveUnicharsContainChars(text, "<!DOCTYPE HTML") != nullptr ||
           fastCaseInsensitiveUnicharsContainChars(text, "<HTML") != nullptr ||
           fastCaseInsensitiveUnicharsContainChars(text, "<TITLE>") != nullptr;
}

}  // namespace halden
