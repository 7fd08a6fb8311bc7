// What the importer of pictures reports.
#include "foundation/CompressedData.h"
#include "tests/importers/system/SystemBundles.h"
#include "tests/platform/images/TestPictures.h"

namespace quarry::test {
namespace {

using halden::Value;
using halden::test::encoded;
using halden::test::quarters;

class ImageImporterTest : public SystemBundles {};

TEST_F(ImageImporterTest, ReportsThePicture) {
    struct Row {
        const char* name;
        halden::test::Encoding encoding;
        int channels;
        const char16_t* space;
        int bits;
    };
    const std::vector<Row> rows = {
        {"a.jpg", {.suffix = ".jpg", .dotsPerInch = 300}, 3, u"RGB", 8},
        {"a.png", {.suffix = ".png", .dotsPerInch = 300}, 4, u"RGB", 8},
        {"b.png", {.suffix = ".png", .is16Bit = true, .dotsPerInch = 300}, 3, u"RGB", 16},
        {"a.tif", {.suffix = ".tif", .isGrey = true, .dotsPerInch = 300}, 3, u"Gray", 8},
        {"b.tif", {.suffix = ".tif", .isCmyk = true, .dotsPerInch = 300}, 3, u"CMYK", 8},
    };
    for (const Row& row : rows) {
        const auto attributes = metaData(row.name, encoded(quarters(40, 30, row.channels), row.encoding).view());
        ASSERT_TRUE(attributes) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemPixelWidth"), Value(40)) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemPixelHeight"), Value(30)) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemPixelCount"), Value(1200)) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemBitsPerSample"), Value(row.bits)) << row.name;
        EXPECT_EQ(stringOf(attributes, u"kMDItemColorSpace"), row.space) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemHasAlphaChannel"), Value(row.channels == 4)) << row.name;
        ASSERT_TRUE(attributes->contains(u"kMDItemResolutionWidthDPI")) << row.name;
        EXPECT_NEAR(*attributes->find(u"kMDItemResolutionWidthDPI")->as<double>(), 300, 0.5) << row.name;
        EXPECT_EQ(*attributes->find(u"kMDItemOrientation"), Value(0)) << row.name;
    }
}

TEST_F(ImageImporterTest, TellsHowAPictureIsShown) {
    const auto attributes = metaData("a.jpg", encoded(quarters(30, 40), {.suffix = ".jpg", .orientation = 6}).view());
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"kMDItemPixelWidth"), Value(40));
    EXPECT_EQ(*attributes->find(u"kMDItemOrientation"), Value(1));
}

TEST_F(ImageImporterTest, ReportsNothingOfWhatIsNoPicture) {
    for (const char* bytes : {"", "words", "%PDF-1.4"}) {
        const auto attributes = metaData("a.png", bytes);
        EXPECT_TRUE(!attributes || !attributes->contains(u"kMDItemPixelWidth")) << bytes;
    }
}

TEST_F(ImageImporterTest, AVectorGraphicGivesItsWords) {
    const auto svg = [](const std::string& before, const std::string& text) {
        return before +
               "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='20'><title>A  title</title>"
               "<desc>About</desc><g><title>no</title><text>One <tspan>two</tspan></text></g><text>" +
               text + "</text><style>no</style></svg>";
    };
    const auto result = metaData("a.svg", svg("", "&lt;three"));
    EXPECT_EQ(stringOf(result, u"kMDItemTitle"), u"A title");
    EXPECT_EQ(stringOf(result, u"kMDItemDescription"), u"About");
    EXPECT_EQ(stringOf(result, u"kMDItemTextContent"), u"One two\n<three\n");
    const auto plain = halden::Data::copying(svg("", "&lt;three"));
    EXPECT_EQ(metaData("a.svgz", halden::dataByGzippingData(plain)->view()), result);
    const auto entity = metaData("b.svg", svg("<!DOCTYPE svg [<!ENTITY a SYSTEM 'file:///etc/passwd'>]>", "&a;"));
    EXPECT_EQ(stringOf(entity, u"kMDItemTextContent"), u"(none)");
}

}  // namespace
}  // namespace quarry::test
