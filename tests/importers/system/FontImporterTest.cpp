#include "tests/importers/system/SystemBundles.h"

#include <filesystem>

namespace quarry::test {
namespace {

using halden::Array;
using halden::Dictionary;

using FontImporterTest = SystemBundles;

void append16(std::string& bytes, unsigned value) {
    bytes.push_back(static_cast<char>(value >> 8));
    bytes.push_back(static_cast<char>(value & 0xFF));
}

void append32(std::string& bytes, std::size_t value) {
    append16(bytes, static_cast<unsigned>(value >> 16 & 0xFFFF));
    append16(bytes, static_cast<unsigned>(value & 0xFFFF));
}

TEST_F(FontImporterTest, BytesThatAreNoFontGiveNothing) {
    EXPECT_FALSE(metaData("a.ttf", ""));
    EXPECT_FALSE(metaData("b.otf", "OTTO"));
    EXPECT_FALSE(
        metaData("c.pfa", "%!PS-AdobeFont-1.0: Test\n11 dict begin\n/FontName /Test def\ncurrentfile eexec\n"));
    std::string table = std::string("\0\1\0\0", 4);
    append16(table, 1);
    table += std::string(6, '\0') + "name";
    append32(table, 0);
    append32(table, 0xFFFFFFF0);
    append32(table, 0xFFFFFFF0);
    EXPECT_FALSE(metaData("d.ttf", table));
}

TEST_F(FontImporterTest, AFontGivesItsNames) {
    const std::filesystem::path font = "/usr/share/fonts/opentype/urw-base35/NimbusSans-Regular.otf";
    if (!std::filesystem::exists(font)) GTEST_SKIP() << "no font to read";
    const auto result = metaDataOf(font);
    ASSERT_TRUE(result);
    EXPECT_EQ(stringOf(result, u"kMDItemTitle"), u"NimbusSans-Regular");
    EXPECT_EQ(*result->find(u"kMDItemFonts"), halden::Value(Array{u"NimbusSans-Regular"}));
    EXPECT_TRUE(stringOf(result, u"kMDItemVersion").starts_with(u"Version 1"));
    EXPECT_NE(stringOf(result, u"kMDItemCopyright").find(u"URW"), std::u16string::npos);
}

}  // namespace
}  // namespace quarry::test
