// RTFDWithHTML:baseURL:allowRemoteRequest:charset: through a real helper.

#include "foundation/Unicode.h"
#include "helper/HtmlReading.h"
#include "richtext/FlatRtfd.h"
#include "tests/helper/HelperTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

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

/// One grey pixel.
std::string dot() {
    return {"GIF89a\1\0\1\0\x80\0\0\x80\x80\x80\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35};
}

AttributedString textOf(const halden::Dictionary& answer) {
    const auto* rtfd = answer.find(u"Rtfd")->as<Data>();
    return halden::documentFromRtfd(*rtfd).value().text;
}

std::vector<pid_t> processesBelow(pid_t process) {
    std::vector<pid_t> found;
    const auto folder = "/proc/" + std::to_string(process) + "/task";
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator(folder, error)) {
        std::ifstream children(task.path() / "children");
        for (pid_t child = 0; children >> child;) {
            found.push_back(child);
            const auto below = processesBelow(child);
            found.insert(found.end(), below.begin(), below.end());
        }
    }
    return found;
}

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
    folder_.write("dot.gif", dot());
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

TEST_F(HtmlTest, FilesAndWebArchivesGoThroughTheEngine) {
    folder_.write("dot.gif", dot());
    const auto page = proxy().attributedStringWithContentsOfFile(
        file("a.html", "<!DOCTYPE html><meta charset=utf-8><p>a <b>b</b><img src=dot.gif width=9 height=9>"));
    ASSERT_TRUE(page);
    EXPECT_EQ(textOf(*page).string(), u"a b\uFFFC\n");

    const auto element = [](const char* key, const std::string& value) {
        return std::string("<key>") + key + "</key>" + value;
    };
    const auto string = [](const std::string& value) { return "<string>" + value + "</string>"; };
    // The page names its picture and, through its style sheet, nothing that the archive does not hold.
    const std::string archive =
        "<plist><dict>" +
        element("WebMainResource",
                "<dict>" + element("WebResourceMIMEType", string("text/html")) +
                    element("WebResourceURL", string("http://203.0.113.1/a/page")) +
                    // <link rel=stylesheet href=s.css><p>x<img src=i.gif width=9 height=9><img src=other.gif>
                    element("WebResourceData",
                            "<data>PGxpbmsgcmVsPXN0eWxlc2hlZXQgaHJlZj1zLmNzcz48cD54PGltZyBzcmM9aS5na"
                            "WYgd2lkdGg9OSBoZWlnaHQ9OT48aW1nIHNyYz1vdGhlci5naWY+</data>") +
                    "</dict>") +
        "<key>WebSubresources</key><array><dict>" + element("WebResourceMIMEType", string("text/css")) +
        element("WebResourceURL", string("http://203.0.113.1/a/s.css")) +
        element("WebResourceData", "<data>cHtmb250LXdlaWdodDpib2xkfQ==</data>") +  // p{font-weight:bold}
        "</dict><dict>" + element("WebResourceMIMEType", string("image/gif")) +
        element("WebResourceURL", string("http://203.0.113.1/a/i.gif")) +
        element("WebResourceData", "<data>R0lGODlhAQABAIAAAICAgAAAACwAAAAAAQABAAACAkQBADs=</data>") +
        "</dict></array></dict></plist>";
    const auto document = proxy().attributedStringWithContentsOfFile(file("a.webarchive", archive));
    ASSERT_TRUE(document);
    const AttributedString text = textOf(*document);
    EXPECT_EQ(text.string(), u"x\uFFFC\n");
    EXPECT_TRUE(text.characterAttributesAt(0).font.bold);
    ASSERT_EQ(text.attachments().size(), 1u);
    EXPECT_EQ(text.attachments()[0].attachment->file.data.length(), 35u);
}

TEST_F(HtmlTest, AKilledHelperLeavesNoEngineBehind) {
    ASSERT_TRUE(rendered("<p>x"));
    const pid_t helper = task_->processIdentifier().value();
    std::vector<pid_t> engine = processesBelow(helper);
    ASSERT_GE(engine.size(), 3u);
    kill(helper, SIGKILL);
    const auto isThere = [](pid_t process) { return kill(process, 0) == 0; };
    for (int i = 0; i < 100 && std::any_of(engine.begin(), engine.end(), isThere); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(std::none_of(engine.begin(), engine.end(), isThere));
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
