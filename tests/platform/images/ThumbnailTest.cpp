// Thumbnails of files, compared with the pictures that they were made from.
#include "foundation/Path.h"
#include "platform/images/ImageProperties.h"
#include "platform/images/Thumbnails.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/images/TestPictures.h"

#include <gtest/gtest.h>

namespace halden::test {
namespace {

constexpr int kLzw = 5;

class ThumbnailTest : public ::testing::Test {
protected:
    std::u16string file(const Data& data) {
        return stringFromPathBytes(folder_.write("picture", std::string(data.view())).string());
    }
    /// The thumbnail as it travels: TIFF data, decoded.
    std::optional<Bitmap> thumbnail(const Data& data, ThumbnailForFileOptions options = {.withTransform = true}) {
        auto image = thumbnailForFile(file(data), options);
        const auto tiff = image ? image->TIFFRepresentation() : std::nullopt;
        auto decoded = tiff ? decodedTiff(*tiff) : std::nullopt;
        if (!decoded) return std::nullopt;
        EXPECT_EQ(decoded->compression, kLzw);
        EXPECT_EQ(decoded->dotsPerInch, 72);
        return std::move(decoded->bitmap);
    }
    quarry::test::TemporaryFolder folder_;
};

struct FormatCase {
    const char* name;
    Encoding encoding;
    int channels = 3;
    int tolerance = 12;
};

void PrintTo(const FormatCase& value, std::ostream* out) {
    *out << value.name;
}

class ThumbnailFormatTest : public ThumbnailTest, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(ThumbnailFormatTest, LooksLikeItsPicture) {
    const FormatCase& param = GetParam();
    const Data data = encoded(quarters(600, 300, param.channels), param.encoding);
    if (data.empty()) GTEST_SKIP() << "there is no encoder";
    const auto bitmap = thumbnail(data);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width, 256);
    EXPECT_EQ(bitmap->height, 128);
    // A palette may hold transparent colours, and has alpha whether or not they are used.
    if (param.encoding.suffix != ".gif") {
        EXPECT_EQ(bitmap->channels, param.channels);
    }
    if (param.channels == 4) {
        EXPECT_EQ(pixelAt(*bitmap, 64, 32)[3], 255);
        EXPECT_EQ(pixelAt(*bitmap, 192, 96)[3], 0);
        EXPECT_EQ(pixelAt(*bitmap, 64, 32)[0], 255);
    } else {
        EXPECT_EQ(differenceFromQuarters(*bitmap, param.tolerance), "");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ThumbnailFormatTest,
    ::testing::Values(
        FormatCase{"jpeg", {.suffix = ".jpg[Q=90]"}}, FormatCase{"progressive", {.suffix = ".jpg[Q=90,interlace]"}},
        FormatCase{"png", {.suffix = ".png"}}, FormatCase{"pngAlpha", {.suffix = ".png"}, 4},
        FormatCase{"pngInterlaced", {.suffix = ".png[interlace]"}},
        FormatCase{"pngPalette", {.suffix = ".png[palette]"}}, FormatCase{"png16", {.suffix = ".png", .is16Bit = true}},
        FormatCase{"gif", {.suffix = ".gif"}}, FormatCase{"tiff", {.suffix = ".tif"}},
        FormatCase{"tiffLzw", {.suffix = ".tif[compression=lzw]"}},
        FormatCase{"tiffJpeg", {.suffix = ".tif[compression=jpeg,tile]"}},
        FormatCase{"tiffPyramid", {.suffix = ".tif[tile,pyramid,tile-width=64,tile-height=64]"}},
        FormatCase{"tiff16", {.suffix = ".tif", .is16Bit = true}}, FormatCase{"tiffAlpha", {.suffix = ".tif"}, 4},
        FormatCase{"webp", {.suffix = ".webp[lossless]"}}, FormatCase{"webpAlpha", {.suffix = ".webp[lossless]"}, 4},
        FormatCase{"heic", {.suffix = ".heic[Q=90]"}, 3, 20}, FormatCase{"avif", {.suffix = ".avif[Q=90]"}, 3, 20},
        FormatCase{"jpeg2000", {.suffix = ".jp2[lossless]"}}, FormatCase{"jpegXL", {.suffix = ".jxl[lossless]"}},
        FormatCase{"bmp", {.suffix = ".bmp"}},
        // Colours that the press has not come out paler: what counts is that they are those colours.
        FormatCase{"cmyk", {.suffix = ".jpg[Q=95]", .isCmyk = true}, 3, 140},
        FormatCase{"profile", {.suffix = ".png", .profile = "p3"}, 3, 6},
        FormatCase{"jpegProfile", {.suffix = ".jpg[Q=95]", .profile = "p3"}, 3, 12}),
    [](const auto& test) { return test.param.name; });

TEST_F(ThumbnailTest, ObeysEveryOrientation) {
    for (const char* suffix : {".jpg[Q=95]", ".tif", ".webp[lossless]"}) {
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const Data data = encoded(quarters(600, 300), {.suffix = suffix, .orientation = orientation});
            const auto bitmap = thumbnail(data);
            ASSERT_TRUE(bitmap) << suffix << orientation;
            EXPECT_EQ(bitmap->width, 256) << suffix << orientation;
            EXPECT_EQ(bitmap->height, 128) << suffix << orientation;
            EXPECT_EQ(differenceFromQuarters(*bitmap, 12), "") << suffix << orientation;
        }
    }
}

TEST_F(ThumbnailTest, LeavesPixelsAsTheyAreStoredWhenNotAskedToTurnThem) {
    const Data data = encoded(quarters(600, 300), {.suffix = ".jpg[Q=95]", .orientation = 6});
    const auto bitmap = thumbnail(data, {});
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width, 128);
    EXPECT_EQ(bitmap->height, 256);
    EXPECT_NE(differenceFromQuarters(*bitmap, 12), "");
}

TEST_F(ThumbnailTest, TakesTheThumbnailInTheFile) {
    const Data picture = encoded(quarters(1000, 500), {.suffix = ".jpg"});
    Bitmap blue{.width = 160, .height = 80, .channels = 3, .pixels = {}};
    for (int i = 0; i < 160 * 80; ++i)
        blue.pixels.insert(blue.pixels.end(), {0, 0, 200});
    const Data small = encoded(blue, {.suffix = ".jpg"});
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Data data = withThumbnail(picture, small, orientation);
        const auto bitmap = thumbnail(data);
        ASSERT_TRUE(bitmap) << orientation;
        EXPECT_EQ(bitmap->width, orientation > 4 ? 80 : 160) << orientation;
        EXPECT_EQ(bitmap->height, orientation > 4 ? 160 : 80) << orientation;
        EXPECT_GT(pixelAt(*bitmap, 10, 10)[2], 180);
        EXPECT_LT(pixelAt(*bitmap, 10, 10)[0], 20);
    }
    const auto made = thumbnail(withThumbnail(picture, small, 1), {.alwaysFromImage = true});
    ASSERT_TRUE(made);
    EXPECT_EQ(made->width, 256);
    EXPECT_EQ(differenceFromQuarters(*made, 12), "");
}

TEST_F(ThumbnailTest, TurnsTheThumbnailInTheFileAsItsPicture) {
    const Data small = encoded(quarters(160, 120), {.suffix = ".jpg[Q=95]"});
    const Data picture = encoded(quarters(800, 600), {.suffix = ".jpg"});
    const auto stored = thumbnail(withThumbnail(picture, small, 1));
    ASSERT_TRUE(stored);
    EXPECT_EQ(differenceFromQuarters(*stored, 12), "");
    for (int orientation = 2; orientation <= 8; ++orientation) {
        // What is stored turned comes out upright.
        const Data turned = encoded(quarters(120, 160), {.suffix = ".jpg[Q=95]", .orientation = orientation});
        const auto bitmap = thumbnail(withThumbnail(picture, turned, orientation));
        ASSERT_TRUE(bitmap) << orientation;
        EXPECT_EQ(bitmap->width, 120) << orientation;
        EXPECT_EQ(differenceFromQuarters(*bitmap, 12), "") << orientation;
    }
}

TEST_F(ThumbnailTest, ReducesATooLargeThumbnailInTheFile) {
    const Data picture = encoded(quarters(2000, 1000), {.suffix = ".jpg"});
    const Data large = encoded(quarters(640, 320), {.suffix = ".jpg"});
    const auto bitmap = thumbnail(withThumbnail(picture, large, 1));
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width, 256);
    EXPECT_EQ(bitmap->height, 128);
    EXPECT_EQ(differenceFromQuarters(*bitmap, 12), "");
}

TEST_F(ThumbnailTest, MakesOneWhenTheThumbnailInTheFileIsBroken) {
    const Data picture = encoded(quarters(1000, 500), {.suffix = ".jpg"});
    const auto bitmap = thumbnail(withThumbnail(picture, Data::copying("\xFF\xD8 nothing here"), 1));
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width, 256);
}

TEST_F(ThumbnailTest, IsNeverEnlargedAndRoundsDown) {
    struct Row {
        int width, height, thumbWidth, thumbHeight;
    };
    for (const Row& row :
         {Row{100, 50, 100, 50}, Row{1000, 500, 256, 128}, Row{500, 1000, 128, 256}, Row{1000, 1, 256, 1},
          Row{1, 1000, 1, 256}, Row{1000, 667, 256, 170}, Row{256, 256, 256, 256}, Row{257, 256, 256, 255}}) {
        const auto bitmap = thumbnail(encoded(quarters(row.width, row.height), {.suffix = ".png"}));
        ASSERT_TRUE(bitmap) << row.width;
        EXPECT_EQ(bitmap->width, row.thumbWidth) << row.width << " " << row.height;
        EXPECT_EQ(bitmap->height, row.thumbHeight) << row.width << " " << row.height;
    }
}

TEST_F(ThumbnailTest, GivesThePropertiesOfThePicture) {
    const auto path = file(encoded(quarters(300, 200), {.suffix = ".jpg", .orientation = 6, .dotsPerInch = 300}));
    std::optional<Dictionary> properties;
    ASSERT_TRUE(thumbnailForFile(path, {}, &properties));
    ASSERT_TRUE(properties);
    EXPECT_EQ(*properties->find(kPixelWidth), Value(200));
    EXPECT_EQ(*properties->find(kPixelHeight), Value(300));
    EXPECT_EQ(*properties->find(kOrientation), Value(6));
    EXPECT_EQ(*properties->find(kColorModel), Value(u"RGB"));
    EXPECT_EQ(*properties->find(kDepth), Value(8));
    EXPECT_EQ(*properties->find(kHasAlpha), Value(false));
    EXPECT_NEAR(*properties->find(kDPIWidth)->as<double>(), 300, 0.5);
    ASSERT_TRUE(properties->contains(kTIFFDictionary));
    EXPECT_EQ(*properties->find(kTIFFDictionary)->as<Dictionary>()->find(u"Orientation"), Value(6));
}

TEST_F(ThumbnailTest, HasNoneOfWhatIsNoPicture) {
    std::optional<Dictionary> properties = Dictionary{{u"stale", 1}};
    EXPECT_FALSE(thumbnailForFile(u"", {}, &properties));
    EXPECT_FALSE(properties);
    EXPECT_FALSE(thumbnailForFile(u"/nowhere/at/all", {}));
    for (const char* bytes :
         {"", "text", "%PDF-1.4", "%!PS", "<svg xmlns='http://www.w3.org/2000/svg'/>", "\xFF\xD8\xFF", "GIF89a", "BM"})
        EXPECT_FALSE(thumbnailForFile(file(Data::copying(std::string_view(bytes))), {})) << bytes;
}

TEST_F(ThumbnailTest, PreviewsFitTheirSize) {
    auto preview = previewForFile(file(encoded(quarters(600, 300), {.suffix = ".png"})), 64);
    ASSERT_TRUE(preview);
    EXPECT_EQ(preview->size(), (Size{64, 32}));
    EXPECT_FALSE(previewForFile(u"", 64));
    EXPECT_FALSE(previewForFile(u"/nowhere", 64));
}

}  // namespace
}  // namespace halden::test
