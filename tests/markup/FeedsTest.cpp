#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "markup/Feeds.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace halden {
namespace {

std::string itemsOf(std::u16string_view feed, std::u16string_view url = {}) {
    Array items;
    for (Dictionary& item : getItemsOfFeed(feed, URLWithString(url)))
        items.emplace_back(std::move(item));
    return jsonFromValue(Value(std::move(items)), {.date = JsonDate::unixSeconds});
}

/// One field of the only item.
std::string fieldOf(const std::u16string& item, std::u16string_view key) {
    const auto items = getItemsOfFeed(u"<rss><item>" + item + u"</item></rss>");
    if (items.size() != 1) return std::to_string(items.size()) + " items";
    const Value* value = items[0].find(key);
    return value != nullptr ? jsonFromValue(*value) : "(none)";
}

TEST(FeedDetection, LooksForTheRoot) {
    const struct {
        std::u16string_view document;
        bool isFeed, isComplete;
    } cases[] = {
        {u"<?xml version='1.0'?><RSS version='2.0'><item></item></rss>", true, true},
        {u"<rdf:RDF><item>", true, false},
        {u"<feed/>", true, true},
        {u"<html><rss></rss>", false, false},
        {u"</head><feed>", false, false},
        {u"<rss><html></rss>", true, false},
        {u"<feeds>", false, false},
        {u"", false, false},
    };
    for (const auto& c : cases) {
        bool complete = !c.isComplete;
        EXPECT_EQ(isFeed(c.document), c.isFeed) << utf8FromUtf16(c.document);
        EXPECT_EQ(isFeedComplete(c.document, &complete), c.isFeed) << utf8FromUtf16(c.document);
        EXPECT_EQ(complete, c.isComplete) << utf8FromUtf16(c.document);
    }
}

TEST(FeedItems, HaveEveryField) {
    EXPECT_EQ(
        itemsOf(
            u"<rss><channel><title>T</title><item><title>A &amp;amp; B</title><link>http://x/a</link>"
            u"<description>&lt;p&gt;Hi&lt;/p&gt;</description><dc:creator>Ann</dc:creator><pubDate>Sun, 13 Nov 2016 "
            u"12:00:00 GMT</pubDate><category>one</category><category term='two'/><enclosure "
            u"url='http://x/e.mp3?a&amp;b' "
            u"length='12345'/><enclosure length='1'/></item><item></item></channel></rss>"),
        R"([{"title": "A &amp; B", "description": "<p>Hi</p>", "content": "", "author": "Ann", )"
        R"("date": "Sun, 13 Nov 2016 12:00:00 GMT", "calendarDate": {"date": 1479038400.0}, "link": "http://x/a", )"
        R"("tags": ["one", "two"], "enclosures": [{"url": "http://x/e.mp3?a&b", "length": "12345"}]}, )"
        R"({"title": "", "description": "", "content": "", "author": "", "date": "", "link": ""}])");
}

TEST(FeedItems, ReadAtom) {
    const std::string items = itemsOf(
        u"<feed><entry><title>A</title><link rel='self' href='s'/><link rel=edit href=e><link rel='service.post' "
        u"href=p/>"
        u"<link href='a'/><author><name>Bob</name><uri>u</uri></author><summary>S</summary><content "
        u"type='html'>&lt;b&gt;C&lt;/b&gt;"
        u"</content><updated>2016-11-13T12:00:00Z</updated><published>2015</published></entry></feed>");
    EXPECT_EQ(
        items,
        R"([{"title": "A", "description": "S", "content": "<b>C</b>", "author": "Bob", "date": "2016-11-13T12:00:00Z", )"
        R"("calendarDate": {"date": 1479038400.0}, "link": "a"}])");
}

TEST(FeedItems, FollowTheRulesOfEachField) {
    const struct {
        std::u16string item;
        std::u16string_view key;
        std::string_view value;
    } cases[] = {
        {u"<author>Ann</author>", u"author", R"("Ann")"},
        {u"<author/><name>no</name>", u"author", R"("")"},
        {u"<author><name>A</name></author><author><name>B</name></author>", u"author", R"("A")"},
        {u"<title>one</title><title>two</title>", u"title", R"("one")"},
        {u"<title><![CDATA[ A &amp; <b>B</b> ]]></title>", u"title", R"("A & <b>B</b>")"},
        {u"<description><![CDATA[<p>x</p>]]></description>", u"description", R"("<p>x</p>")"},
        {u"<x><![CDATA[lost]]></x><title></title>", u"title", R"("")"},
        {u"<title>set</title><title><![CDATA[lost]]></title><summary></summary>", u"description", R"("")"},
        {u"<content type=HTML><![CDATA[a &amp;amp; b]]></content>", u"content", R"("a &amp;amp; b")"},
        {u"<content type=xhtml><div>a <b>&eacute;</b></div></content>", u"content", R"("<div>a <b>é</b></div>")"},
        {u"<content:encoded>a&lt;br&gt;</content:encoded>", u"content", R"("a<br>")"},
        {u"<link>http://x/a</link><guid>http://x/p</guid>", u"link", R"("http://x/p")"},
        {u"<link>http://x/a</link><guid isPermaLink='false'>http://x/p</guid>", u"link", R"("http://x/p")"},
        {u"<guid>tag:x</guid><link>http://x/a?b&amp;c</link>", u"link", R"("http://x/a?b&c")"},
        {u"<link href='http://x/1'/><link>http://x/2</link>", u"link", R"("http://x/1")"},
        {u"<link>http://news.google.com/news/url?sa=t&url=http://y/p&cid=3</link>", u"link", R"("http://y/p")"},
        {u"<link>HTTP://NEWS.GOOGLE.COM/news/url?sa=t&url=https://y/p</link>", u"link", R"("https://y/p")"},
        {u"<link>&lt;a href=\"http://y/q\"&gt;q&lt;/a&gt;</link>", u"link", R"("http://y/q")"},
        {u"<link>&lt;A HREF=http://y/q class=c&gt;</link>", u"link", R"("http://y/q")"},
        {u"<link>&lt;a href=http://y/q&gt;</link>", u"link", R"("http://y/q")"},
        {u"<category><![CDATA[news]]></category><category> </category>", u"tags", R"(["news"])"},
        {u"<category> </category>", u"tags", "(none)"},
        {u"<description>Array</description>", u"title", "0 items"},
        {u"<description>array</description>", u"description", R"("array")"},
        {u"<pubDate>soon</pubDate>", u"calendarDate", "(none)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fieldOf(c.item, c.key), c.value) << utf8FromUtf16(c.item);
    EXPECT_EQ(getItemsOfFeed(u"<rss><item><link>/a</link></item></rss>", URLWithString(u"http://h/feed/x"))[0]
                  .find(u"link")
                  ->as<std::u16string>()[0],
              u"http://h/a");
    EXPECT_EQ(itemsOf(u"<rss><item><title>lost"), "[]");
    EXPECT_EQ(itemsOf(u"<html><item><title>a</title></item>"), "[]");
    // Once inside, every end of an item completes one.
    EXPECT_EQ(getItemsOfFeed(u"<rss><item></item></item></entry>").size(), 3U);
}

constexpr std::u16string_view kHead =
    u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n";

std::u16string page(std::u16string_view rest) {
    return std::u16string(kHead) + std::u16string(rest);
}

TEST(FeedPages, ShowTheFeed) {
    const auto convert = [](std::u16string_view feed) {
        return stringByConvertingFeedToDisplayHTML(std::u16string(feed), std::nullopt, StyleSheet::linked);
    };
    EXPECT_EQ(
        convert(u"<rss><title>T &amp; "
                u"U</title><item><title>A</title><link>http://x/a</link><description>&lt;p&gt;Hi&lt;/p&gt;"
                u"</description></item></rss>"),
        page(u"<title>T & U</title>\n</head>\n<body><div class=\"page_header\"><div class=\"page_title\"><nobr>T & "
             u"U</nobr></div></div>\n\n<div class=\"feed_header\"><a class=\"feed_link\" "
             u"href=\"http://x/a\">A</a><br/></div>"
             u"<div class=\"feed_article\">\n<p>Hi</p>\n</div>\n\n</body>\n</html>"));
    EXPECT_EQ(convert(u"<rss><title></title></rss>"), page(u"</head>\n<body>\n\n</body>\n</html>"));
    EXPECT_EQ(convert(u"<rss></rss>"), page(u"\n</head>\n</html>"));
    EXPECT_EQ(convert(u"<rss><item><title>A</title></item></rss>"),
              page(u"</head>\n<body>\n\n<div class=\"feed_header\">A<br/></div><div "
                   u"class=\"feed_article\">\n\n</div>\n\n</body>\n</html>"));
    EXPECT_EQ(convert(u"<html>x"), u"<html>x");
}

TEST(FeedPages, ShowAnItem) {
    const auto append = [](const FeedItemText& item) {
        std::u16string output;
        AppendItem2Feed(output, item);
        return utf8FromUtf16(output);
    };
    EXPECT_EQ(append({.title = u"T", .description = u"D", .link = u"l", .date = u"2016-11-13", .author = u"A"}),
              "\n<div class=\"feed_header\"><a class=\"feed_link\" href=\"l\">T</a><br/><font class=\"feed_date\">A - "
              "13 Nov 2016, "
              "00:00</font></div><div class=\"feed_article\">\nD\n</div>\n");
    EXPECT_EQ(append({.title = u"T",
                      .content = u"<IFRAME src=x></iframe><span a>C</SPAN>",
                      .description = u"D",
                      .date = u"soon"}),
              "\n<div class=\"feed_header\">T<br/><font class=\"feed_date\">soon</font></div><div "
              "class=\"feed_article\">\nC\n</div>\n");
    const Array enclosures{Value(Dictionary{{u"url", Value(u"http://x/e.mp3")}, {u"length", Value(u"12345")}}),
                           Value(Dictionary{{u"url", Value(u"http://x/f")}, {u"length", Value(u"1.2 MB")}}),
                           Value(Dictionary{{u"url", Value(u"http://x/g/")}, {u"length", Value(u"0")}}),
                           Value(Dictionary{{u"url", Value(u"h")}})};
    EXPECT_EQ(
        append({.author = u"A", .enclosures = enclosures}),
        "\n<div class=\"feed_header\"><br/><font class=\"feed_date\">A</font></div><div class=\"feed_article\">\n\n"
        "<div class=\"feed_enclosures\"><p>\n"
        "<a class=\"feed_enclosure\" href=\"http://x/e.mp3\">e.mp3</a>&nbsp;(12345 bytes)<br/>\n"
        "<a class=\"feed_enclosure\" href=\"http://x/f\">f</a>&nbsp;(1.2 MB)<br/>\n"
        "<a class=\"feed_enclosure\" href=\"http://x/g/\">g</a><br/>\n"
        "<a class=\"feed_enclosure\" href=\"h\">h</a><br/>\n</p></div>\n</div>\n");
}

TEST(FeedPages, ShowStoredItems) {
    const Dictionary item{
        {u"title", Value(u"T")}, {u"description", Value(u"D")}, {u"author", Value(u"A")}, {u"date", Value(u"soon")}};
    const std::u16string plain = u"\n<div class=\"feed_header\">T<br/></div><div class=\"feed_article\">\nD\n</div>\n";
    const std::u16string full =
        u"\n<div class=\"feed_header\">T<br/><font class=\"feed_date\">A - soon</font></div><div "
        u"class=\"feed_article\">\nD\n</div>\n";
    EXPECT_EQ(stringByConvertingItemToSearchableHTML(item),
              page(u"<meta name=\"author\" content=\"A\"/></head>\n<body>\n" + plain + u"\n</body>\n</html>"));
    EXPECT_EQ(stringByConvertingItemToDisplayHTML(item),
              page(u"<meta name=\"author\" content=\"A\"/></head>\n<body>\n" + full + u"\n</body>\n</html>"));
    const Dictionary items[] = {item, item};
    EXPECT_EQ(stringByConvertingItemsToSearchableHTML(items),
              page(u"</head>\n<body>\n" + plain + plain + u"\n</body>\n</html>"));
    EXPECT_EQ(stringByConvertingItemsToDisplayHTML(items),
              page(u"</head>\n<body>\n" + full + full + u"\n</body>\n</html>"));
}

TEST(FeedPages, TakeTheirStyleFromTheSheetOfTheDefaults) {
    std::string name = std::filesystem::temp_directory_path() / "quarry-feed-XXXXXX";
    const std::filesystem::path folder = ::mkdtemp(name.data());
    const std::filesystem::path sheet = folder / "my.feeds.stylesheet.css";
    std::ofstream(sheet) << "p {}";
    setLinkableFeedStyleSheet(stringFromPathBytes(sheet.native()));
    const Dictionary item{{u"title", Value(u"T")}};
    const std::u16string linked = stringByConvertingItemToDisplayHTML(item);
    EXPECT_NE(linked.find(u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/"),
              std::u16string::npos);
    const std::u16string inlined = stringByConvertingItemToDisplayHTML(item, StyleSheet::inlined);
    EXPECT_NE(inlined.find(u"<style type=\"text/css\"><!--p {}--></style>\n"), std::u16string::npos);
    EXPECT_EQ(stringByConvertingItemToSearchableHTML(item).find(u"style"), std::u16string::npos);
    // The line feed behind the link stays, and the style brings its own.
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked).size(), inlined.size() + 1);
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(u"<p>"), u"<p>");
    std::filesystem::remove_all(folder);
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked).find(u"<link"), std::u16string::npos);
    EXPECT_EQ(stringByConvertingItemToDisplayHTML(item, StyleSheet::inlined).find(u"<style"), std::u16string::npos);
    setLinkableFeedStyleSheet(u"");
}

TEST(FeedItems, AreEmptyWhenTheySayNothingBeyondTheirTitle) {
    const struct {
        std::u16string_view title, content, description;
        bool isEmpty;
    } cases[] = {
        {u"T", u"", u"", true},
        {u"T", u"", u" \n", true},
        {u"T", u"t", u"more", true},
        {u"A b", u"", u"a-b!", true},
        {u"T", u"<iframe src=x>T", u"", true},
        {u"T", u"", u"text", false},
        {u"", u"", u"x", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(
            isEmptyFeedItem(Dictionary{
                {u"title", Value(c.title)}, {u"content", Value(c.content)}, {u"description", Value(c.description)}}),
            c.isEmpty)
            << utf8FromUtf16(c.title);
    }
    EXPECT_TRUE(isEmptyFeedItem(Dictionary()));
}

}  // namespace
}  // namespace halden
