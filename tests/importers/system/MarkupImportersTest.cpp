#include "tests/importers/system/SystemBundles.h"

#include <filesystem>

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;

using MarkupImportersTest = SystemBundles;

TEST_F(MarkupImportersTest, APageGivesWhatItSaysOfItselfAndItsText) {
    const std::string page =
        "<html><head><title> A &amp;\nB </title><meta name=Description content='d &lt;'>"
        "<meta name=keywords content='k, l m'><meta name=author content='Ann'><meta name=copyright content='C'></head>"
        "<body><p>One<p>Two &#1;&euro;<script>x</script></body></html>";
    EXPECT_EQ(metaData("a.html", page), (Dictionary{{u"kMDItemTitle", u"A & B"},
                                                    {u"kMDItemDescription", u"d <"},
                                                    {u"kMDItemKeywords", Array{u"k", u"l m"}},
                                                    {u"kMDItemAuthors", Array{u"Ann"}},
                                                    {u"kMDItemCopyright", u"C"},
                                                    {u"kMDItemTextContent", u"One\n\nTwo \u20AC"}}));
    EXPECT_EQ(stringOf(metaData("a.xhtml", page), u"kMDItemTitle"), u"A & B");
}

TEST_F(MarkupImportersTest, EncodingsAreDeclaredOrTold) {
    EXPECT_EQ(stringOf(metaData("a.html", "<body>\xC3\xA4"), u"kMDItemTextContent"), u"\u00E4");
    EXPECT_EQ(stringOf(metaData("b.html", "<body>\xE4\x80"), u"kMDItemTextContent"), u"\u00E4\u20AC");
    EXPECT_EQ(stringOf(metaData("c.html", "<head><meta charset=windows-1251></head><body>\xE4"), u"kMDItemTextContent"),
              u"\u0434");
}

TEST_F(MarkupImportersTest, APageWithoutContentHasNoMarkupForText) {
    EXPECT_FALSE(metaData("a.html", ""));
    EXPECT_FALSE(metaData("b.html", "<html><body><img src=x></body></html>"));
    EXPECT_FALSE(metaData("c.html", "<p><b></b>"));
}

constexpr std::string_view kRtf =
    "{\\rtf1\\ansi{\\info{\\title T}{\\author A}{\\*\\copyright C}{\\doccomm D}{\\keywords k, "
    "l}{\\creatim\\yr2026\\mo1\\dy1}}"
    "One\\line two\\par caf\\'e9}";

TEST_F(MarkupImportersTest, RichTextGivesItsInformationAndText) {
    const auto result = metaData("a.rtf", kRtf);
    EXPECT_EQ(stringOf(result, u"kMDItemTitle"), u"T");
    EXPECT_EQ(stringOf(result, u"kMDItemCopyright"), u"C");
    EXPECT_EQ(stringOf(result, u"kMDItemComment"), u"D");
    EXPECT_EQ(stringOf(result, u"kMDItemTextContent"), u"One\ntwo\ncaf\u00E9");
    ASSERT_TRUE(result);
    EXPECT_EQ(*result->find(u"kMDItemAuthors"), halden::Value(Array{u"A"}));
    EXPECT_EQ(*result->find(u"kMDItemKeywords"), halden::Value(Array{u"k", u"l"}));
    EXPECT_TRUE(result->find(u"kMDItemContentCreationDate")->is<Date>());
    EXPECT_FALSE(metaData("b.rtf", "no rich text"));
}

TEST_F(MarkupImportersTest, APackageGivesTheTextInIt) {
    static_cast<void>(folder_.write("a.rtfd/TXT.rtf", std::string(kRtf)));
    EXPECT_EQ(stringOf(metaDataOf(folder_ / "a.rtfd"), u"kMDItemTextContent"), u"One\ntwo\ncaf\u00E9");
    std::filesystem::create_directory(folder_ / "b.rtfd");
    EXPECT_FALSE(metaDataOf(folder_ / "b.rtfd"));
}

TEST_F(MarkupImportersTest, AWebArchiveGivesTitleAddressAndTheTextsOfAllFrames) {
    const auto resource = [](const std::string& html) {
        return "<key>WebMainResource</key><dict><key>WebResourceData</key><string>" + html +
               "</string><key>WebResourceMIMEType</key><string>text/html</string>"
               "<key>WebResourceURL</key><string>http://example.org/a</string></dict>";
    };
    const std::string archive = "<plist><dict>" + resource("&lt;title&gt;T&lt;/title&gt;&lt;body&gt;Main") +
                                "<key>WebSubframeArchives</key><array><dict>" + resource("&lt;body&gt;Frame") +
                                "</dict></array></dict></plist>";
    EXPECT_EQ(metaData("a.webarchive", archive), (Dictionary{{u"kMDItemTitle", u"T"},
                                                             {u"kMDItemURL", u"http://example.org/a"},
                                                             {u"kMDItemWhereFroms", Array{u"http://example.org/a"}},
                                                             {u"kMDItemTextContent", u"Main\n\nFrame"}}));
    EXPECT_FALSE(metaData("b.webarchive", "<plist><dict/></plist>"));
}

}  // namespace
}  // namespace quarry::test
