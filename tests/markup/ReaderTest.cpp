// Articles and error pages.
#include "foundation/FilteredComparison.h"
#include "foundation/Unicode.h"
#include "markup/ErrorPages.h"
#include "markup/Reader.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

std::u16string words(int count) {
    std::u16string text;
    for (int i = 0; i < count; ++i)
        text += u"word ";
    return text;
}

std::u16string inPage(const std::u16string& body) {
    return u"<html><head><title>t</title></head><body>" + body + u"</body></html>";
}

std::string article(const std::u16string& html) {
    const auto stripped = stripToArticle(html);
    return stripped ? utf8FromUtf16(*stripped) : "(none)";
}

TEST(Article, GoesFromItsHeadingToItsEnd) {
    const std::u16string start = u"<h1>Title</h1><h2>Sub</h2>" + words(300);
    const auto expected = [](const std::u16string& text) {
        return utf8FromUtf16(u"<html><head><title>t</title></head><body>\n" + text + u"\n</body></html>");
    };
    for (const std::u16string_view end : {u"<div class='the-Comments'>", u"<div id=comments>", u"<hr>",
                                          u"<a href='#top'>", u"<a href='x?view=print'>", u"<h1>"}) {
        const std::u16string html = inPage(u"before" + start + std::u16string(end) + u"few words</div>");
        EXPECT_TRUE(possibleArticle(html)) << utf8FromUtf16(end);
        EXPECT_EQ(article(html), expected(start)) << utf8FromUtf16(end);
    }
    // Named as an article, but without an end.
    EXPECT_TRUE(possibleArticle(inPage(u"<div class=Article>" + start)));
    EXPECT_EQ(article(inPage(u"<div class=article>" + start)), "(none)");
    EXPECT_FALSE(possibleArticle(inPage(start)));
}

TEST(Article, NeedsWordsHeadingsAndABody) {
    const auto isArticle = [](const std::u16string& html) {
        return possibleArticle(html) && stripToArticle(html).has_value();
    };
    EXPECT_TRUE(isArticle(inPage(u"<h1>a</h1><h2>b</h2>" + words(99) + u"<hr>c")));
    EXPECT_FALSE(isArticle(inPage(u"<h1>a</h1><h2>b</h2>" + words(95) + u"<hr>c")));
    EXPECT_FALSE(isArticle(inPage(u"<h1>a</h1>" + words(300) + u"<hr>")));    // one heading
    EXPECT_FALSE(isArticle(u"<h1>a</h1><h2>b</h2>" + words(300) + u"<hr>"));  // no body
    EXPECT_FALSE(
        isArticle(inPage(u"<h1>a</h1><h2>b</h2><a href=x>" + words(300) + u"</a><hr>")));  // all of it in an anchor
    EXPECT_FALSE(
        isArticle(inPage(words(1000) + u"<h1>a</h1><h2>b</h2>" + words(200) + u"<hr>")));  // a small part of the page
    // A heading of the same level begins anew after few words, and ends the article after many.
    const std::u16string later = u"<h1>real</h1>" + words(150);
    EXPECT_EQ(article(inPage(u"<h1>menu</h1>" + words(20) + later + u"<hr>x")),
              utf8FromUtf16(u"<html><head><title>t</title></head><body>\n" + later + u"\n</body></html>"));
}

TEST(ErrorPage, IsToldByTitleAndText) {
    const struct {
        std::u16string_view url, title, text;
        bool isError;
    } cases[] = {
        {u"http://x/a", u"404 Not Found", u"", true},
        {u"http://x/a", u"404 - not found!", u"Page not found. Sorry", true},
        {u"http://x/a", u"My site: Page Not Found", u"404 Not Found", true},
        {u"http://x/a", u"404 Not Found", u"The server says: 404 (page NOT found)", true},
        {u"http://x/a", u"404 Not Found", u"A long story", false},
        {u"http://x/a", u"Welcome", u"Not Found", false},
        {u"http://x/a", u"x - 404 Page - y", u"This page doesn't exist on this server", true},
        {u"http://x/403.PHP", u"Error: 403 access denied here", u"text", true},
        {u"http://x/error.php", u"La p\u00E1gina Solicitada no existe", u"text", true},
        {u"http://x/ERROR.php", u"La pagina solicitada no existe", u"text", false},
        {u"http://x/missing/404.html", u"Welcome", u"Die Seite wurde nicht gefunden", true},
        {u"http://x/missing/404.html", u"", u"hello", false},
        {u"http://x/404/page", u"", u"not found", false},
        {u"http://x/a", u"", u"Sorry! Server is too busy. Please try again later.", true},
        {u"http://x/a", u"", u"", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isErrorPage(c.url, c.title, c.text), c.isError) << utf8FromUtf16(c.title) << utf8FromUtf16(c.text);
}

TEST(RateLimit, IsOneOfTheNotices) {
    EXPECT_TRUE(exceededPageLoadFrequency(u"", u"YOU HAVE EXCEEDED THE ALLOWED PAGE LOAD FREQUENCY"));
    EXPECT_TRUE(exceededPageLoadFrequency(u"", u"Woah slow down. You have exceeded the allowed page-load frequency"));
    EXPECT_TRUE(exceededPageLoadFrequency(
        u"", u"You have exceeded the allowed page load frequency. Please reload the page in 99 seconds."));
    EXPECT_FALSE(exceededPageLoadFrequency(u"", u"You have exceeded the allowed page load"));
    EXPECT_FALSE(exceededPageLoadFrequency(u"", u""));
}

TEST(FilteredComparison, LooksAtSomeCharactersOnly) {
    EXPECT_TRUE(equalStringsNoCaseUsingCharacterSetRep(u"a-B 1", u"(Ab)", alphaCharacterSetRep()));
    EXPECT_FALSE(equalStringsNoCaseUsingCharacterSetRep(u"ab1", u"ab", alphaNumCharacterSetRep()));
    EXPECT_TRUE(equalStringsNoCaseUsingCharacterSetRep(u"", u"--", alphaCharacterSetRep()));
    EXPECT_TRUE(hasPrefixNoCaseUsingCharacterSetRep(u"4.0.4 Not", u"404", alphaNumCharacterSetRep()));
    EXPECT_FALSE(hasPrefixNoCaseUsingCharacterSetRep(u"40", u"404", alphaNumCharacterSetRep()));
    EXPECT_EQ(numberOfWordsOfCharacters(u" one,two3  \u00E9t\u00E9 - "), 3U);
    EXPECT_EQ(numberOfWordsOfCharacters(u""), 0U);
}

}  // namespace
}  // namespace halden
