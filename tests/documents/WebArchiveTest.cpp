#include "documents/WebArchive.h"
#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/plists/PropertyList.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace quarry {
namespace {

using halden::Array;
using halden::Data;
using halden::Dictionary;
using halden::Value;

Dictionary resource(std::u16string_view url, std::u16string_view type, Value data, std::u16string_view encoding = {}) {
    Dictionary result{
        {u"WebResourceURL", Value(url)}, {u"WebResourceMIMEType", Value(type)}, {u"WebResourceData", std::move(data)}};
    if (!encoding.empty()) result.set(u"WebResourceTextEncodingName", Value(encoding));
    return result;
}

Value bytes(std::string_view text) {
    return Value(Data::copying(text));
}

Dictionary archive(Dictionary main, Array frames = {}, Array resources = {}) {
    Dictionary result{{u"WebMainResource", Value(std::move(main))}};
    if (!frames.empty()) result.set(u"WebSubframeArchives", Value(std::move(frames)));
    if (!resources.empty()) result.set(u"WebSubresources", Value(std::move(resources)));
    return result;
}

WebArchive made(const Dictionary& dictionary) {
    return WebArchive::archiveWithData(halden::binaryPropertyList(Value(dictionary)).value()).value();
}

/// A page with two frames, of which the first has one itself, and an image as a resource.
Dictionary framedPage() {
    const Dictionary inner = archive(resource(u"http://h/inner", u"text/html", bytes("<body>inner")));
    const Dictionary first =
        archive(resource(u"http://h/first", u"TEXT/HTML; charset=x", bytes("<body>first")), {Value(inner)});
    const Dictionary second = archive(resource(u"http://h/second", u"image/svg+xml", bytes("<body>second")));
    return archive(resource(u"http://h/", u"text/html", bytes("<title>t</title><body>caf\xC3\xA9 &amp; co"), u"utf-8"),
                   {Value(first), Value(second)}, {Value(resource(u"http://h/i.png", u"image/png", bytes("PNG")))});
}

TEST(WebArchive, TextIsThatOfParentsBeforeChildren) {
    EXPECT_EQ(made(framedPage()).searchableText(), u"\n\ncafé & co\n\nfirst\n\ninner\n\nsecond");
    const Dictionary imageWithFrame = archive(resource(u"http://h/i", u"image/png", bytes("<p>no")),
                                              {Value(archive(resource(u"http://h/f", u"text/xml", bytes("frame"))))});
    EXPECT_EQ(made(imageWithFrame).searchableText(), u"\n\nframe");
    EXPECT_EQ(made(imageWithFrame).documentSource(), std::nullopt);
}

TEST(WebArchive, SourceIsDecodedAsTheArchiveSays) {
    const auto source = [](std::u16string_view type, Value data, std::u16string_view encoding = {}) {
        return made(archive(resource(u"http://h/", type, std::move(data), encoding))).documentSource();
    };
    EXPECT_EQ(source(u"text/html", bytes("caf\xE9")), u"café");
    EXPECT_EQ(source(u"text/html", bytes("caf\xC3\xA9"), u"UTF-8"), u"café");
    EXPECT_EQ(source(u"application/xhtml+xml", bytes("<p>")), u"<p>");
    EXPECT_EQ(source(u"application/rss+xml", bytes("<p>")), u"<p>");
    EXPECT_EQ(source(u"text/plain", bytes("<p>")), std::nullopt);
    // A string that the archive has already decoded is taken as it is.
    EXPECT_EQ(source(u"text/html", Value(u"caf\u00C3\u00A9"), u"UTF-8"), u"caf\u00C3\u00A9");
    EXPECT_EQ(source(u"text/html", Value(u"")), u"");
}

std::string bigEndian(std::size_t number, int length) {
    std::string result;
    for (int shift = 8 * (length - 1); shift >= 0; shift -= 8)
        result += static_cast<char>(number >> shift & 0xFF);
    return result;
}

/// A binary property list of these objects, which name one another by one byte each; the first is the root.
Data propertyListOf(const std::vector<std::string>& objects) {
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(list.size(), 4);
        list += object;
    }
    const std::size_t table = list.size();
    list += offsets + bigEndian(0x0401, 8) + bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(table, 8);
    return Data::copying(list);
}

// A block of data stands in the list once, however many frames name it: a small file could ask for endless work.
TEST(WebArchive, LeavesFramesOutThatShareTooMuchData) {
    constexpr std::size_t kLength = std::size_t{1} << 20;
    const auto text = [](std::string_view ascii) {
        return "\x5F\x10" + bigEndian(ascii.size(), 1) + std::string(ascii);
    };
    const Data list = propertyListOf({
        std::string("\xD1\x01\x02"),
        text("WebSubframeArchives"),
        "\xAF\x10" + bigEndian(100, 1) + std::string(100, '\x03'),
        std::string("\xD1\x04\x05"),
        text("WebMainResource"),
        std::string("\xD1\x06\x07"),
        text("WebResourceData"),
        "\x4F\x12" + bigEndian(kLength, 4) + std::string(kLength, 'x'),
    });
    const WebArchive page = WebArchive::archiveWithData(list).value();
    EXPECT_EQ(page.subframeArchives().size(), WebArchive::kSharedDataLimit / kLength);
}

TEST(WebArchive, FindsResourcesAndFramesByUrl) {
    const WebArchive page = made(framedPage());
    const auto url = [](std::u16string_view string) { return halden::URLWithString(string); };
    EXPECT_EQ(page.subresourceForURL(*url(u"http://h/"))->MIMEType, u"text/html");
    EXPECT_EQ(page.subresourceForURL(*url(u"http://h/i.png"))->data.view(), "PNG");
    EXPECT_EQ(page.subresourceForURL(*url(u"http://h/inner"))->data.view(), "<body>inner");
    EXPECT_EQ(page.subresourceForURL(*url(u"http://h/none")), nullptr);
    EXPECT_EQ(page.subArchiveForURL(url(u"http://h/")), &page);
    EXPECT_EQ(page.subArchiveForURL(url(u"http://h/inner"))->searchableText(), u"\n\ninner");
    EXPECT_EQ(page.subArchiveForURL(url(u"http://h/i.png")), nullptr);
    EXPECT_EQ(page.subArchiveForURL(std::nullopt), nullptr);
}

TEST(WebArchive, IsKnownByItsExtension) {
    EXPECT_TRUE(WebArchive::isWebArchiveExtension(u"WebArchive"));
    EXPECT_FALSE(WebArchive::isWebArchiveExtension(u"webarchives"));
    EXPECT_FALSE(WebArchive::isWebArchiveExtension(u""));
    EXPECT_TRUE(WebArchive::isWebArchiveFile(u"/a/b.WEBARCHIVE"));
    EXPECT_FALSE(WebArchive::isWebArchiveFile(u"/webarchive"));
}

TEST(WebArchive, IsNothingElse) {
    for (const std::string_view contents :
         {"", "noise", "<plist><string>x</string></plist>", "<plist><dict/></plist>",
          "<plist><dict><key>WebMainResource</key><string>x</string></dict></plist>", "bplist00"}) {
        EXPECT_FALSE(WebArchive::archiveWithData(Data::copying(contents))) << contents;
    }
}

class WebArchiveFile : public ::testing::Test {
protected:
    WebArchiveFile() {
        std::string name = std::filesystem::temp_directory_path() / "quarry-archive-XXXXXX";
        folder_ = ::mkdtemp(name.data());
    }
    ~WebArchiveFile() override { std::filesystem::remove_all(folder_); }

    std::u16string write(const std::string& name, std::string_view contents) {
        std::ofstream(folder_ / name, std::ios::binary) << contents;
        return halden::stringFromPathBytes((folder_ / name).native());
    }

    std::filesystem::path folder_;
};

TEST_F(WebArchiveFile, GivesTheAnswerOfTheService) {
    const auto answer = [&](const std::u16string& path) {
        return halden::jsonFromValue(Value(searchableTextOfWebArchive(path)));
    };
    const auto data =
        halden::xmlPropertyList(Value(archive(resource(u"http://h/p", u"text/html", bytes("<body>x &lt;")))));
    EXPECT_EQ(answer(write("page", data->view())),
              R"({"String": "\n\nx <", "Source": "<body>x &lt;", "URL": "http://h/p"})");
    const auto image = halden::binaryPropertyList(Value(archive(resource(u"http://h/i", u"image/png", bytes("x")))));
    EXPECT_EQ(answer(write("image", image->view())), R"({"URL": "http://h/i"})");
    EXPECT_EQ(answer(write("empty", "")), "{}");
    EXPECT_EQ(answer(write("noise", "bplist00noise")), "{}");
    EXPECT_EQ(answer(u"/no/such/file"), "{}");
    EXPECT_EQ(answer(u""), "{}");
}

TEST_F(WebArchiveFile, MayBeDamagedAnywhere) {
    const auto data = halden::binaryPropertyList(Value(framedPage()));
    const std::string whole(data->view());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        static_cast<void>(WebArchive::archiveWithData(Data::copying(std::string_view(whole).substr(0, i))));
        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 0x15);
        if (const auto read = WebArchive::archiveWithData(Data::copying(changed)))
            static_cast<void>(read->searchableText());
    }
}

TEST(WebArchiveCorpus, GivesText) {
    const char* corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "no corpus";
    int archives = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
        if (!entry.is_regular_file() || entry.path().extension() != ".webarchive") continue;
        ++archives;
        const Dictionary answer = searchableTextOfWebArchive(halden::stringFromPathBytes(entry.path().native()));
        EXPECT_TRUE(answer.contains(u"String")) << entry.path();
        EXPECT_TRUE(answer.contains(u"URL")) << entry.path();
    }
    EXPECT_GT(archives, 0);
}

}  // namespace
}  // namespace quarry
