// Pictures made for tests, in the formats that there are encoders for here.
#pragma once

#include "foundation/Data.h"
#include "platform/images/Bitmap.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace halden::test {

using Pixel = std::array<int, 4>;

/// Red and green above, blue and white below, in quarters; with `channels` 4 the white one is transparent.
[[nodiscard]] Bitmap quarters(int width, int height, int channels = 3);

struct Encoding {
    std::string suffix;   ///< of libvips, with its options: ".jpg[Q=90]"
    int orientation = 0;  ///< 1 to 8; 0: none. The pixels are stored as it says, so that it shows them upright
    bool isGrey = false;
    bool is16Bit = false;
    bool isCmyk = false;
    double dotsPerInch = 0;
    std::string profile{};  ///< a colour profile that the picture is converted to and carries: "p3", "cmyk"
};

/// The file; empty when the encoder is not there.
[[nodiscard]] Data encoded(const Bitmap& picture, const Encoding& encoding);

/// Several pages in one TIFF file.
[[nodiscard]] Data encodedPages(const std::vector<Bitmap>& pages);

/// A JPEG with `thumbnail`, another JPEG, among its Exif data, and this orientation.
[[nodiscard]] Data withThumbnail(const Data& jpeg, const Data& thumbnail, int orientation);

/// The first picture of a TIFF file, and how it is packed; nullopt for anything else.
struct DecodedTiff {
    Bitmap bitmap;
    int compression = 0;
    double dotsPerInch = 0;
};
[[nodiscard]] std::optional<DecodedTiff> decodedTiff(const Data& file);

[[nodiscard]] Pixel pixelAt(const Bitmap& bitmap, int x, int y);

/// Whether the middles of the four quarters look as those of `quarters` do, within a tolerance for each colour.
[[nodiscard]] std::string differenceFromQuarters(const Bitmap& bitmap, int tolerance);

/// A PNG file that claims this size and holds no more than a few rows.
[[nodiscard]] std::string hollowPng(unsigned width, unsigned height);
/// A PNG of that size that is whole: one bit a pixel, all black.
[[nodiscard]] std::string blackPng(unsigned width, unsigned height);
/// A TIFF file that claims this size and holds nothing.
[[nodiscard]] std::string hollowTiff(unsigned width, unsigned height);

}  // namespace halden::test
