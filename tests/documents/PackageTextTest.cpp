#include "documents/PackageText.h"
#include "foundation/CompressedData.h"
#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace quarry {
namespace {

using halden::Array;
using halden::Data;
using halden::Dictionary;
using halden::Value;

TEST(PackageAttributes, LoseThePlaceholdersOfOneImporter) {
    const Dictionary reported{{u"title", Value(u"<Title>")},
                              {u"spaced", Value(u"<My Title>")},
                              {u"one", Value(Array{Value(u"<x>")})},
                              {u"two", Value(Array{Value(u"<x>"), Value(u"<y>")})},
                              {u"number", Value(3)},
                              {u"open", Value(u"<x")},
                              {u"both", Value(u"<>")}};
    Dictionary cleaned = reported;
    cleanUpPackageAttributes(cleaned, u"/a/b.MELLEL");
    EXPECT_EQ(halden::jsonFromValue(Value(cleaned)),
              R"({"spaced": "<My Title>", "two": ["<x>", "<y>"], "number": 3, "open": "<x"})");
    Dictionary others = reported;
    cleanUpPackageAttributes(others, u"/a/b.doc");
    EXPECT_EQ(others, reported);
}

class PackageText : public ::testing::Test {
protected:
    PackageText() {
        std::string name = std::filesystem::temp_directory_path() / "quarry-package-XXXXXX";
        folder_ = ::mkdtemp(name.data());
    }
    ~PackageText() override { std::filesystem::remove_all(folder_); }

    /// The text of a package with that name that holds these files, or "(none)".
    std::string textOf(const std::string& name, const std::vector<std::pair<std::string, std::string>>& files) {
        const std::filesystem::path package = folder_ / name;
        std::filesystem::remove_all(package);
        std::filesystem::create_directories(package);
        for (const auto& [file, contents] : files)
            std::ofstream(package / file, std::ios::binary) << contents;
        const auto attributes = textOfPackage(halden::stringFromPathBytes(package.native()));
        if (!attributes) return "(none)";
        EXPECT_EQ(attributes->size(), 1U);
        return halden::utf8FromUtf16(*attributes->find(u"kMDItemTextContent")->as<std::u16string>());
    }

    std::filesystem::path folder_;
};

std::string compressed(std::string_view text, halden::CompressionFormat format) {
    const Data data = Data::copying(text);
    return std::string(halden::dataByCompressingBytes(data.span(), -1, format)->view());
}

TEST_F(PackageText, OfOutlinesIsTheirContents) {
    constexpr std::string_view kXml =
        "<?xml version=\"1.0\"?>\n<outline><style-attribute-registry>no<style-attribute/></style-attribute-registry>"
        "<print-info>no</print-info><print-info x='1'>yes</print-info><editor>no</editor><item>caf\xC3\xA9 &amp;\n\n "
        "co</item></outline>";
    const std::string text = " yes café & co";
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", std::string(kXml)}}), text);
    EXPECT_EQ(textOf("a.OO3", {{"contents.xml", compressed(kXml, halden::CompressionFormat::gzip)}}), text);
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", compressed(kXml, halden::CompressionFormat::zlib)}}), text);
    const std::string gzip = compressed(kXml, halden::CompressionFormat::gzip);
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", gzip.substr(0, gzip.size() - 4)}}), "(none)");
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", gzip + "x"}}), "(none)");
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", "<a>b"}}), "b");  // four bytes are never inflated
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", "<a>bc"}}), "(none)");
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", ""}}), "");
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", "<?xml\xFF"}}), "(none)");
    EXPECT_EQ(textOf("a.oo3", {}), "(none)");
    EXPECT_EQ(textOf("a.oo", {{"contents.xml", std::string(kXml)}}), "(none)");
}

TEST_F(PackageText, OfOutlinesIsBounded) {
    const std::string bomb = compressed(std::string(kLargestPackageText + 1, '\0'), halden::CompressionFormat::gzip);
    EXPECT_EQ(textOf("a.oo3", {{"contents.xml", bomb}}), "(none)");
}

TEST_F(PackageText, OfChatsIsThatOfTheirOnlyXmlFile) {
    constexpr std::string_view kXml =
        "<?xml version='1.0' "
        "encoding='utf-8'?><chat><message>&lt;hi&gt;</message><message>caf\xC3\xA9</message></chat>";
    EXPECT_EQ(textOf("a.chatlog", {{"log.xml", std::string(kXml)}, {"Info.txt", "x"}}), "<hi> café");
    EXPECT_EQ(textOf("a.ChatLog", {{"log.XML", std::string(kXml)}}), "<hi> café");
    EXPECT_EQ(textOf("a.chatlog", {{"a.xml", std::string(kXml)}, {"b.xml", std::string(kXml)}}), "(none)");
    EXPECT_EQ(textOf("a.chatlog", {{"a.txt", "x"}}), "(none)");
    EXPECT_EQ(textOf("a.chatlog", {{"a.xml", "caf\xE9"}}), "(none)");
}

TEST_F(PackageText, OfWhatIsNoPackage) {
    EXPECT_EQ(textOfPackage(u"/no/such.oo3"), std::nullopt);
    EXPECT_EQ(textOfPackage(u"/no/such.chatlog"), std::nullopt);
    EXPECT_EQ(textOfPackage(u""), std::nullopt);
}

}  // namespace
}  // namespace quarry
