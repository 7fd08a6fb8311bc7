// Links, frames and resources of pages, and the cleaning of addresses.
#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "markup/BaseElement.h"
#include "markup/LinkCleaning.h"
#include "markup/PageFrames.h"
#include "markup/PageLinks.h"
#include "markup/PageResources.h"
#include "tests/markup/Allocations.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace halden {
namespace {

using Strings = std::vector<std::u16string>;

std::string shown(const std::optional<std::u16string>& text) {
    return text ? utf8FromUtf16(*text) : "(none)";
}

std::string shown(const std::optional<Url>& url) {
    return url ? utf8FromUtf16(url->absoluteString()) : "(none)";
}

TEST(NormalizedStringUrl, IsWhatWasMeant) {
    const struct {
        std::u16string_view value;
        std::string_view url;
    } cases[] = {
        {u"http://a/b%20%22", "http://a/b"},
        {u"http://a/b%20%41", "http://a/b%20%41"},
        {u"a\\b\\c", "a/b/c"},
        {u"a\\b?c\\d", "a\\b?c\\d"},
        {u"\\\"http://a\\\"", "http://a"},
        {u"\\\"http://a?b\\\"", "http://a?b"},
        {u"\\\"\\\"a\\\"\\\"", "a"},
        {u"  \"\"x\"\"  ", "x"},
        {u"\"", "\""},
        {u"\"\"", "(none)"},
        {u"ht\ntp:\t//a\u2028/\uFEFFb", "http://a/b"},
        {u"", "(none)"},
        {u" \u00A0\t\n", "(none)"},
        {u"a&amp;b=&lt;", "a&b=<"},
        {u"&lt", "&lt"},  // too short for a reference
        {u"%41%20", "%41"},
        {u"%20%0d%0A", "(none)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shown(normalizedStringURL(c.value)), c.url) << utf8FromUtf16(c.value);
    EXPECT_EQ(shown(normalizedStringURL(u"%41%20%42", PercentEscapes::decode)), "A B");
    EXPECT_EQ(shown(normalizedRelLink(u"icon.png")), "/icon.png");
    EXPECT_EQ(shown(normalizedRelLink(u"./icon.png")), "./icon.png");
    EXPECT_EQ(shown(normalizedRelLink(u" http://h/icon ")), "http://h/icon");
    EXPECT_EQ(shown(normalizedRelLink(u" ")), "(none)");
}

TEST(FilterLink, DropsWhatCannotBeLoaded) {
    for (const std::u16string_view link :
         {u"#", u"&", u"-", u":", u"mailto:a@b", u"tel:", u"irc://host", u"DATA:/x", u"javascript:/x",
          u"applescript://x", u"javascript:void(0)", u"X-Halden-item://x", u"x-man-page://ls"}) {
        EXPECT_TRUE(filterLink(link)) << utf8FromUtf16(link);
    }
    for (const std::u16string_view link : {u"feed:http://x", u"page.html", u"http://h/", u"#top", u"/a:b",
                                           u"haldenaddress:/x", u"", u"a1:b", u"x-halde:/"}) {
        EXPECT_FALSE(filterLink(link)) << utf8FromUtf16(link);
    }
}

TEST(PageLinks, AreUniqueAndInOrder) {
    std::optional<Url> base;
    EXPECT_EQ(
        htmlLinksBaseURL(u"<base href='http://h/d/'><a href=\"x\">1</a><A HREF=\"x\">2</A><area href=y/><a name=n>"
                         u"<a href=' z '></a href=w>",
                         &base),
        (Strings{u"x", u"y/", u"z"}));
    EXPECT_EQ(shown(base), "http://h/d/");
    // A later base that is none replaces an earlier one, too.
    static_cast<void>(htmlLinksBaseURL(u"<base href='http://h/'><base href='mailto:x'>", &base));
    EXPECT_EQ(shown(base), "(none)");
    EXPECT_EQ(filteredHtmlLinksBaseURL(u"<a href='mailto:a@b'>"), Strings{u"mailto:a@b"});  // the filter stays off
    EXPECT_TRUE(htmlLinksBaseURL(u"").empty());
}

TEST(PageLinks, MatchTheTextOfTheirAnchors) {
    constexpr std::u16string_view kHtml =
        u"<a href=1>next <b>page</b></a><a href=2>Next</a><a href=3 rel='NoFollow x'>next</a><area href=4>"
        u"<a href=5>next<a href=6>page</a><a href=7>next";
    EXPECT_EQ(htmlLinksContaining(kHtml, u"next", RelNoFollow::ignore), (Strings{u"1", u"3"}));
    EXPECT_EQ(htmlLinksContaining(kHtml, u"next", RelNoFollow::heed), (Strings{u"1"}));
    EXPECT_EQ(htmlLinksContaining(kHtml, u"next page", RelNoFollow::ignore), (Strings{u"1"}));
    EXPECT_EQ(htmlLinksContaining(kHtml, u"", RelNoFollow::heed), (Strings{u"1", u"2", u"4", u"5", u"6", u"7"}));
    const LinkMatch isTwo = [](std::u16string_view href, std::u16string_view text, const void*) {
        return href == u"2" && text == u"Next";
    };
    EXPECT_EQ(htmlLinksBaseURL(kHtml, nullptr, isTwo, nullptr), Strings{u"2"});
}

TEST(PageFrames, AnswerWhatIsAsked) {
    constexpr std::u16string_view kHtml =
        u"<html><head><title>first</title><title>last<!-- --> part</title><base href=http://h/>"
        u"<meta http-equiv=Refresh content='5; URL=x'><meta name=robots content=noindex>"
        u"<meta name=ROBOTS content=NoIndex><meta name=robots content=nofollow><meta name=revisit-after content='1 "
        u"day'>"
        u"<meta name=revisit-after content='2 days'><link rel='shortcut icon' href=a.ico>"
        u"<link rel='Shortcut Icon' href=b.ico></head><frame src=f1><iframe src='f2'><frame src=f1><a href=l>"
        u"</iframe src=no>";
    bool set = true;
    bool isFeed = true;
    std::optional<Url> base;
    std::optional<std::u16string> title, refresh, robots, revisit, icon;
    const FrameQueries all{.set = &set,
                           .isFeed = &isFeed,
                           .baseURL = &base,
                           .title = &title,
                           .refresh = &refresh,
                           .robots = &robots,
                           .revisit = &revisit,
                           .favIcon = &icon};
    EXPECT_EQ(htmlFramesSet(kHtml, all), (Strings{u"f1", u"f2"}));
    EXPECT_FALSE(set);
    EXPECT_FALSE(isFeed);
    EXPECT_EQ(shown(base), "http://h/");
    EXPECT_EQ(shown(title), " part");
    EXPECT_EQ(shown(refresh), "5; URL=x");
    EXPECT_EQ(shown(robots), "noindex,nofollow");
    EXPECT_EQ(shown(revisit), "2 days");
    EXPECT_EQ(shown(icon), "/b.ico");
    EXPECT_EQ(htmlLinksAndFramesSet(kHtml, all), (Strings{u"f1", u"f2", u"l"}));
    EXPECT_TRUE(htmlFramesSet(u"<p>", all).empty());
    EXPECT_EQ(shown(title), "(none)");
    EXPECT_EQ(shown(robots), "");
    const struct {
        std::u16string_view html;
        bool isFeed;
    } feeds[] = {{u"<?xml version='1.0'?><rss>", true},
                 {u"<FEED>", true},
                 {u"<rdf:RDF>", true},
                 {u"<html><rss>", false},
                 {u"</head><feed>", false},
                 {u"<rssx>", false}};
    for (const auto& c : feeds) {
        static_cast<void>(htmlFramesSet(c.html, FrameQueries{.isFeed = &isFeed}));
        EXPECT_EQ(isFeed, c.isFeed) << utf8FromUtf16(c.html);
    }
}

TEST(PageFrames, CollectRobotsInPlace) {
    std::u16string html;
    for (int i = 0; i < 5'000; ++i)
        html += i % 2 == 0 ? u"<meta name=robots content=a>" : u"<meta name=robots content=b>";
    std::optional<std::u16string> robots;
    const std::size_t before = allocations();
    static_cast<void>(htmlFramesSet(html, FrameQueries{.robots = &robots}));
    EXPECT_LE(allocations() - before, 100U);
    EXPECT_EQ(robots->size(), 2 * 5'000U - 1);
}

TEST(PageResources, AreWhatThePageLoads) {
    EXPECT_EQ(shown(htmlFavIcon(
                  u"<link rel=icon href=a><link rel='shortcut icon' href=b.ico><link rel='shortcut icon' href=c>")),
              "/b.ico");
    EXPECT_EQ(
        htmlImages(
            u"<img src=a><img src=a></img src=b><body background=c><link rel=ico href=d><link rel=apple-touch-icon "
            u"href=e><link rel=image_src href='/f'>"),
        (Strings{u"a", u"c", u"/e", u"/f"}));
    EXPECT_EQ(htmlStylesheetsAndScripts(
                  u"<script src=a.js></script><script>x</script><style>@IMPORT url(\"b.css\");</style>"
                  u"<link rel=stylesheet href=c.css><link rel=icon href=d><script>src=\"e.js\"</script>"),
              (Strings{u"a.js", u"b.css", u"/c.css", u"e.js"}));
    EXPECT_EQ(htmlEmbeddedObjects(u"<embed src=x><embed href=y><object href=z></object href=w>"),
              (Strings{u"y", u"z"}));
}

TEST(BaseElement, IsFoundAndRewritten) {
    EXPECT_EQ(shown(htmlCanonicalURL(u"<link rel=Canonical href='#x'><link rel=canonical href=' http://h/c '>")),
              "http://h/c");
    EXPECT_EQ(shown(htmlCanonicalURL(u"<body><link rel=canonical href=x>")), "(none)");
    EXPECT_EQ(shown(htmlBaseURL(u"<base target=x><base href=http://h/a><base href=http://h/b>")), "http://h/a");
    EXPECT_EQ(shown(htmlBaseURL(u"<body><base href=http://h/a>")), "(none)");
    const struct {
        std::u16string_view html, url;
        std::string_view set, added;
    } cases[] = {
        {u"<head><base href=a>x", u"b", "<head><BASE href=\"b\"/>\nx", "<head><base href=a>x"},
        {u"<head><base href=a>x", u"", "<head>x", "<head><base href=a>x"},
        {u"<head>x", u"b&c", "<head><BASE href=\"b&amp;c\"/>\nx", "<head><BASE href=\"b&amp;c\"/>\nx"},
        {u"<head>x", u"", "<head>x", "<head>x"},
        {u"x", u"b", "x", "x"},
        {u"<head><body><base href=a>", u"b", "<head><BASE href=\"b\"/>\n<body><base href=a>",
         "<head><BASE href=\"b\"/>\n<body><base href=a>"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utf8FromUtf16(stringBySettingBaseURL(std::u16string(c.html), c.url)), c.set);
        EXPECT_EQ(utf8FromUtf16(stringByAddingBaseURL(std::u16string(c.html), c.url)), c.added);
    }
    EXPECT_EQ(stringBySettingBaseURL(u"<head>", std::nullopt), u"<head>");
}

TEST(BaseUrl, LogsWhatItRejects) {
    std::vector<std::string> messages;
    setLogSink([&](LogLevel, std::string_view message) { messages.emplace_back(message); });
    EXPECT_EQ(shown(baseURL(u"ftp://h/")), "(none)");
    EXPECT_EQ(shown(baseURL(u"#x")), "(none)");
    EXPECT_EQ(shown(baseURL(u" ")), "(none)");
    EXPECT_EQ(shown(baseURL(u"feed://h/x")), "feed://h/x");
    EXPECT_EQ(shown(baseURL(u"http://.../x")), "(none)");
    setLogSink({});
    EXPECT_EQ(messages, (std::vector<std::string>{"Invalid base: ftp://h/", "Invalid base: http://.../x"}));
}

}  // namespace
}  // namespace halden
