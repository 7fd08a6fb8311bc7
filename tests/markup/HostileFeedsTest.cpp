// Feeds made to cost too much. What grows with them is counted: allocations, and the size of what comes out.
#include "markup/Feeds.h"
#include "tests/markup/Allocations.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

std::u16string repeated(std::u16string_view part, std::size_t count) {
    std::u16string string;
    string.reserve(part.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        string += part;
    return string;
}

std::u16string feedOf(const std::u16string& items) {
    return u"<rss><channel><title>T</title>" + items + u"</channel></rss>";
}

constexpr std::u16string_view kItem =
    u"<item><title>A</title><link>http://h/1</link><description>&lt;p&gt;d</description></item>";

std::size_t allocationsOfItems(const std::u16string& feed) {
    const std::size_t before = allocations();
    static_cast<void>(getItemsOfFeed(feed));
    return allocations() - before;
}

TEST(HostileFeeds, AMillionItemsMakeOnePage) {
    constexpr std::size_t kCount = 1'000'000;
    const std::u16string feed = feedOf(u"<item>" + repeated(u"A</item>", kCount));
    const std::u16string page = stringByConvertingFeedToDisplayHTML(feed, std::nullopt, StyleSheet::inlined);
    constexpr std::u16string_view kRendered =
        u"\n<div class=\"feed_header\"><br/></div><div class=\"feed_article\">\n\n</div>\n";
    const std::size_t around =
        stringByConvertingFeedToDisplayHTML(feedOf({}), std::nullopt, StyleSheet::inlined).size();
    EXPECT_EQ(page.size(), around + kCount * kRendered.size());
    EXPECT_TRUE(page.ends_with(std::u16string(kRendered) + u"\n</body>\n</html>"));
}

// Whatever is repeated, twice as much of it takes about twice the allocations, and no item grows by what others hold.
TEST(HostileFeeds, WorkGrowsWithTheInput) {
    const std::u16string_view parts[] = {
        kItem,
        u"</item>",
        u"<item>",
        u"<item><content>",
        u"<content>x</content>",
        u"<description>x</description>",
        u"<![CDATA[x]]>",
        u"<![CDATA[x]]><b>",
        u"<category>c</category>",
        u"<enclosure url='u'/>",
        u"<guid>http://h/1</guid>",
        u"<link rel='self' href='u'/>",
        u"<author><name>",
        u"&amp;",
        u"<title>",
        u"</title>",
    };
    constexpr std::size_t kCount = 5'000;
    for (const std::u16string_view part : parts) {
        const std::size_t once = allocationsOfItems(u"<rss><item>" + repeated(part, kCount) + u"</item></rss>");
        const std::size_t twice = allocationsOfItems(u"<rss><item>" + repeated(part, 2 * kCount) + u"</item></rss>");
        EXPECT_LE(twice, once * 2 + once / 4 + 100) << std::string(part.begin(), part.end());
        EXPECT_LE(twice, 2 * kCount * 40 + 100) << std::string(part.begin(), part.end());
    }
}

TEST(HostileFeeds, AnItemThatNeverEndsIsNoItem) {
    const std::u16string feed = u"<rss><item>" + repeated(u"<title>a</title><category>c</category>", 50'000);
    EXPECT_TRUE(getItemsOfFeed(feed).empty());
    EXPECT_TRUE(isFeed(feed));
    const auto complete = getItemsOfFeed(feed + u"</item>");
    ASSERT_EQ(complete.size(), 1U);
    EXPECT_EQ(complete[0].find(u"tags")->as<Array>()->size(), 50'000U);
}

TEST(HostileFeeds, AnElementThatNeverEndsTakesNothingAlong) {
    for (const std::u16string_view open :
         {u"<content>", u"<description>", u"<title>", u"<![CDATA[", u"<!--", u"<a x='"}) {
        const std::u16string feed =
            u"<rss><item><title>A</title></item><item>" + std::u16string(open) + repeated(u"word <b>", 50'000);
        const auto items = getItemsOfFeed(feed);
        ASSERT_EQ(items.size(), 1U) << std::string(open.begin(), open.end());
        EXPECT_EQ(*items[0].find(u"title")->as<std::u16string>(), u"A");
    }
}

TEST(HostileFeeds, LongTitlesAreCopiedFewTimes) {
    constexpr std::size_t kLength = 10'000'000;
    const std::u16string title = repeated(u"&amp;", kLength / 5);
    const std::u16string feed = u"<rss><title>" + title + u"</title><item><title>" + title + u"</title></item></rss>";
    const std::size_t before = allocations();
    const auto items = getItemsOfFeed(feed);
    EXPECT_LE(allocations() - before, 200U);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].find(u"title")->as<std::u16string>()->size(), kLength / 5);
    const std::u16string page = stringByConvertingFeedToDisplayHTML(feed, std::nullopt, StyleSheet::inlined);
    EXPECT_LT(page.size(), kLength / 5 * 3 + 1000);
}

}  // namespace
}  // namespace halden
