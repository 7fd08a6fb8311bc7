#include "markup/ErrorPages.h"

#include "foundation/FilteredComparison.h"
#include "foundation/StringSearch.h"
#include "markup/PageTags.h"

#include <algorithm>

namespace halden {
namespace {

constexpr std::u16string_view kNotices[] = {
    u"You have exceeded the allowed page load frequency.",
    u"Sorry. You have exceeded the allowed page load frequency. Come back later...",
    u"You have exceeded the allowed page load frequency. Please try again in a minute.",
    u"You have exceeded the allowed page load frequency. Please reload the page in 15 seconds.",
    u"You have exceeded the allowed page load frequency. Wait a few seconds, then you can refresh and continue.",
    u"You have exceeded the allowed page load frequency. Please wait a few seconds before reloading the page.",
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one notice on two lines
    u"Due to spam, we limit the number of times a page can be loaded. You have exceeded the allowed page load "
    u"frequency.",
    u"You have exceeded the allowed page load frequency. Please wait a moment then try again. Thank you.",
    u"Woah, slow down! You have exceeded the allowed page load frequency.",
};

constexpr std::u16string_view kTitles[] = {
    u"403 Forbidden",
    u"403 Access Denied",
    u"404 Not Found",
    u"404 Page Not Found",
    u"404 File Not Found",
    u"404 Error File Not Found",
    u"Error 404 Page Not found",
    u"Page Not Found",
    u"Sorry Page Not Found",
    u"Error 404",
};

bool beginsLikeTitle(std::u16string_view string) {
    return std::ranges::any_of(kTitles, [&](std::u16string_view title) {
        return hasPrefixNoCaseUsingCharacterSetRep(string, title, alphaNumCharacterSetRep());
    });
}

bool endsWithTitle(std::u16string_view string) {
    return std::ranges::any_of(kTitles, [&](std::u16string_view title) { return hasSuffixNoCase(string, title); });
}

bool containsAny(std::u16string_view text, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(words, [&](std::string_view word) { return containsNoCase(text, word); });
}

bool isErrorByTitle(std::u16string_view url, std::u16string_view title, std::u16string_view text) {
    const bool titleMatches = beginsLikeTitle(title) || endsWithTitle(title);
    const bool textMatches = text.empty() || beginsLikeTitle(text);
    if (titleMatches && (textMatches || containsAny(text, {"404 Not Found", "404 (Page not found)"}))) return true;
    if (containsNoCase(title, "- 404 page -") && containsNoCase(text, "page doesn't exist on this server")) return true;
    if (hasSuffixNoCase(url, u"/403.php") && containsNoCase(title, "403 Access Denied")) return true;
    return url.ends_with(u"/error.php") && containsNoCase(title, "solicitada no existe");
}

bool isNamedErrorPage(std::u16string_view url, std::u16string_view text) {
    static constexpr std::u16string_view kEndings[] = {u"/404.php", u"/404.htm", u"/404.html", u"/404.shtml",
                                                       u"/404-index.html"};
    if (url.find(u"/404") == std::u16string_view::npos) return false;
    if (std::ranges::none_of(kEndings, [&](auto ending) { return hasSuffixNoCase(url, ending); })) return false;
    return containsAny(text, {"not found", "does not exist", "doesn't exist", "nicht gefunden", "nicht vorhanden"});
}

}  // namespace

bool exceededPageLoadFrequency(std::u16string_view, std::u16string_view text) {
    return !text.empty() && std::ranges::any_of(kNotices, [&](std::u16string_view notice) {
        return equalStringsNoCaseUsingCharacterSetRep(text, notice, alphaCharacterSetRep());
    });
}

bool isErrorPage(std::u16string_view url, std::u16string_view title, std::u16string_view text) {
    if (!title.empty() && isErrorByTitle(url, title, text)) return true;
    if (text.empty()) return false;
    return isNamedErrorPage(url, text) ||
           equalStringsNoCaseUsingCharacterSetRep(text, u"Sorry server is too busy please try again later",
                                                  alphaNumCharacterSetRep());
}

}  // namespace halden
