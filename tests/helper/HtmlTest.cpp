// RTFDWithHTML:baseURL:allowRemoteRequest:charset: through a real helper.

#include "foundation/Unicode.h"
#include "helper/HtmlReading.h"
#include "richtext/FlatRtfd.h"
#include "tests/helper/HelperTest.h"

namespace quarry::test {
namespace {

using halden::AttributedString;
using halden::Data;

class HtmlTest : public HelperTest {
protected:
    std::optional<AttributedString> rendered(std::string_view html, const std::optional<std::u16string>& base = {},
                                             const std::optional<std::u16string>& charset = u"utf-8",
                                             bool allowRemote = false) {
        const auto rtfd = proxy().RTFDWithHTML(Data::copying(html), base, charset, {.allowRemoteRequest = allowRemote});
        const auto document = rtfd ? halden::documentFromRtfd(*rtfd) : std::nullopt;
        return document ? std::optional(document->text) : std::nullopt;
    }
};

TEST_F(HtmlTest, GivesRtfd) {
    const auto text = rendered("<p>plain <b>bold</b>");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"plain bold\n");
    EXPECT_TRUE(text->characterAttributesAt(6).font.bold);
}

TEST_F(HtmlTest, NothingIsAnEmptyDocument) {
    const auto text = rendered("");
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->empty());
}

TEST_F(HtmlTest, ShowsImagesOfFilesButNotOfRemoteHosts) {
    // One grey pixel.
    folder_.write("dot.gif", std::string("GIF89a\1\0\1\0\x80\0\0\x80\x80\x80\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35));
    const auto image = "<img width=20 height=10 src='file://" + (folder_ / "dot.gif").string() + "'>";
    // An address that is set aside for documentation: there is no such host.
    const auto text = rendered("<p>a" + image + "b<img width=9 height=9 src='http://203.0.113.1/x.gif'>c");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"a\uFFFCbc\n");
    ASSERT_EQ(text->attachments().size(), 1u);
    EXPECT_EQ(text->attachments()[0].attachment->file.data.length(), 35u);
}

TEST_F(HtmlTest, TheCallersCharsetIsHandedOn) {
    EXPECT_EQ(rendered("<p>\xE4", {}, u"ISO-8859-2").value().string(), u"\u00E4\n");
    EXPECT_EQ(rendered("<p>\xE1", {}, u"WINDOWS-1251").value().string(), u"\u0431\n");
    EXPECT_EQ(rendered("<meta charset=koi8-r><p>\xC1", {}, u"").value().string(), u"\u0430\n");
    EXPECT_EQ(rendered("<meta charset=koi8-r><p>\xC1", {}, std::nullopt).value().string(), u"\u0430\n");
    EXPECT_EQ(rendered("<p>abc", {}, u"no-such-charset").value().string(), u"abc\n");
    EXPECT_EQ(rendered("\xEF\xBB\xBF<p>\xC3\xA4", {}, u"windows-1251").value().string(), u"\u00E4\n");
}

TEST_F(HtmlTest, LinksAreAbsolute) {
    const auto text = rendered("<a href='c'>x</a>", u"feed://example.org/a/b");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->characterAttributesAt(0).link, u"http://example.org/a/c");
}

struct BaseCase {
    const char16_t* url;
    std::optional<std::u16string> base;
};

TEST(BaseUrlTest, OnlyWhatTheEngineTakes) {
    const BaseCase cases[] = {
        {u"http://h/p", u"http://h/p"},
        {u"HTTPS://h", u"HTTPS://h"},
        {u"feed://h/p", u"http://h/p"},
        {u"Feed:HTTP://h/p", u"HTTP://h/p"},
        {u"feed:https://h/p", u"http:https://h/p"},
        {u"ftp://h/p", std::nullopt},
        {u"httpx://h/", std::nullopt},
        {u"/relative", std::nullopt},
        {u"file:///no/such/file", std::nullopt},
        {u"file:///", u"file:///"},
    };
    for (const BaseCase& row : cases) {
        const auto url = halden::URLWithString(row.url);
        ASSERT_TRUE(url);
        const auto base = baseURLForWebKit(*url);
        EXPECT_EQ(base ? std::optional(base->absoluteString()) : std::nullopt, row.base)
            << halden::utf8FromUtf16(row.url);
    }
    const auto url = halden::URLWithString(u"feed://h/p#old").value();
    EXPECT_EQ(baseURLForWebKitUsingAnchor(url, u"new").value().absoluteString(), u"http://h/p#new");
    EXPECT_FALSE(baseURLForWebKitUsingAnchor(halden::URLWithString(u"ftp://h/").value(), u"new"));
}

TEST(HtmlReadingOptionsTest, HoldWhatIsGiven) {
    const auto plain = htmlReadingOptions(std::nullopt, u"", nullptr);
    EXPECT_EQ(plain.timeout, 15.0);
    EXPECT_EQ(plain.delegate, nullptr);
    EXPECT_FALSE(plain.baseURL);
    EXPECT_TRUE(plain.textEncodingName.empty());
    EXPECT_EQ(htmlReadingOptions(std::nullopt, u"UtF-8", nullptr).textEncodingName, u"UtF-8");
    EXPECT_FALSE(htmlReadingOptions(halden::URLWithString(u"ftp://h/"), u"", nullptr).baseURL);
    EXPECT_EQ(htmlReadingOptions(halden::URLWithString(u"feed://h/"), u"", nullptr).baseURL->absoluteString(),
              u"http://h/");
}

}  // namespace
}  // namespace quarry::test
