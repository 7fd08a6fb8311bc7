#include "foundation/Url.h"

#include "foundation/Characters.h"
#include "foundation/Path.h"
#include "foundation/PercentEscapes.h"
#include "foundation/Unicode.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace halden {
namespace {

constexpr auto kNone = std::u16string_view::npos;

// --- Characters ----------------------------------------------------------------------------------------------------

constexpr bool isAsciiLetter(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}
constexpr bool isAsciiDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}
constexpr bool isAlphanumeric(char16_t unit) {
    return isAsciiLetter(unit) || isAsciiDigit(unit);
}

constexpr bool equalsNoCase(std::u16string_view string, std::u16string_view lower) {
    return std::ranges::equal(string, lower, {}, [](char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    });
}

/// The parts of an address that differ in what they may hold.
enum Place : std::uint8_t {
    kRegisteredName = 1,
    kUserInfo = 2,
    kFirstSegment = 4,  // of a path that could be taken for a scheme
    kPath = 8,
    kQueryOrFragment = 16,
};

/// For each ASCII character the places where it may stand unescaped.
constexpr auto kAllowedAt = [] {
    std::array<std::uint8_t, 128> allowed{};
    const auto allow = [&](std::u16string_view units, unsigned places) {
        for (const char16_t unit : units)
            allowed[unit] = static_cast<std::uint8_t>(allowed[unit] | places);
    };
    constexpr unsigned kEverywhere = kRegisteredName | kUserInfo | kFirstSegment | kPath | kQueryOrFragment;
    for (char16_t unit = 0; unit < 128; ++unit) {
        if (isAlphanumeric(unit)) allow({&unit, 1}, kEverywhere);
    }
    allow(u"-._~!$&'()*+,;=", kEverywhere);
    allow(u":", kUserInfo | kPath | kQueryOrFragment);
    allow(u"@", kFirstSegment | kPath | kQueryOrFragment);
    allow(u"/", kPath | kQueryOrFragment);
    allow(u"?", kQueryOrFragment);
    return allowed;
}();

void appendEscape(std::u16string& out, unsigned char byte) {
    constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
    out += {u'%', kDigits[byte >> 4], kDigits[byte & 15]};
}

/// Writes `text` with escapes for all that may not stand at `place`; escapes stay.
void appendEscaped(std::u16string& out, std::u16string_view text, Place place) {
    const auto isAllowed = [&](std::size_t i) {
        return text[i] < 128 ? (kAllowedAt[text[i]] & place) != 0 || escapedByteAt(text, i).has_value() : false;
    };
    for (std::size_t i = 0; i < text.size();) {
        std::size_t end = i;
        while (end < text.size() && isAllowed(end))
            ++end;
        out += text.substr(i, end - i);
        if (end == text.size()) return;
        i = end;
        const bool isPair = isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1]);
        const std::size_t length = isPair ? 2 : 1;
        const std::u16string_view character =
            isSurrogate(text[i]) && !isPair ? std::u16string_view(&kReplacementCharacter, 1) : text.substr(i, length);
        for (const char byte : utf8FromUtf16(character))
            appendEscape(out, static_cast<unsigned char>(byte));
        i += length;
    }
}

/// The bytes of `text`, which is ASCII, with its escapes decoded.
std::string decodedBytes(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = escapedByteAt(text, i);
        bytes += static_cast<char>(byte ? *byte : text[i]);
        i += byte ? 3 : 1;
    }
    return bytes;
}

// --- Parts ---------------------------------------------------------------------------------------------------------

/// An address cut at its delimiters, whatever stands between them.
struct Parts {
    std::u16string_view scheme;
    std::optional<std::u16string_view> authority;
    std::u16string_view path;
    std::optional<std::u16string_view> query;
    std::optional<std::u16string_view> fragment;
};

/// Cuts off the end of `text` from the first `delimiter` on and gives what is behind it.
std::optional<std::u16string_view> cutAt(std::u16string_view& text, char16_t delimiter) {
    const std::size_t index = text.find(delimiter);
    if (index == kNone) return std::nullopt;
    const std::u16string_view rest = text.substr(index + 1);
    text = text.substr(0, index);
    return rest;
}

std::size_t schemeLength(std::u16string_view text) {
    if (text.empty() || !isAsciiLetter(text.front())) return 0;
    std::size_t length = 1;
    while (length < text.size() &&
           (isAlphanumeric(text[length]) || text[length] == u'+' || text[length] == u'-' || text[length] == u'.')) {
        ++length;
    }
    return length < text.size() && text[length] == u':' ? length : 0;
}

Parts split(std::u16string_view text) {
    Parts parts;
    parts.fragment = cutAt(text, u'#');
    parts.query = cutAt(text, u'?');
    if (const std::size_t length = schemeLength(text); length > 0) {
        parts.scheme = text.substr(0, length);
        text.remove_prefix(length + 1);
    }
    if (text.starts_with(u"//")) {
        text.remove_prefix(2);
        const std::size_t end = std::min(text.find(u'/'), text.size());
        parts.authority = text.substr(0, end);
        text.remove_prefix(end);
    }
    parts.path = text;
    return parts;
}

Parts partsOf(const Url& url) {
    return {.scheme = url.scheme(),
            .authority = url.authority(),
            .path = url.path(),
            .query = url.query(),
            .fragment = url.fragment()};
}

/// "[" an IPv6 address or what later versions of the protocol will have "]".
bool isAddressLiteral(std::u16string_view host) {
    if (!host.starts_with(u'[') || !host.ends_with(u']')) return false;
    const std::u16string_view address = host.substr(1, host.size() - 2);
    if (address.starts_with(u'v') || address.starts_with(u'V')) {
        const std::size_t dot = address.find(u'.');
        if (dot == kNone || dot < 2 || dot + 1 == address.size()) return false;
        return std::ranges::all_of(address.substr(1, dot - 1), [](char16_t u) { return hexDigitValue(u) >= 0; }) &&
               std::ranges::all_of(address.substr(dot + 1),
                                   [](char16_t u) { return u < 128 && (kAllowedAt[u] & kUserInfo) != 0; });
    }
    std::string bytes;
    for (const char16_t unit : address) {
        if (unit == 0 || unit >= 128) return false;
        bytes += static_cast<char>(unit);
    }
    in6_addr ignored{};
    return inet_pton(AF_INET6, bytes.c_str(), &ignored) == 1;
}

}  // namespace

// --- Building ------------------------------------------------------------------------------------------------------

/// Writes the parts of an address one after the other and notes where they are.
class UrlBuilder {
public:
    static std::optional<Url> build(const Parts& parts) {
        UrlBuilder builder;
        std::u16string& out = builder.url_.string_;
        if (!parts.scheme.empty()) {
            builder.url_.scheme_ = {0, parts.scheme.size()};
            out += parts.scheme;
            out += u':';
        }
        if (parts.authority && !builder.addAuthority(*parts.authority)) return std::nullopt;
        builder.addPath(parts);
        if (parts.query) builder.url_.query_ = builder.add(u'?', *parts.query);
        if (parts.fragment) builder.url_.fragment_ = builder.add(u'#', *parts.fragment);
        if (out.empty()) return std::nullopt;
        return std::move(builder.url_);
    }

private:
    bool addAuthority(std::u16string_view authority) {
        std::u16string& out = url_.string_;
        out += u"//";
        const std::size_t start = out.size();
        if (const std::size_t at = authority.rfind(u'@'); at != kNone) {
            appendEscaped(out, authority.substr(0, at), kUserInfo);
            out += u'@';
            authority.remove_prefix(at + 1);
        }
        std::size_t portLength = 0;
        while (portLength < authority.size() && isAsciiDigit(authority[authority.size() - 1 - portLength]))
            ++portLength;
        // A colon that is followed by anything else is no port's, and may stand in an IPv6 address only.
        const bool hasPort = portLength < authority.size() && authority[authority.size() - 1 - portLength] == u':';
        const std::u16string_view port = hasPort ? authority.substr(authority.size() - 1 - portLength) : u"";
        const std::u16string_view host = authority.substr(0, authority.size() - port.size());
        const std::size_t hostStart = out.size();
        if (host.find_first_of(u"[]:") != kNone) {
            if (!isAddressLiteral(host)) return false;
            out += host;
        } else {
            appendEscaped(out, host, kRegisteredName);
        }
        url_.host_ = {hostStart, out.size() - hostStart};
        out += port;
        url_.authority_ = {start, out.size() - start};
        return true;
    }

    void addPath(const Parts& parts) {
        std::u16string& out = url_.string_;
        const std::size_t start = out.size();
        std::u16string_view path = parts.path;
        if (parts.scheme.empty() && !parts.authority) {
            const std::size_t end = std::min(path.find(u'/'), path.size());
            appendEscaped(out, path.substr(0, end), kFirstSegment);
            path.remove_prefix(end);
        }
        if (!parts.authority && parts.path.starts_with(u"//")) out += u"/.";
        appendEscaped(out, path, kPath);
        url_.path_ = {start, out.size() - start};
    }

    Range add(char16_t delimiter, std::u16string_view text) {
        std::u16string& out = url_.string_;
        out += delimiter;
        const std::size_t start = out.size();
        appendEscaped(out, text, kQueryOrFragment);
        return {start, out.size() - start};
    }

    Url url_;
};

// --- The value -----------------------------------------------------------------------------------------------------

bool Url::hasScheme(std::u16string_view wanted) const noexcept {
    return equalsNoCase(scheme(), wanted);
}

std::u16string_view Url::resourceSpecifier() const noexcept {
    return std::u16string_view(string_).substr(scheme_.length == 0 ? 0 : scheme_.length + 1);
}

std::u16string Url::host() const {
    std::u16string_view host = substringWithRange(string_, host_);
    if (host.starts_with(u'[')) host = host.substr(1, host.size() - 2);
    if (host.find(u'%') == kNone) return std::u16string(host);
    return utf16FromUtf8(decodedBytes(host));
}

std::optional<std::u16string> Url::filePath() const {
    if (!isFileURL()) return std::nullopt;
    std::u16string decoded = stringFromPathBytes(decodedBytes(path()));
    if (!decoded.starts_with(u'/') || !pathBytesFromString(decoded)) return std::nullopt;
    return decoded;
}

std::optional<Url> URLWithString(std::u16string_view string) {
    std::optional<Url> url = URLWithNormalizedStringURL(string);
    if (url && url->absoluteString() != string) return std::nullopt;
    return url;
}

std::optional<Url> URLWithNormalizedStringURL(std::u16string_view string) {
    return UrlBuilder::build(split(string));
}

std::optional<Url> URLWithAnchor(const Url& url, std::u16string_view anchor) {
    Parts parts = partsOf(url);
    parts.fragment = anchor.empty() ? std::nullopt : std::optional(anchor);
    return UrlBuilder::build(parts);
}

std::optional<Url> fileURLWithPath(std::u16string_view path) {
    const std::optional<std::string> bytes = pathBytesFromString(path);
    if (!bytes || !bytes->starts_with('/')) return std::nullopt;
    std::u16string string = u"file://";
    for (const char byte : *bytes) {
        const auto unit = static_cast<unsigned char>(byte);
        if (unit < 128 && (kAllowedAt[unit] & kPath) != 0) {
            string += static_cast<char16_t>(unit);
        } else {
            appendEscape(string, unit);
        }
    }
    return URLWithString(string);
}

// --- Relative addresses --------------------------------------------------------------------------------------------

namespace {

/// Resolves "." and ".." in a path (RFC 3986, 5.2.4): they act on the segments before them only, and ".." never goes
/// above the first slash.
std::u16string withoutDotSegments(std::u16string_view path) {
    std::u16string out;
    while (!path.empty()) {
        if (path.starts_with(u"../")) {
            path.remove_prefix(3);
        } else if (path.starts_with(u"./") || path.starts_with(u"/./")) {
            path.remove_prefix(2);
        } else if (path == u"/.") {
            path = u"/";
        } else if (path.starts_with(u"/../") || path == u"/..") {
            path = path.size() == 3 ? u"/" : path.substr(3);
            const std::size_t slash = out.rfind(u'/');
            out.resize(slash == std::u16string::npos ? 0 : slash);
        } else if (path == u"." || path == u"..") {
            break;
        } else {
            const std::size_t end = std::min(path.find(u'/', 1), path.size());
            out += path.substr(0, end);
            path.remove_prefix(end);
        }
    }
    return out;
}

/// The path of a reference that is relative to the base's last slash (5.2.3).
std::u16string mergedPath(const Parts& base, std::u16string_view path) {
    std::u16string merged(base.path.substr(0, base.path.rfind(u'/') + 1));
    if (base.authority && base.path.empty()) merged = u"/";
    merged += path;
    return merged;
}

}  // namespace

std::optional<Url> URLRelativeTo(std::u16string_view reference, const Url& base) {
    const Parts from = partsOf(base);
    if (reference.empty()) {
        if (from.scheme.empty()) return std::nullopt;
        return URLWithAnchor(base, {});
    }
    const std::optional<Url> url = URLWithNormalizedStringURL(reference);
    if (!url) return std::nullopt;
    Parts target = partsOf(*url);
    if (target.scheme.empty() && from.scheme.empty()) return std::nullopt;
    std::u16string path;
    if (!target.scheme.empty() || target.authority || target.path.starts_with(u'/')) {
        path = withoutDotSegments(target.path);
    } else if (!target.path.empty()) {
        path = withoutDotSegments(mergedPath(from, target.path));
    } else {
        path = from.path;
        if (!target.query) target.query = from.query;
    }
    if (target.scheme.empty()) {
        if (!target.authority) target.authority = from.authority;
        target.scheme = from.scheme;
    }
    target.path = path;
    return UrlBuilder::build(target);
}

// --- Tests ---------------------------------------------------------------------------------------------------------

bool isRemoteWebKitURL(const Url& url) {
    if (!url.hasScheme(u"http") && !url.hasScheme(u"https") && !url.hasScheme(u"feed")) return false;
    const std::u16string host = url.host();
    return characterPartOfSet(host, &alphaNumCharacterSetRep()) && host.find(u"...") == std::u16string::npos;
}

bool isRemoteWebKitStringURL(std::u16string_view string) {
    const std::optional<Url> url = URLWithNormalizedStringURL(string);
    return url && isRemoteWebKitURL(*url);
}

bool stringURLIsBookmarklet(std::u16string_view link) {
    constexpr std::u16string_view kScheme = u"javascript:";
    if (!equalsNoCase(link.substr(0, kScheme.size()), kScheme)) return false;
    std::u16string script(link.substr(kScheme.size()));
    script.resize(convertPercentEscapesOfURL(script.data(), script.size(), PercentEscapeMode::full));
    static constexpr std::u16string_view kMarks[] = {u"function", u"=>", u"location", u"document."};
    return std::ranges::any_of(kMarks, [&](std::u16string_view mark) { return script.find(mark) != kNone; });
}

}  // namespace halden
