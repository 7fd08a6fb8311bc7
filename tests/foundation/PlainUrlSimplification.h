// The steps of UrlSimplification.h as their rules tell them: on copies, one change after the other, in whatever time it
// takes. What the library does in one buffer is compared with these.
#pragma once

#include "foundation/Characters.h"
#include "foundation/SessionParameters.h"
#include "foundation/Strings.h"
#include "foundation/UrlSimplification.h"

#include <string>
#include <string_view>

namespace halden::plain {

inline constexpr auto kNone = std::u16string::npos;

inline bool equalNoCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (toUpper(a[i]) != toUpper(b[i])) return false;
    }
    return true;
}

inline std::size_t findNoCase(std::u16string_view string, std::u16string_view needle) {
    for (std::size_t i = 0; !needle.empty() && i + needle.size() <= string.size(); ++i) {
        if (equalNoCase(string.substr(i, needle.size()), needle)) return i;
    }
    return kNone;
}

inline bool beginsNoCase(std::u16string_view string, std::u16string_view prefix) {
    return equalNoCase(string.substr(0, prefix.size()), prefix);
}

inline bool endsNoCase(std::u16string_view string, std::u16string_view suffix) {
    return string.size() >= suffix.size() && equalNoCase(string.substr(string.size() - suffix.size()), suffix);
}

inline std::u16string decoded(const std::u16string& url, PercentEscapeMode mode) {
    std::u16string result;
    for (std::size_t i = 0; i < url.size(); ++i) {
        const std::u16string digits = url.substr(i + 1, 2);
        const std::u16string hexDigits = u"0123456789abcdefABCDEF";
        if (url[i] == u'%' && digits.size() == 2 && digits.find_first_not_of(hexDigits) == kNone) {
            const int value = std::stoi(std::string(digits.begin(), digits.end()), nullptr, 16);
            const auto unit = static_cast<char16_t>(value);
            const bool standard =
                std::u16string(u"\t\n\r $%&'+/:;=@~").find(unit) != kNone || (unit == u'?' && url.find(u'?') == kNone);
            if (mode == PercentEscapeMode::full ? value < 128 : standard) {
                result += unit;
                i += 2;
                continue;
            }
        }
        result += url[i];
    }
    return result;
}

inline std::u16string withoutAnchor(const std::u16string& url) {
    const std::size_t hash = url.find(u'#');
    if (hash == kNone) return url;
    const std::u16string next = url.substr(hash + 1, 2);
    return next == u"!/" || next == u"//" ? url : url.substr(0, hash);
}

inline std::u16string standardized(const std::u16string& url) {
    std::u16string result;
    bool hasParameters = false;
    for (const char16_t unit : url) {
        const std::size_t size = result.size();
        const bool behindSlash = size >= 1 && result[size - 1] == u'/' && !(size >= 2 && result[size - 2] == u':');
        if (!hasParameters && unit == u'/' && behindSlash) continue;
        result += unit;
        hasParameters = hasParameters || unit == u'?' || unit == u';';
    }
    while (!hasParameters) {
        if (result.ends_with(u"/.")) {
            result.resize(result.size() - 2);
        } else if (result.ends_with(u"/..")) {
            result.resize(result.size() - 3);
        } else if (result == u"." || result == u"..") {
            result.clear();
        } else {
            break;
        }
    }
    return result;
}

inline bool isSeparator(char16_t unit) {
    return unit == u'&' || unit == u';' || unit == u'?';
}

/// Removes the parameter at `start`, which is not 0.
inline void removeParameter(std::u16string& url, std::size_t start) {
    const std::size_t end = url.find_first_of(url[start - 1] == u';' ? u";&?" : u"&?", start);
    if (end != kNone && end + 1 < url.size()) {
        url.erase(start, end - start + 1);
    } else {
        url.erase(start - 1);
    }
}

/// Whether the name's first place follows a separator, where it is then removed.
inline bool removeFirst(std::u16string& url, std::u16string_view name) {
    const std::size_t place = findNoCase(url, name);
    if (place == kNone || place == 0 || !isSeparator(url[place - 1])) return false;
    removeParameter(url, place);
    return true;
}

inline std::u16string withoutAnalytics(std::u16string url) {
    while (removeFirst(url, u"utm_source=") || removeFirst(url, u"utm_medium=") || removeFirst(url, u"utm_campaign=") ||
           removeFirst(url, u"utm_term=") || removeFirst(url, u"utm_content=") ||
           removeFirst(url, u"utm_nooverride=")) {
    }
    return url;
}

inline std::u16string withoutQueryParam(std::u16string url, std::u16string_view parameter) {
    while (removeFirst(url, parameter)) {
    }
    return url;
}

inline std::u16string withoutEmptyParams(std::u16string url) {
    for (std::size_t e = 0; e < url.size(); ++e) {
        if (url[e] != u'=' || e < 1) continue;
        const bool isLast = e + 1 == url.size();
        if (!isLast && !isSeparator(url[e + 1]) && url[e + 1] != 0) continue;
        const std::size_t s = e < 2 ? kNone : url.find_last_of(u"&;?=", e - 2);
        if (s == kNone || url[s] == u'=') continue;
        if (isLast) {
            url.erase(s);
        } else {
            url.erase(s + 1, e + 1 - s);
        }
    }
    for (std::size_t i = url.find(u"?&"); i != kNone; i = url.find(u"?&", i + 1))
        url.erase(i + 1, 1);
    return url;
}

inline std::u16string withoutSessionIDs(std::u16string url) {
    for (std::size_t i = 1; i < url.size();) {
        const std::size_t end = url.find_first_of(u"=&;?", i);
        if (isSeparator(url[i - 1]) && end != kNone && url[end] == u'=' && isSessionParameter(url.substr(i, end - i))) {
            removeParameter(url, i);
        } else {
            ++i;
        }
    }
    return url;
}

inline std::u16string withoutIndexPages(const std::u16string& url) {
    if (url.size() < 10 || findNoCase(url, u"/index.") == kNone) return url;
    for (const std::u16string_view page : {u"/index.shtml", u"/index.phtml", u"/index.jhtml"}) {
        if (url.size() >= 12 && endsNoCase(url, page)) return url.substr(0, url.size() - 12);
    }
    if (url.size() >= 11 && endsNoCase(url, u"/index.html")) return url.substr(0, url.size() - 11);
    for (const std::u16string_view page : {u"/index.htm", u"/index.php", u"/index.chm", u"/index.asp", u"/index.cgi"}) {
        if (endsNoCase(url, page)) return url.substr(0, url.size() - 10);
    }
    return url;
}

inline std::u16string simplified(const std::u16string& original, UrlSimplification remove) {
    std::u16string url = decoded(original, PercentEscapeMode::standard);
    if (remove.anchors) url = withoutAnchor(url);
    url = standardized(url);
    if (remove.sessionIDs) url = withoutSessionIDs(url);
    if (remove.analytics) url = withoutAnalytics(url);
    if (remove.emptyParams) url = withoutEmptyParams(url);
    if (remove.indexPages) {
        if (remove.sessionIDs && url.size() >= 15 && url.ends_with(u"/?page=main.php")) {
            url = url.substr(0, url.size() - 14);
        } else {
            url = withoutIndexPages(url);
        }
    }
    if (beginsNoCase(url, u"http://www.")) {
        url = u"http://" + url.substr(11);
    } else if (beginsNoCase(url, u"https://www.")) {
        url = u"http://" + url.substr(12);
    } else if (beginsNoCase(url, u"https:")) {
        url = u"http:" + url.substr(6);
    }
    while (url.ends_with(u'/'))
        url = url.substr(0, url.size() - 1);
    return lowercaseString(url);
}

}  // namespace halden::plain
