#include "foundation/UrlSimplification.h"

#include "foundation/StringSearch.h"
#include "foundation/StringTrimming.h"
#include "foundation/Strings.h"
#include "foundation/UrlParameters.h"

#include <array>
#include <cstdint>
#include <utility>

// Every step works in place, so that a key is made in the one buffer that comes in. Most addresses need few of the
// steps: which ones, one look at the units tells.
namespace halden {
namespace {

/// What occurs in an address. A step that works on what does not occur is left out.
enum Mark : std::uint8_t {
    kPercent = 1,
    kHash = 2,
    kEquals = 4,
    kAmpersand = 8,
    kNonAscii = 16,
    kRepeatedSlash = 32,
};

constexpr auto kMarks = [] {
    std::array<std::uint8_t, 128> marks{};
    marks[u'%'] = kPercent;
    marks[u'#'] = kHash;
    marks[u'='] = kEquals;
    marks[u'&'] = kAmpersand;
    return marks;
}();

unsigned marksOf(std::u16string_view url) {
    unsigned marks = 0;
    bool isRepeated = false;
    char16_t last = 0;
    char16_t lastButOne = 0;
    for (const char16_t unit : url) {
        marks |= unit < 128 ? kMarks[unit] : std::uint8_t{kNonAscii};
        isRepeated |= (unit == u'/') & (last == u'/') & (lastButOne != u':');
        lastButOne = last;
        last = unit;
    }
    return marks | (isRepeated ? kRepeatedSlash : 0);
}

void removeAnchor(std::u16string& url) {
    const auto hash = findCharacter(url, u'#');
    if (!hash) return;
    const std::u16string_view anchor = std::u16string_view(url).substr(*hash + 1);
    if (anchor.starts_with(u"!/") || anchor.starts_with(u"//")) return;
    url.resize(*hash);
}

/// Removes repeated slashes before the parameters.
void removeRepeatedSlashes(std::u16string& url) {
    std::size_t written = 0;
    for (std::size_t read = 0; read < url.size(); ++read) {
        const char16_t unit = url[read];
        if (unit == u'/' && written > 0 && url[written - 1] == u'/' && (written < 2 || url[written - 2] != u':')) {
            continue;
        }
        url[written++] = unit;
        if (unit == u'?' || unit == u';') {
            url.erase(written, read + 1 - written);
            return;
        }
    }
    url.resize(written);
}

void removeTrailingDotSegments(std::u16string& url) {
    if (url.find_first_of(u"?;") != std::u16string::npos) return;
    std::u16string_view rest = url;
    while (true) {
        const std::size_t segment = rest.rfind(u'/') + 1;  // 0 when there is no slash
        const std::u16string_view last = rest.substr(segment);
        if (last != u"." && last != u"..") break;
        rest = rest.substr(0, segment == 0 ? 0 : segment - 1);
    }
    url.resize(rest.size());
}

void standardize(std::u16string& url, unsigned marks) {
    if ((marks & kRepeatedSlash) != 0) removeRepeatedSlashes(url);
    if (url.ends_with(u'.')) removeTrailingDotSegments(url);
}

void removeIndexPage(std::u16string& url) {
    static constexpr std::u16string_view kPages[] = {u"/index.shtml", u"/index.phtml", u"/index.jhtml",
                                                     u"/index.html",  u"/index.htm",   u"/index.php",
                                                     u"/index.chm",   u"/index.asp",   u"/index.cgi"};
    if (url.empty() ||
        (url.back() < 128 && std::u16string_view(u"lmpiLMPI").find(url.back()) == std::u16string_view::npos))
        return;
    for (const std::u16string_view page : kPages) {
        if (hasSuffixNoCase(url, page)) return url.resize(url.size() - page.size());
    }
}

void simplifyScheme(std::u16string& url) {
    if (url.starts_with(u"http://") && !hasPrefixNoCase(std::u16string_view(url).substr(7), u"www.")) return;
    if (hasPrefixNoCase(url, u"http://www.")) {
        url.replace(0, 11, u"http://");
    } else if (hasPrefixNoCase(url, u"https://www.")) {
        url.replace(0, 12, u"http://");
    } else if (hasPrefixNoCase(url, u"https:")) {
        url.replace(0, 6, u"http:");
    }
}

void lowercase(std::u16string& url, unsigned marks) {
    if ((marks & kNonAscii) != 0) {
        url = lowercaseString(url);
        return;
    }
    for (char16_t& unit : url)
        unit = static_cast<char16_t>(unit | (unit >= u'A' && unit <= u'Z' ? 0x20 : 0));
}

}  // namespace

std::u16string simplifiedStringURLByRemovingSessionIDs(std::u16string url, UrlSimplification remove) {
    unsigned marks = marksOf(url);
    if ((marks & kPercent) != 0) {
        url.resize(convertPercentEscapesOfURL(url.data(), url.size(), PercentEscapeMode::standard));
        marks = marksOf(url);
    }
    if (remove.anchors && (marks & kHash) != 0) removeAnchor(url);
    standardize(url, marks);
    if ((marks & kEquals) != 0) {
        if (remove.sessionIDs) removeSessionIDs(url);
        if (remove.analytics) removeAnalytics(url);
    }
    if (remove.emptyParams && (marks & (kEquals | kAmpersand)) != 0) removeEmptyParams(url);
    if (remove.indexPages) {
        constexpr std::u16string_view kMainPage = u"?page=main.php";
        if (remove.sessionIDs && url.size() > kMainPage.size() && url.ends_with(kMainPage) &&
            url[url.size() - kMainPage.size() - 1] == u'/') {
            url.resize(url.size() - kMainPage.size());
        } else {
            removeIndexPage(url);
        }
    }
    simplifyScheme(url);
    url = stringByTrimmingSuffixCharacter(std::move(url), u'/');
    lowercase(url, marks);
    return url;
}

std::u16string stringURLWithoutAnchor(std::u16string url) {
    removeAnchor(url);
    return url;
}

std::u16string standardizedStringURL(std::u16string url) {
    standardize(url, marksOf(url));
    return url;
}

std::u16string stringURLByRemovingAnalytics(std::u16string url) {
    removeAnalytics(url);
    return url;
}

std::u16string stringURLByRemovingQueryParam(std::u16string url, std::u16string_view parameter) {
    removeQueryParam(url, parameter);
    return url;
}

std::u16string stringURLByRemovingEmptyParams(std::u16string url) {
    removeEmptyParams(url);
    return url;
}

std::u16string stringURLByRemovingSessionIDs(std::u16string url) {
    removeSessionIDs(url);
    return url;
}

std::u16string stringURLByRemovingIndexPages(std::u16string url) {
    removeIndexPage(url);
    return url;
}

}  // namespace halden
