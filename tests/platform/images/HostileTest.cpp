// Files that mean harm, and files that are broken.
#include "platform/images/IcnsFile.h"
#include "platform/images/Image.h"
#include "platform/images/JpegHeader.h"
#include "platform/images/PngHeader.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/images/TestPictures.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <random>

namespace halden::test {
namespace {

/// Bytes that this process has ever held, at the most.
long peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024;
}

std::optional<Data> thumbnailOf(const Data& file) {
    auto image = Image::initWithData(file);
    return image && image->isReallyValid() ? image->TIFFRepresentationWithSize(image->thumbSize({256, 256}))
                                           : std::nullopt;
}

TEST(HostileImage, IsRefusedWhenItClaimsTooManyPixels) {
    constexpr long kMostMemory = 600L << 20;
    const std::string whole = blackPng(30000, 30000);
    auto image = Image::initWithData(Data::copying(whole));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixelSize(), (Size{30000, 30000}));
    EXPECT_FALSE(image->TIFFRepresentationWithSize({256, 256}));
    for (const std::string& file :
         {hollowPng(30000, 30000), hollowPng(0x7FFFFFFF, 0x7FFFFFFF), hollowPng(1, 0x7FFFFFFF),
          hollowTiff(65536, 32768), hollowTiff(0xFFFFFFFF, 0xFFFFFFFF), hollowTiff(1, 0xFFFFFFFF),
          hollowTiff(20000, 10000)})
        EXPECT_FALSE(thumbnailOf(Data::copying(file)));
    EXPECT_LT(peakMemory(), kMostMemory);
}

TEST(HostileImage, DrawsNothingFromElsewhere) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    socklen_t length = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    const std::string web = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/a.png";
    const quarry::test::TemporaryFolder folder;
    const std::string red = folder.write("red.png", std::string(encoded(quarters(40, 40), {.suffix = ".png"}).view()));
    const std::string text = folder.write("secret.txt", "secret");
    for (const std::string& source : {red, "file://" + red, std::string("red.png"), web}) {
        const std::string svg =
            "<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY secret SYSTEM 'file://" + text +
            "'>]><svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
            "width='40' height='40'><image width='40' height='40' xlink:href='" +
            source + "'/><style>@import url('" + web + "');</style><text y='20'>&secret;</text></svg>";
        auto image = Image::initWithData(Data::copying(svg));
        const auto drawn = image ? image->drawInRect({40, 40}) : std::nullopt;
        if (!drawn) continue;
        for (const std::uint8_t byte : drawn->pixels)
            ASSERT_EQ(byte, 255) << source;
    }
    EXPECT_EQ(accept(listener, nullptr, nullptr), -1) << "something was fetched";
    close(listener);
}

TEST(HostileImage, DrawingsThatRepeatThemselvesEnd) {
    std::string svg =
        "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' width='9' height='9'>"
        "<defs><g id='a0'><rect width='9' height='9'/></g>";
    for (int i = 1; i < 12; ++i) {
        svg += "<g id='a" + std::to_string(i) + "'>";
        for (int k = 0; k < 10; ++k)
            svg += "<use xlink:href='#a" + std::to_string(i - 1) + "'/>";
        svg += "</g>";
    }
    svg += "</defs><use xlink:href='#a11'/></svg>";
    const auto start = std::chrono::steady_clock::now();
    thumbnailOf(Data::copying(svg));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST(HostileImage, BrokenFilesAreNoMoreThanBroken) {
    std::minstd_rand random(1);
    const std::vector<std::string> suffixes = {".jpg", ".png",  ".gif", ".tif[compression=lzw]", ".webp", ".jp2",
                                               ".bmp", ".avif", ".jxl"};
    for (const auto& suffix : suffixes) {
        const Data whole = encoded(quarters(64, 48), {.suffix = suffix});
        for (int round = 0; round < 24 && !whole.empty(); ++round) {
            std::string bytes(whole.view());
            if (round % 3 == 0) bytes.resize(random() % bytes.size());
            for (int i = 0; i < 6 && !bytes.empty(); ++i)
                bytes[random() % bytes.size()] = static_cast<char>(random());
            const auto tiff = thumbnailOf(Data::copying(bytes));
            if (tiff) {
                EXPECT_TRUE(decodedTiff(*tiff)) << suffix;
            }
        }
    }
}

TEST(HostileImage, HeadersThatLieAreReadToTheirEnd) {
    const std::string start(
        "\xFF\xD8\xFF\xE1\x00\x20"
        "Exif\0\0MM\0*\0\0\0\x08",
        20);
    for (const std::string& bytes :
         {std::string("\xFF\xD8"), std::string("\xFF\xD8\xFF"), std::string("\xFF\xD8\xFF\xE1\xFF\xFF"), start,
          start + std::string("\xFF\xFF", 2), start + std::string("\0\1\x01\x12\0\3\0\0\0\1\0\x09", 12)})
        EXPECT_FALSE(jpegHeaderOf(Data::copying(bytes).span()));
    EXPECT_FALSE(pngHeaderOf(Data::copying("\x89PNG\r\n\x1A\n").span()));
}

}  // namespace
}  // namespace halden::test
