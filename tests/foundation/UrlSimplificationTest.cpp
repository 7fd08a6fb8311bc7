#include "foundation/Unicode.h"
#include "foundation/UrlSimplification.h"
#include "tests/foundation/PlainUrlSimplification.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;
using Step = std::u16string (*)(std::u16string);

constexpr UrlSimplification kAllButSessions{
    .analytics = true, .indexPages = true, .emptyParams = true, .anchors = true};
constexpr UrlSimplification kAll{
    .sessionIDs = true, .analytics = true, .indexPages = true, .emptyParams = true, .anchors = true};

struct Case {
    std::u16string_view url, result;
};

void expectEach(Step step, std::initializer_list<Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(step(std::u16string(c.url)), c.result) << utf8FromUtf16(c.url);
}

TEST(PercentEscapes, DecodesTheStandardOnes) {
    expectEach(stringByReplacingStandardPercentEscapesOfURL,
               {
                   {u"", u""},
                   {u"%2", u"%2"},
                   {u"%2F", u"/"},
                   {u"%2f%20", u"/ "},
                   {u"a%41b", u"a%41b"},
                   {u"%09%0a%0D%24%25%26%27%2B%3a%3B%3d%40%7E", u"\t\n\r$%&'+:;=@~"},
                   {u"%21%22%23%28%2C%2D%2E%3C%5C%7B%7F%80%E4", u"%21%22%23%28%2C%2D%2E%3C%5C%7B%7F%80%E4"},
                   {u"%2541", u"%41"},
                   {u"%%20", u"% "},
                   {u"%2%20", u"%2 "},
                   {u"%2G%G2%", u"%2G%G2%"},
                   {u"a%3Fb%3F", u"a?b?"},
                   {u"a%3Fb?", u"a%3Fb?"},
                   {u"x%2", u"x%2"},
                   {u"%\uFF12\uFF10", u"%\uFF12\uFF10"},
               });
}

TEST(PercentEscapes, DecodesAllOfAsciiInTheFullMode) {
    const struct {
        std::u16string_view url, result;
    } cases[] = {
        {u"%41%7f%80%00?%3f", u"A\u007F%80\0??"sv},
        {u"%2541%C3%A4", u"%41%C3%A4"},
        {u"%4", u"%4"},
    };
    for (const auto& c : cases) {
        std::u16string url(c.url);
        url.resize(convertPercentEscapesOfURL(url.data(), url.size(), PercentEscapeMode::full));
        EXPECT_EQ(url, c.result);
    }
}

TEST(UrlSimplification, CutsTheAnchorButNoRoute) {
    expectEach(stringURLWithoutAnchor, {
                                           {u"", u""},
                                           {u"http://x/p#top", u"http://x/p"},
                                           {u"http://x/#!/page", u"http://x/#!/page"},
                                           {u"http://x/#//page", u"http://x/#//page"},
                                           {u"http://x/#/page", u"http://x/"},
                                           {u"http://x/#!page", u"http://x/"},
                                           {u"http://x/#a#!/", u"http://x/"},
                                           {u"a#!", u"a"},
                                           {u"#", u""},
                                       });
}

TEST(UrlSimplification, StandardizesThePath) {
    expectEach(standardizedStringURL, {
                                          {u"", u""},
                                          {u"http://a//b///c", u"http://a/b/c"},
                                          {u"file:///Users/x", u"file://Users/x"},
                                          {u"//h//a", u"/h/a"},
                                          {u"://", u"://"},
                                          {u"http://x/a?q=1//2/..", u"http://x/a?q=1//2/.."},
                                          {u"http://x//a;b//c/.", u"http://x/a;b//c/."},
                                          {u"a/b/..", u"a/b"},
                                          {u"a/b/./..//.", u"a/b"},
                                          {u"a/b/../", u"a/b/../"},
                                          {u"a.", u"a."},
                                          {u"a/x..", u"a/x.."},
                                          {u"a/...", u"a/..."},
                                          {u".", u""},
                                          {u"..", u""},
                                          {u"/.", u""},
                                          {u"/..", u""},
                                          {u"...", u"..."},
                                      });
}

TEST(UrlSimplification, RemovesTrackingParameters) {
    expectEach(stringURLByRemovingAnalytics,
               {
                   {u"", u""},
                   {u"http://x/a?utm_source=s&id=3", u"http://x/a?id=3"},
                   {u"http://x/a?id=3&utm_medium=m", u"http://x/a?id=3"},
                   {u"http://x/a?id=3&UTM_Medium=m&x=y", u"http://x/a?id=3&x=y"},
                   {u"http://x/autm_source=1", u"http://x/autm_source=1"},
                   {u"utm_source=1", u"utm_source=1"},
                   {u"http://x/a?utm_other=1", u"http://x/a?utm_other=1"},
                   {u"http://x/a?utm_source=1&utm_medium=2&utm_campaign=3&utm_term=4&utm_content=5&utm_nooverride=6",
                    u"http://x/a"},
                   // The first place protects later ones, until it goes with a parameter of another name.
                   {u"?a=utm_source=1&utm_source=2", u"?a=utm_source=1&utm_source=2"},
                   {u"?utm_term=utm_source=1&utm_source=2&b", u"?b"},
                   // Semicolons end a parameter only where one began it.
                   {u"?utm_source=1;b=2&c", u"?c"},
                   {u"?a;utm_source=1;b=2&c", u"?a;b=2&c"},
                   {u"?a;utm_source=1&b", u"?a;b"},
                   {u"?utm_source=1;utm_medium=2", u""},
                   {u"?utm_source=1&", u""},
                   {u"?utm_source=1&&", u"?&"},
                   {u"?a&utm_medium=1&utm_source=2&", u"?a"},
                   {u"?utm_source=1?utm_source=2?b", u"?b"},
               });
}

TEST(UrlSimplification, RemovesOneNamedParameter) {
    const struct {
        std::u16string_view url, parameter, result;
    } cases[] = {
        {u"", u"a=", u""},
        {u"?a=1&b=2&A=3", u"a=", u"?b=2"},
        {u"?a=1&b=2", u"", u"?a=1&b=2"},
        {u"?a=1&b=2", u"c=", u"?a=1&b=2"},
        {u"?ba=1&a=2", u"a=", u"?ba=1&a=2"},
        {u"a=1&a=2", u"a=", u"a=1&a=2"},
        {u"?a=1&aa=2&a=3", u"a=", u"?aa=2&a=3"},
        {u"?b;a=1&c", u"a=", u"?b;c"},
        // One with a separator in it is cut at that, and what is joined can be another.
        {u"?b&a=1&c", u"b&a=", u"?a=1&c"},
        {u"?b&b&a=&a=&c", u"b&a=", u"?a=&a=&c"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(stringURLByRemovingQueryParam(std::u16string(c.url), c.parameter), c.result);
    }
}

TEST(UrlSimplification, RemovesEmptyParameters) {
    expectEach(stringURLByRemovingEmptyParams, {
                                                   {u"", u""},
                                                   {u"http://x/a?b=&c=1", u"http://x/a?c=1"},
                                                   {u"http://x/a?c=1&b=", u"http://x/a?c=1"},
                                                   {u"http://x/a?b=", u"http://x/a"},
                                                   {u"http://x/a?b=1", u"http://x/a?b=1"},
                                                   {u"a=", u"a="},
                                                   {u"?a=", u""},
                                                   {u"?=", u"?="},
                                                   {u"=", u"="},
                                                   {u"?a&=", u""},
                                                   {u"?a==&b", u"?b"},
                                                   {u"?a=1=&b", u"?a=1=&b"},
                                                   {u"?a=\0b=1"sv, u"?b=1"},
                                                   {u"?a=;b=1", u"?b=1"},
                                                   {u"?a=#b", u"?a=#b"},
                                                   {u"?a=&b=&c=1", u"?b=&c=1"},
                                                   {u"?a=1&long=&b=&c=&d=", u"?a=1&b=&c="},
                                                   {u"?&a=1", u"?a=1"},
                                                   {u"?&&a", u"?&a"},
                                                   {u"x?b=&&c=1", u"x?c=1"},
                                               });
}

TEST(UrlSimplification, RemovesSessionIdentifiers) {
    expectEach(stringURLByRemovingSessionIDs,
               {
                   {u"", u""},
                   {u"http://x/a?PHPSESSID=1&b=2", u"http://x/a?b=2"},
                   {u"http://x/a?b=2&phpsessid=1", u"http://x/a?b=2"},
                   {u"http://x/a;jsessionid=1", u"http://x/a"},
                   {u"http://x/a;jsessionid=1?b=2", u"http://x/a;b=2"},
                   {u"http://x/a?jsessionid=1", u"http://x/a"},
                   {u"http://x/a?sid=1;x=2&b", u"http://x/a?b"},
                   {u"http://x/a?side=1&xsid=2&sid&sid", u"http://x/a?side=1&xsid=2&sid&sid"},
                   {u"http://x/a?ASPSESSIONIDQABCDE=1&b=1", u"http://x/a?b=1"},
                   {u"http://x/a?ASPSESSIONID&b=1", u"http://x/a?ASPSESSIONID&b=1"},
                   {u"http://x/a?CFID=1&CFTOKEN=2", u"http://x/a"},
                   {u"?osCsid=1&a=1&zenid=2&b&gclid=3&fbclid=4&msclkid=5", u"?a=1&b"},
                   {u"sid=1", u"sid=1"},
                   {u"?sid=1&", u""},
                   {u"?sid=&&sid=1&b", u"?&b"},
               });
}

TEST(UrlSimplification, RemovesIndexPages) {
    expectEach(stringURLByRemovingIndexPages, {
                                                  {u"http://x/index.html", u"http://x"},
                                                  {u"http://x/a/INDEX.Shtml", u"http://x/a"},
                                                  {u"http://x/index.php", u"http://x"},
                                                  {u"http://x/index.htm", u"http://x"},
                                                  {u"http://x/index.php5", u"http://x/index.php5"},
                                                  {u"http://x/index.php?a", u"http://x/index.php?a"},
                                                  {u"http://x/myindex.php", u"http://x/myindex.php"},
                                                  {u"http://x/index.html/", u"http://x/index.html/"},
                                                  {u"/index.htm", u""},
                                                  {u"index.html", u"index.html"},
                                              });
}

TEST(UrlSimplification, MakesSpellingsOfOnePageCoincide) {
    for (const std::u16string_view url : {u"HTTP://www.H/a/index.html", u"https://h/a/", u"http://h//a",
                                          u"https://WWW.h/a#top", u"http://h/a?utm_source=1", u"http://h%2Fa/."}) {
        EXPECT_EQ(simplifiedStringURLByRemovingSessionIDs(std::u16string(url), kAllButSessions), u"http://h/a");
    }
    const struct {
        std::u16string_view url;
        UrlSimplification remove;
        std::u16string_view result;
    } cases[] = {
        {u"", kAll, u""},
        {u"/", kAll, u""},
        {u"https://", kAll, u"http:"},
        {u"http://h/a#b", {}, u"http://h/a#b"},
        {u"http://h/index.html?utm_source=1&sid=2&c=", {}, u"http://h/index.html?utm_source=1&sid=2&c="},
        {u"http://h/?page=main.php", kAll, u"http://h"},
        {u"/?page=main.php", kAll, u""},
        {u"http://h/?page=main.php", kAllButSessions, u"http://h/?page=main.php"},
        {u"http://h/?page=MAIN.php", kAll, u"http://h/?page=main.php"},
        {u"http://h/a?page=main.php", kAll, u"http://h/a?page=main.php"},
        {u"https:www.h", kAll, u"http:www.h"},
        {u"ftp://www.h/", kAll, u"ftp://www.h"},
        {u"http://h/%C3%84\u00C4\u0130", kAll, u"http://h/%c3%84\u00E4i\u0307"},
        // The Kelvin sign and the long s: what has the same capital letter counts as equal.
        {u"http\u017F://www.h/\u212A", kAll, u"http://h/k"},
        {u"http://h/a%23b", kAll, u"http://h/a%23b"},
        {u"http://h/a%3Futm_source=1", kAll, u"http://h/a"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(simplifiedStringURLByRemovingSessionIDs(std::u16string(c.url), c.remove), c.result)
            << utf8FromUtf16(c.url);
    }
}

// --- Against the plain steps ---------------------------------------------------------------------------------------

void expectAsPlain(const std::u16string& url) {
    const std::string shown = utf8FromUtf16(url);
    for (const auto mode : {PercentEscapeMode::standard, PercentEscapeMode::full}) {
        std::u16string converted = url;
        converted.resize(convertPercentEscapesOfURL(converted.data(), converted.size(), mode));
        ASSERT_EQ(converted, plain::decoded(url, mode)) << shown;
    }
    ASSERT_EQ(stringURLWithoutAnchor(url), plain::withoutAnchor(url)) << shown;
    ASSERT_EQ(standardizedStringURL(url), plain::standardized(url)) << shown;
    ASSERT_EQ(stringURLByRemovingAnalytics(url), plain::withoutAnalytics(url)) << shown;
    ASSERT_EQ(stringURLByRemovingEmptyParams(url), plain::withoutEmptyParams(url)) << shown;
    ASSERT_EQ(stringURLByRemovingSessionIDs(url), plain::withoutSessionIDs(url)) << shown;
    ASSERT_EQ(stringURLByRemovingIndexPages(url), plain::withoutIndexPages(url)) << shown;
    for (const std::u16string_view parameter : {u"a=", u"b", u"&a", u"a=&a", u"utm_term="}) {
        ASSERT_EQ(stringURLByRemovingQueryParam(url, parameter), plain::withoutQueryParam(url, parameter)) << shown;
    }
    for (unsigned flags = 0; flags < 32; ++flags) {
        const UrlSimplification remove{.sessionIDs = (flags & 1) != 0,
                                       .analytics = (flags & 2) != 0,
                                       .indexPages = (flags & 4) != 0,
                                       .emptyParams = (flags & 8) != 0,
                                       .anchors = (flags & 16) != 0};
        ASSERT_EQ(simplifiedStringURLByRemovingSessionIDs(url, remove), plain::simplified(url, remove))
            << shown << " with " << flags;
    }
}

TEST(UrlSimplification, AgreesWithThePlainStepsOnRandomStrings) {
    static constexpr std::u16string_view kPieces[] = {
        u"&",
        u";",
        u"?",
        u"=",
        u"/",
        u".",
        u":",
        u"#",
        u"!",
        u"%",
        u"a",
        u"b",
        u"2",
        u"F",
        u"%2F",
        u"%3f",
        u"%26",
        u"%25",
        u"//",
        u"..",
        u"a=",
        u"b=",
        u"utm_source=",
        u"utm_medium=",
        u"utm_term=",
        u"UTM_",
        u"utm_content=",
        u"sid=",
        u"aspsessionid",
        u"cfid=1",
        u"https://www.",
        u"HTTP://",
        u"/index.htm",
        u"l",
        u"/?page=main.php",
        u"\u017F",
        u"\u0130",
        u"\0"sv,
        u"\u4E00",
        u"\xD800",
        u"utm_campaign=",
        u"utm_nooverride=",
    };
    std::mt19937 random(3);
    for (int round = 0; round < 1500; ++round) {
        std::u16string url;
        for (auto count = random() % 24; count > 0; --count)
            url += kPieces[random() % std::size(kPieces)];
        ASSERT_NO_FATAL_FAILURE(expectAsPlain(url));
    }
}

TEST(UrlSimplification, AgreesWithThePlainStepsOnRealAddresses) {
    const char* corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    std::ifstream file(std::filesystem::path(corpus) / "urls/ada-datasets/others/kasztp.txt");
    if (!file) GTEST_SKIP() << "no addresses";
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        if (number++ % 8 != 0) continue;
        const std::u16string url = utf16FromUtf8(line);
        for (const UrlSimplification remove : {kAll, kAllButSessions})
            ASSERT_EQ(simplifiedStringURLByRemovingSessionIDs(url, remove), plain::simplified(url, remove)) << line;
    }
}

TEST(UrlSimplification, TakesLongAddressesInTheirStride) {
    // Each of these would take minutes if every removal moved the rest of the string, or searched it from its start.
    const std::u16string manyUnits(1'000'000, u'a');
    const struct {
        std::u16string start;
        std::u16string_view piece;
    } cases[] = {
        {u"?", u"utm_source=1&"},
        {u"?", u"utm_term=utm_medium=1&utm_medium=2&"},
        {u"?", u"utm_term=;utm_source=&"},
        {u"?" + manyUnits + u"utm_source=&", u"utm_term=1&"},
        {u"?", u"a=&"},
        {u"?", u"sid=1&"},
        {u"", u"//"},
        {u"", u"%2F"},
        {u"", u"/."},
    };
    for (const auto& c : cases) {
        std::u16string url = c.start;
        while (url.size() < 2'000'000)
            url += c.piece;
        EXPECT_LT(simplifiedStringURLByRemovingSessionIDs(url, kAll).size(), url.size());
        EXPECT_LE(stringURLByRemovingQueryParam(url, u"utm_source=").size(), url.size());
    }
}

TEST(UrlSimplification, GivesTheStringItselfBackWhenNothingChanges) {
    const std::u16string original = u"http://example.org/a/page?a=1;b=2&c=3";
    for (const Step step : {stringByReplacingStandardPercentEscapesOfURL, stringURLWithoutAnchor, standardizedStringURL,
                            stringURLByRemovingAnalytics, stringURLByRemovingEmptyParams, stringURLByRemovingSessionIDs,
                            stringURLByRemovingIndexPages}) {
        std::u16string url = original;
        const char16_t* units = url.data();
        const std::u16string result = step(std::move(url));
        EXPECT_EQ(result, original);
        EXPECT_EQ(result.data(), units);
    }
}

}  // namespace
}  // namespace halden
