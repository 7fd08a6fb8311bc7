#include "markup/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(FeedOperations, HaveTheirShapes) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"isFeed", R"("<rss>")", "true"},
        {"isFeedComplete:", R"("<rss>")", R"({"result": true, "complete": false})"},
        {"getItemsOfFeed:", R"("<rss><item><link>/a</link></item>", "http://h/f")",
         R"([{"title": "", "description": "", "content": "", "author": "", "date": "", "link": "http://h/a"}])"},
        {"isEmptyFeedItem", R"({"title": "t"})", "true"},
        {"isEmptyFeedItem", "null", "false"},
        {"stringByConvertingItemToSearchableHTML", "3", "error: argument 1 is no dictionary"},
        {"AppendItem2Feed", R"("T", null, "D", null, null, null, null)",
         R"("\n<div class=\"feed_header\">T<br/></div><div class=\"feed_article\">\nD\n</div>\n")"},
        {"AppendDictionary2Feed", R"({"title": "T", "date": "soon"}, true)",
         R"("\n<div class=\"feed_header\">T<br/><font class=\"feed_date\">soon</font></div><div class=\"feed_article\">\n\n</div>\n")"},
        {"GetFeedContent", R"("x &lt; y ", 1, 8, false, true, true)", R"("< y")"},
        {"GetFeedContent", R"("x", 5, 8, false, true, true)", "null"},
        {"exceededPageLoadFrequency::", R"(null, "you have exceeded the allowed page load frequency")", "true"},
        {"isErrorPage:::", R"("u", "404 Not Found", null)", "true"},
        {"stripToArticle", R"("<p>")", "null"},
        {"possibleArticle", "null", "false"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(feedOperations(), c.operation, c.arguments), c.result) << c.operation;
}

}  // namespace
}  // namespace halden::operations
