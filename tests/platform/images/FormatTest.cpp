// Formats told from first bytes, and icon files.
#include "platform/images/IcnsFile.h"
#include "platform/images/Image.h"
#include "platform/images/ImageFormat.h"
#include "tests/platform/images/TestPictures.h"

#include <gtest/gtest.h>

namespace halden::test {
namespace {

using namespace std::string_literals;

TEST(ImageFormat, IsToldFromFirstBytes) {
    const std::vector<std::pair<std::string, ImageFormat>> rows = {
        {"", ImageFormat::unknown},
        {"words", ImageFormat::unknown},
        {"\xFF\xD8\xFF\xE0", ImageFormat::jpeg},
        {"GIF89a", ImageFormat::gif},
        {"RIFF\1\1\1\1WEBPVP8L", ImageFormat::webp},
        {"RIFF\1\1\1\1WAVEfmt ", ImageFormat::unknown},
        {"\0\0\0\x18"s + "ftypheic\0\0\0\0mif1heic"s, ImageFormat::heif},
        {"\0\0\0\x18"s + "ftypmsf1\0\0\0\0avis...."s, ImageFormat::heif},
        {"\0\0\0\x18"s + "ftypcrx \0\0\0\1crx isom"s, ImageFormat::cameraRaw},
        {"\0\0\0\x18"s + "ftypisom\0\0\2\0isommp42"s, ImageFormat::unknown},
        {"8BPS\0\1"s, ImageFormat::psd},
        {"\0\0\1\0\1\0"s, ImageFormat::ico},
        {"icns\0\0\0\x08"s, ImageFormat::icns},
        {"BM\1\1\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0"s, ImageFormat::bmp},
        {"BMW is no picture, it is a maker of cars", ImageFormat::unknown},
        {"%!PS-Adobe", ImageFormat::postScript},
        {"\xC5\xD0\xD3\xC6\0\0"s, ImageFormat::postScript},
        {"noise before %PDF-1.4", ImageFormat::pdf},
        {"II*\0"s, ImageFormat::tiff},
        {"<svg xmlns='http://www.w3.org/2000/svg'>", ImageFormat::svg},
        {"<?xml version='1.0'?>\n<!-- <p> -->\n<!DOCTYPE svg>\n<svg/>"s + "", ImageFormat::unknown},
        {"<?xml version='1.0'?>\n<!-- <p> -->\n<!DOCTYPE svg>\n<svg >", ImageFormat::svg},
        {"<html><svg >", ImageFormat::unknown},
        {"a text about <svg >", ImageFormat::unknown},
    };
    for (const auto& [bytes, format] : rows)
        EXPECT_EQ(imageFormatOf(Data::copying(bytes).span()), format) << bytes;
}

TEST(ImageFormat, TellsCameraFilesFromTiff) {
    const auto tiff = [](const std::string& entries, char count) {
        return "MM\0*\0\0\0\x08\0"s + count + entries + "\0\0\0\0"s;
    };
    const std::string reduced = "\0\xFE\0\4\0\0\0\1\0\0\0\1"s;
    const std::string below = "\1\x4A\0\4\0\0\0\1\0\0\0\x40"s;
    const std::string version = "\xC6\x12\0\1\0\0\0\4\1\4\0\0"s;
    EXPECT_EQ(imageFormatOf(Data::copying(tiff(reduced + below, 2)).span()), ImageFormat::cameraRaw);
    EXPECT_EQ(imageFormatOf(Data::copying(tiff(version, 1)).span()), ImageFormat::cameraRaw);
    EXPECT_EQ(imageFormatOf(Data::copying(tiff(reduced, 1)).span()), ImageFormat::tiff);
    EXPECT_EQ(imageFormatOf(Data::copying(tiff(below, 1)).span()), ImageFormat::tiff);
}

std::string element(const std::string& type, const std::string& contents) {
    const std::size_t length = contents.size() + 8;
    std::string bytes = type;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(length >> shift));
    return bytes + contents;
}

/// A plane of one value, in runs.
std::string packedPlane(std::uint8_t value, int length) {
    std::string packed;
    while (length > 0) {
        const int run = std::min(length, 130);
        if (run < 3) {
            packed.push_back(static_cast<char>(run - 1));
            packed.append(run, static_cast<char>(value));
        } else {
            packed.push_back(static_cast<char>(run + 125));
            packed.push_back(static_cast<char>(value));
        }
        length -= run;
    }
    return packed;
}

TEST(IcnsFile, HasItsSizesInOrder) {
    const std::string colours = packedPlane(200, 256) + packedPlane(100, 256) + packedPlane(50, 256);
    const std::string png(encoded(quarters(256, 256), {.suffix = ".png"}).view());
    const std::string file =
        element("icns", element("is32", colours) + element("s8mk", std::string(256, '\x80')) +
                            element("TOC ", "nothing") + element("ic08", png) +
                            element("ic05", "ARGB" + packedPlane(255, 1024) + packedPlane(1, 1024) +
                                                packedPlane(2, 1024) + packedPlane(3, 1024)) +
                            element("ic13", png));
    auto image = Image::initWithData(Data::copying(file));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->representations().size(), 4U);
    EXPECT_EQ(image->pixelSize(), (Size{256, 256}));
    EXPECT_EQ(image->size(), (Size{16, 16}));
    const auto& representations = image->representations();
    EXPECT_EQ(representations[3]->size(), (Size{128, 128}));
    const auto small = representations[0]->draw({16, 16});
    ASSERT_TRUE(small);
    EXPECT_EQ(pixelAt(*small, 3, 3), (Pixel{200, 100, 50, 128}));
    const auto large = representations[1]->draw({256, 256});
    ASSERT_TRUE(large);
    EXPECT_EQ(differenceFromQuarters(*large, 2), "");
    const auto middle = representations[2]->draw({32, 32});
    ASSERT_TRUE(middle);
    EXPECT_EQ(pixelAt(*middle, 31, 31), (Pixel{1, 2, 3, 255}));
}

TEST(IcnsFile, CutOffPlanesAreNoPicture) {
    const std::string file = element("icns", element("is32", packedPlane(200, 256)));
    const auto elements = icnsElementsOf(Data::copying(file));
    ASSERT_EQ(elements.size(), 1U);
    EXPECT_FALSE(elements[0].bitmap());
    EXPECT_TRUE(icnsElementsOf(Data::copying("icns\0\0\0\x10is32\0\0\0\1"s)).empty());
    EXPECT_TRUE(icnsElementsOf(Data::copying("icns"s)).empty());
    EXPECT_TRUE(icnsElementsOf({}).empty());
}

TEST(IcoFile, HasItsSizesInOrder) {
    std::string file("\0\0\1\0\2\0", 6);
    std::string pictures;
    for (const int side : {16, 48}) {
        const std::string png(encoded(quarters(side, side, 4), {.suffix = ".png"}).view());
        const auto put = [&file](std::size_t number, int bytes) {
            for (int i = 0; i < bytes; ++i)
                file.push_back(static_cast<char>(number >> (8 * i)));
        };
        put(side, 1);
        put(side, 1);
        put(0, 2);
        put(1, 2);
        put(32, 2);
        put(png.size(), 4);
        put(6 + 2 * 16 + pictures.size(), 4);
        pictures += png;
    }
    auto image = Image::initWithData(Data::copying(file + pictures));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->representations().size(), 2U);
    EXPECT_EQ(image->pixelSize(), (Size{48, 48}));
    const auto drawn = image->representations()[1]->draw({48, 48});
    ASSERT_TRUE(drawn);
    EXPECT_EQ(pixelAt(*drawn, 10, 10), (Pixel{255, 0, 0, 255}));
}

}  // namespace
}  // namespace halden::test
