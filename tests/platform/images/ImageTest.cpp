// Images, their representations, and how they are drawn.
#include "foundation/CompressedData.h"
#include "foundation/Path.h"
#include "platform/images/Image.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/images/TestPictures.h"

#include <gtest/gtest.h>

#include <random>

namespace halden::test {
namespace {

std::unique_ptr<ImageRep> bitmapRep(int width, int height, int channels = 3) {
    return std::make_unique<BitmapImageRep>(quarters(width, height, channels));
}

TEST(ThumbForSize, ReducesAndRoundsDown) {
    const Size maximum{256, 256};
    const std::vector<std::pair<Size, Size>> rows = {
        {{100, 50}, {100, 50}},       {{1000, 500}, {256, 128}}, {{500, 1000}, {128, 256}}, {{1000, 1}, {256, 1}},
        {{1, 1000}, {1, 256}},        {{256, 256}, {256, 256}},  {{256.5, 10}, {256, 9}},   {{0, 0}, {0, 0}},
        {{10.5, 3.25}, {10.5, 3.25}}, {{595, 842}, {180, 256}},
    };
    for (const auto& [size, thumb] : rows)
        EXPECT_EQ(thumbForSize(maximum, size), thumb) << size.width << " " << size.height;
    EXPECT_EQ(thumbForSize({100.7, 20.9}, {1000, 1000}), (Size{20, 20}));
}

TEST(Tiff, PixelsOfEveryKindComeBackThroughTheLibrary) {
    const ImagesEngine* engine = imagesEngineStatus().engine;
    ASSERT_NE(engine, nullptr) << imagesEngineStatus().reason;
    std::minstd_rand random(11);
    const auto sameAsBefore = [&](int width, int height, int channels, unsigned shades) {
        Bitmap bitmap{.width = width, .height = height, .channels = channels, .pixels = {}};
        for (std::size_t i = 0; i < bitmap.rowLength() * static_cast<std::size_t>(height); ++i)
            bitmap.pixels.push_back(static_cast<std::uint8_t>(random() / 7 % shades * 255 / std::max(1U, shades - 1)));
        const auto tiff = engine->tiffFromBitmap(bitmap);
        const auto again = tiff ? decodedTiff(*tiff) : std::nullopt;
        return again && again->bitmap.width == width && again->bitmap.pixels == bitmap.pixels;
    };
    // The table of strings fills after some thousand bytes of noise, and never in a picture of one shade.
    for (const unsigned shades : {1U, 2U, 5U, 256U}) {
        for (int width = 1; width < 40; ++width)
            EXPECT_TRUE(sameAsBefore(width, 1 + width % 3, 3 + width % 2, shades)) << width << " " << shades;
        for (int width = 1270; width < 1300; ++width)
            EXPECT_TRUE(sameAsBefore(width, 1, 3, shades)) << width << " " << shades;
        EXPECT_TRUE(sameAsBefore(300, 200, 4, shades)) << shades;
    }
}

TEST(Image, IsValidWithAnAreaAndARepresentation) {
    Image image({10, 10});
    EXPECT_FALSE(image.isReallyValid());
    image.addRepresentation(bitmapRep(4, 4));
    EXPECT_TRUE(image.isReallyValid());
    image.setSize({0, 10});
    EXPECT_FALSE(image.isReallyValid());
    image.setSize({10, 0});
    EXPECT_FALSE(image.isReallyValid());
}

TEST(Image, CountsThePixelsOfItsWidestRepresentation) {
    Image image({10, 10});
    EXPECT_EQ(image.pixelSize(), (Size{10, 10}));
    image.addRepresentation(bitmapRep(16, 16));
    image.addRepresentation(bitmapRep(32, 20));
    image.addRepresentation(bitmapRep(32, 40));
    EXPECT_EQ(image.pixelSize(), (Size{32, 20}));
    EXPECT_FALSE(image.hasAlpha());
    image.addRepresentation(bitmapRep(8, 8, 4));
    EXPECT_TRUE(image.hasAlpha());
}

TEST(Image, DrawsItsSmallestSufficientRepresentation) {
    Image image({64, 64});
    for (const int side : {64, 16, 32})
        image.addRepresentation(bitmapRep(side, side));
    EXPECT_EQ(image.bestRepresentationForRect({20, 20})->pixelsWide(), 32);
    EXPECT_EQ(image.bestRepresentationForRect({16, 16})->pixelsWide(), 16);
    EXPECT_EQ(image.bestRepresentationForRect({100, 100})->pixelsWide(), 64);
}

TEST(Image, DrawsPicturesWithAlphaOnItsBackground) {
    Image image({8, 8});
    image.addRepresentation(bitmapRep(8, 8, 4));
    const auto clear = image.drawInRect({8, 8});
    ASSERT_TRUE(clear);
    EXPECT_EQ(pixelAt(*clear, 6, 6)[3], 0);
    image.setBackgroundColor({0, 0, 128, 255});
    const auto drawn = image.drawInRect({8, 8});
    ASSERT_TRUE(drawn);
    EXPECT_EQ(pixelAt(*drawn, 6, 6), (Pixel{0, 0, 128, 255}));
    EXPECT_EQ(pixelAt(*drawn, 1, 1), (Pixel{255, 0, 0, 255}));
}

TEST(Image, HasItsSizeInPointsFromTheResolution) {
    for (const char* suffix : {".png", ".jpg", ".tif"}) {
        auto image = Image::initWithData(encoded(quarters(300, 150), {.suffix = suffix, .dotsPerInch = 300}));
        ASSERT_TRUE(image) << suffix;
        EXPECT_NEAR(image->size().width, 72, 0.1) << suffix;
        EXPECT_NEAR(image->size().height, 36, 0.1) << suffix;
        EXPECT_EQ(image->pixelSize(), (Size{300, 150})) << suffix;
    }
    auto plain = Image::initWithData(encoded(quarters(300, 150), {.suffix = ".webp[lossless]"}));
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->size(), (Size{300, 150}));
}

TEST(Image, CountsAsItIsShown) {
    auto image = Image::initWithData(encoded(quarters(300, 150), {.suffix = ".jpg", .orientation = 6}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixelSize(), (Size{300, 150}));
    EXPECT_EQ(differenceFromQuarters(image->drawInRect({100, 50}).value_or(quarters(1, 1)), 20), "");
}

TEST(Image, KeepsAllPagesOfATiff) {
    auto image = Image::initWithData(encodedPages({quarters(20, 10), quarters(40, 30), quarters(40, 20)}));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->representations().size(), 3U);
    EXPECT_EQ(image->size(), (Size{20, 10}));
    EXPECT_EQ(image->pixelSize(), (Size{40, 30}));
    for (const auto& representation : image->representations()) {
        const auto drawn = representation->draw({representation->pixelsWide(), representation->pixelsHigh()});
        ASSERT_TRUE(drawn);
        EXPECT_EQ(differenceFromQuarters(*drawn, 2), "");
    }
}

TEST(Image, DrawsVectorsOnWhite) {
    const std::string svg =
        "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='20'><rect width='20' height='20' "
        "fill='red'/></svg>";
    const Data plain = Data::copying(svg);
    for (const Data& file : {plain, *dataByGzippingData(plain)}) {
        auto image = Image::initWithData(file);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), (Size{40, 20}));
        EXPECT_EQ(image->pixelSize(), (Size{40, 20}));
        EXPECT_TRUE(image->hasAlpha());
        image->setBackgroundColor({1, 2, 3, 255});
        const auto drawn = image->drawInRect({200, 100});
        ASSERT_TRUE(drawn);
        EXPECT_EQ(pixelAt(*drawn, 50, 50), (Pixel{255, 0, 0, 255}));
        EXPECT_EQ(pixelAt(*drawn, 150, 50), (Pixel{255, 255, 255, 255}));
        EXPECT_EQ(image->backgroundColor().blue, 3);
    }
    EXPECT_FALSE(Image::initWithData(*dataByGzippingData(Data::copying("no drawing"))));
}

TEST(Image, IsMadeOfABitmap) {
    EXPECT_FALSE(Image::imageWithCGImageRef(std::nullopt));
    EXPECT_FALSE(Image::imageWithCGImageRef(Bitmap{.width = 0, .height = 4, .channels = 3, .pixels = {}}));
    auto image = Image::imageWithCGImageRef(quarters(12, 8));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (Size{12, 8}));
    ASSERT_EQ(image->representations().size(), 1U);
    EXPECT_EQ(image->representations()[0]->className(), "NSBitmapImageRep");
}

TEST(Image, IsOpenedWhenItIsAsked) {
    const quarry::test::TemporaryFolder folder;
    const auto path = stringFromPathBytes((folder / "later.png").string());
    Image image = Image::initByReferencingFile(path);
    folder.write("later.png", std::string(encoded(quarters(30, 20), {.suffix = ".png"}).view()));
    EXPECT_TRUE(image.isReallyValid());
    EXPECT_EQ(image.pixelSize(), (Size{30, 20}));
    EXPECT_FALSE(Image::initByReferencingFile(u"").isReallyValid());
    EXPECT_FALSE(Image::initByReferencingFile(u"/nowhere").isReallyValid());
}

TEST(Image, RefusesSizesThatCannotBeDrawn) {
    Image image({8, 8});
    EXPECT_FALSE(image.TIFFRepresentation());
    EXPECT_FALSE(image.TIFFRepresentationWithSize({4, 4}));
    image.addRepresentation(bitmapRep(8, 8));
    for (const Size size : {Size{0, 4}, Size{4, -1}, Size{1e6, 4}})
        EXPECT_FALSE(image.TIFFRepresentationWithSize(size));
    const auto tiff = image.TIFFRepresentationWithSize({3.5, 4});
    ASSERT_TRUE(tiff);
    const auto decoded = decodedTiff(*tiff);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->bitmap.width, 4);
}

}  // namespace
}  // namespace halden::test
