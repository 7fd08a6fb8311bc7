#include "markup/LinkCleaning.h"

#include "foundation/Characters.h"
#include "foundation/Log.h"
#include "foundation/PercentEscapes.h"
#include "foundation/StringTrimming.h"
#include "foundation/Unicode.h"
#include "markup/Entities.h"
#include "markup/PageTags.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

/// Values shorter than this are too short for a reference, or for two pairs of escaped quotes.
constexpr std::size_t kShortest = 4;

bool isDroppedEverywhere(char16_t unit) {
    constexpr std::u16string_view kDropped = u"\u0003\u0009\u000A\u000C\u000D\u2028\u2029\uFEFF\uFFFC";
    return kDropped.find(unit) != std::u16string_view::npos;
}

void removePairs(std::u16string& value, std::u16string_view pair, std::size_t shortest) {
    std::u16string_view rest = value;
    while (rest.size() >= shortest && rest.starts_with(pair) && rest.ends_with(pair)) {
        rest.remove_prefix(pair.size());
        rest.remove_suffix(pair.size());
    }
    if (rest.size() != value.size()) value = std::u16string(rest);
}

/// Escaped tabs, line ends, spaces, quotes, ">", "\" and brackets that were written into the value by mistake.
void removeTrailingEscapes(std::u16string& value) {
    constexpr std::array kTrimmed{0x09, 0x0A, 0x0D, 0x20, 0x22, 0x27, 0x3E, 0x5C, 0x5D};
    while (value.size() >= 3 && value[value.size() - 3] == u'%') {
        const int high = hexDigitValue(value[value.size() - 2]);
        const int low = hexDigitValue(value[value.size() - 1]);
        if (high < 0 || low < 0 || std::ranges::find(kTrimmed, high * 16 + low) == kTrimmed.end()) return;
        value.resize(value.size() - 3);
    }
}

/// How long the scheme before the first ":" is; 0 when there is none.
std::size_t schemeLength(std::u16string_view link) {
    const auto isSchemeUnit = [](char16_t unit) {
        return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'-';
    };
    std::size_t length = 0;
    while (length < link.size() && isSchemeUnit(link[length]))
        ++length;
    return length < link.size() && link[length] == u':' ? length : 0;
}

bool isOfAnotherProgram(std::u16string_view link) {
    static constexpr std::string_view kSchemes[] = {
        "irc:",    "icq:",    "aim:",      "rdar:",       "data:",          "about:",      "ymsgr:",      "sword:",
        "webcal:", "callto:", "sherlock:", "x-man-page:", "haldenaddress:", "javascript:", "applescript:"};
    return std::ranges::any_of(kSchemes, [&](std::string_view scheme) { return beginsNoCase(link, scheme); });
}

}  // namespace

std::optional<std::u16string> normalizedStringURL(std::u16string_view source, PercentEscapes escapes) {
    const CharacterBitmap& white = whiteCharacterSetRep();
    std::u16string value;
    value.reserve(source.size());
    bool hasContent = false;
    for (const char16_t unit : source) {
        if (isDroppedEverywhere(unit)) continue;
        value += unit;
        hasContent = hasContent || !white.contains(unit);
    }
    if (!hasContent) return std::nullopt;
    if (value.find(u'\\') != std::u16string::npos) {
        const bool hasQuery = value.find(u'?') != std::u16string::npos;
        removePairs(value, u"\\\"", kShortest);
        if (!hasQuery) std::ranges::replace(value, u'\\', u'/');
    }
    if (value.size() >= kShortest) {
        value.resize(
            convertEntities2Characters(value.data(), value.data(), 0, value.size(), {.decodesSpecials = true}));
    }
    removeTrailingEscapes(value);
    if (escapes == PercentEscapes::decode) {
        value.resize(convertPercentEscapesOfURL(value.data(), value.size(), PercentEscapeMode::full));
        if (value.empty()) return std::nullopt;
    }
    value = stringByTrimmingSpacesAndFeeds(std::move(value), TrimmedSet::white);
    removePairs(value, u"\"", 2);
    if (value.empty()) return std::nullopt;
    return value;
}

std::optional<std::u16string> normalizedRelLink(std::u16string_view source) {
    std::optional<std::u16string> value = normalizedStringURL(source);
    if (value && !value->starts_with(u'.') && !value->starts_with(u'/') &&
        value->find(u"://") == std::u16string::npos) {
        value->insert(0, u"/");
    }
    return value;
}

bool filterLink(std::u16string_view link) {
    if (link == u"#" || link == u"&" || link == u"-" || link == u":") return true;
    const std::size_t scheme = schemeLength(link);
    if (scheme == 0) return false;
    const bool hasSlash = link.size() > scheme + 1 && link[scheme + 1] == u'/';
    if (!hasSlash && !beginsNoCase(link, "feed:")) return true;
    if (scheme >= 3 && scheme <= 12 && hasSlash && isOfAnotherProgram(link)) return true;
    return scheme >= 7 && beginsNoCase(link, "x-halden");
}

std::optional<Url> baseURL(std::u16string_view href) {
    const std::optional<std::u16string> cleaned = normalizedStringURL(href);
    if (!cleaned || cleaned->starts_with(u'#')) return std::nullopt;
    std::optional<Url> url = URLWithNormalizedStringURL(*cleaned);
    if (url && isRemoteWebKitURL(*url)) return url;
    logWarning("Invalid base: " + utf8FromUtf16(*cleaned));
    return std::nullopt;
}

}  // namespace halden
