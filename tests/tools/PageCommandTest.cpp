// The commands for pages and feeds, which need no helper.
#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

namespace quarry::test {
namespace {

using halden::Dictionary;

constexpr const char* kPage =
    "<html><head><title>A &amp;\n B</title><base href=\"http://h.org/d/\"><meta name=description content=\"caf\xE9 "
    "&gt;\">"
    "<meta name=date content=\"2024-02-29T10:00:00Z\"><link rel=canonical href=\"/c\">"
    "<link rel=\"Shortcut Icon\" href=\"/i.ico\"><link rel=alternate type=application/atom+xml href=\"/feed\">"
    "<link rel=alternate type=text/html href=\"/other\"></head>"
    "<body><a href=\"p\">p</a><a href=\"p\">p</a><a href=\"http://x/\">x</a><img src=\"a.png\"></body></html>";

Dictionary objectOf(const std::string& json) {
    const auto value = halden::valueFromJson(json);
    const auto* object = value ? value->as<Dictionary>() : nullptr;
    return object != nullptr ? *object : Dictionary();
}

std::string fieldOf(const Dictionary& object, std::u16string_view key) {
    const auto* value = object.find(key);
    return value != nullptr ? halden::jsonFromValue(*value) : "(missing)";
}

TEST(PageCommand, DescribesAPage) {
    const Surroundings surroundings;
    const struct {
        std::u16string_view key;
        const char *plain, *withURL;
    } cases[] = {
        {u"title", "\"A &\\n B\"", "\"A &\\n B\""},
        {u"description", "\"caf\xC3\xA9 >\"", "\"caf\xC3\xA9 >\""},
        {u"date", "\"2024-02-29T10:00:00Z\"", "\"2024-02-29T10:00:00Z\""},
        {u"canonicalURL", "\"/c\"", "\"http://h.org/c\""},
        {u"baseURL", "\"http://h.org/d/\"", "\"http://h.org/d/\""},
        {u"favIcon", "\"/i.ico\"", "\"http://h.org/i.ico\""},
        {u"links", "[\"p\", \"http://x/\"]", "[\"http://h.org/d/p\", \"http://x/\"]"},
        {u"images", "[\"/i.ico\", \"a.png\"]", "[\"http://h.org/i.ico\", \"http://h.org/d/a.png\"]"},
        {u"feeds", "[\"/feed\"]", "[\"http://h.org/feed\"]"},
        {u"isFeed", "false", "false"},
        {u"isArticle", "false", "false"},
        {u"isErrorPage", "false", "false"},
    };
    surroundings.write("a.html", kPage);
    const Outcome plain = surroundings.run({"page", "a.html"});
    const Outcome withURL = surroundings.run({"page", "-", "--url", "http://elsewhere/"}, kPage);
    EXPECT_EQ(plain.status, 0) << plain.error;
    EXPECT_EQ(withURL.status, 0) << withURL.error;
    const Dictionary first = objectOf(plain.out);
    const Dictionary second = objectOf(withURL.out);
    EXPECT_EQ(first.size(), std::size(cases));
    for (const auto& c : cases) {
        EXPECT_EQ(fieldOf(first, c.key), c.plain) << halden::utf8FromUtf16(c.key);
        EXPECT_EQ(fieldOf(second, c.key), c.withURL) << halden::utf8FromUtf16(c.key);
    }
    EXPECT_TRUE(surroundings.runtimeFiles().empty());
}

TEST(PageCommand, KnowsErrorsAndArticles) {
    const Surroundings surroundings;
    std::string words;
    for (int i = 0; i < 200; ++i)
        words += "word ";
    const struct {
        std::string page, url;
        const char *isError, *isArticle;
    } cases[] = {
        {"<title>404 Not Found</title><body></body>", "http://h/a", "true", "false"},
        {"<title>Shop</title><body><p>Die Seite wurde nicht gefunden</body>", "http://h/404.html", "true", "false"},
        {"<title>Shop</title><body><p>Die Seite wurde nicht gefunden</body>", "http://h/a.html", "false", "false"},
        {"<body>You have exceeded the allowed page load frequency.</body>", "http://h/a", "true", "false"},
        {"<body><h1>A</h1><h2>B</h2>" + words + "<div class=comments>c</div></body>", "http://h/a", "false", "true"},
    };
    for (const auto& c : cases) {
        const Dictionary object = objectOf(surroundings.run({"page", "-", "--url", c.url}, c.page).out);
        EXPECT_EQ(fieldOf(object, u"isErrorPage"), c.isError) << c.page;
        EXPECT_EQ(fieldOf(object, u"isArticle"), c.isArticle) << c.page;
    }
}

constexpr const char* kFeed =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><rss><channel><title>News</title><item><title>One \xE9</title>"
    "<link>/1</link><pubDate>Thu, 01 Feb 2024 10:00:00 GMT</pubDate><description>d</description></item>"
    "<item><title>cut";

TEST(FeedCommand, PrintsItems) {
    const Surroundings surroundings;
    const Outcome outcome = surroundings.run({"feed", "--url", "http://h/feed", "-"}, kFeed);
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    const auto value = halden::valueFromJson(outcome.out);
    const auto* items = value ? value->as<halden::Array>() : nullptr;
    ASSERT_TRUE(items != nullptr && items->size() == 1) << outcome.out;
    const auto* item = items->front().as<Dictionary>();
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(fieldOf(*item, u"title"), "\"One \xC3\xA9\"");
    EXPECT_EQ(fieldOf(*item, u"link"), "\"http://h/1\"");
    EXPECT_EQ(fieldOf(*item, u"calendarDate"), "\"2024-02-01T10:00:00Z\"");
}

TEST(FeedCommand, ReadsUtf16) {
    const Surroundings surroundings;
    constexpr std::u16string_view kText = u"<rss><item><title>caf\u00E9 \u6F22</title></item></rss>";
    const auto bytesOf = [](std::u16string_view text, bool isLittle) {
        std::string bytes;
        for (const char16_t unit : text) {
            const char parts[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
            bytes += {parts[isLittle ? 0 : 1], parts[isLittle ? 1 : 0]};
        }
        return bytes;
    };
    for (const bool isLittle : {true, false}) {
        for (const std::u16string_view mark : {u"\uFEFF", u""}) {
            const std::string bytes = bytesOf(std::u16string(mark) + std::u16string(kText), isLittle);
            const Outcome outcome = surroundings.run({"feed", "-"}, bytes);
            EXPECT_NE(outcome.out.find("\"caf\xC3\xA9 \xE6\xBC\xA2\""), std::string::npos) << outcome.out;
        }
    }
}

TEST(FeedCommand, PrintsAPage) {
    const Surroundings surroundings;
    surroundings.write("feed.rss", kFeed);
    surroundings.write("s.css", "b { color: red }");
    const Outcome styled = surroundings.run({"feed", "--html", "feed.rss", "--style-sheet", "s.css"});
    EXPECT_EQ(styled.status, 0) << styled.error;
    EXPECT_TRUE(styled.out.starts_with("<html>\n")) << styled.out;
    EXPECT_NE(styled.out.find("<!--b { color: red }-->"), std::string::npos) << styled.out;
    EXPECT_NE(styled.out.find("href=\"/1\">One \xC3\xA9</a>"), std::string::npos) << styled.out;
    EXPECT_EQ(surroundings.run({"feed", "--html", "feed.rss"}).out.find("<style"), std::string::npos);
}

TEST(FeedCommand, StatusesOfWhatIsNone) {
    const Surroundings surroundings;
    surroundings.write("a.html", "<html><body></body></html>");
    surroundings.write("latin.css", "/* \xE9 */");
    surroundings.write("huge.html", "<html>");
    std::filesystem::resize_file(surroundings.folder() / "huge.html", (std::uintmax_t{1} << 30) + 1);  // sparse
    const struct {
        std::vector<std::string> words;
        int status;
        const char *out, *error;
    } cases[] = {
        {{"feed", "a.html"}, 1, "null\n", "quarry: a.html: this is no feed\n"},
        {{"feed", "--html", "a.html"}, 1, "", "quarry: a.html: this is no feed\n"},
        {{"feed", "missing"}, 1, "null\n", "quarry: missing: No such file or directory\n"},
        {{"page", "missing"}, 1, "null\n", "quarry: missing: No such file or directory\n"},
        {{"page", "huge.html"}, 1, "null\n", "quarry: huge.html: File too large\n"},
        {{"page", "."}, 1, "null\n", "quarry: .: Is a directory\n"},
        {{"page", "-"}, 1, "null\n", ""},
        {{"feed", "--html", "--style-sheet", "none.css", "a.html"},
         1,
         "",
         "quarry: none.css: No such file or directory\n"},
        {{"feed", "--html", "--style-sheet", ".", "a.html"}, 1, "", "quarry: .: Is a directory\n"},
        {{"feed", "--html", "--style-sheet", "latin.css", "a.html"},
         1,
         "",
         "quarry: latin.css: this is no text in UTF-8\n"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = surroundings.run(c.words);
        EXPECT_EQ(outcome.status, c.status) << c.words[1];
        EXPECT_EQ(outcome.out, c.out) << c.words[1];
        EXPECT_EQ(outcome.error, c.error) << c.words[1];
    }
    const std::vector<std::string> wrong[] = {{"feed"},
                                              {"page"},
                                              {"page", "a", "b"},
                                              {"feed", "--style-sheet", "s.css", "a"},
                                              {"page", "--url", "http://h:x/", "a"},
                                              {"page", "--html", "a"}};
    for (const auto& words : wrong)
        EXPECT_EQ(surroundings.run(words).status, 2) << words.back();
}

}  // namespace
}  // namespace quarry::test
