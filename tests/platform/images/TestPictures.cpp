#include "tests/platform/images/TestPictures.h"

#include <vips/vips.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace halden::test {
namespace {

constexpr Pixel kColours[4] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}};

struct Unreference {
    void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Picture = std::unique_ptr<VipsImage, Unreference>;

void start() {
    static const int status = vips_init("tests");
    if (status != 0) std::abort();
    vips_concurrency_set(1);
}

Picture pictureOf(const Bitmap& bitmap) {
    Picture picture(vips_image_new_from_memory_copy(bitmap.pixels.data(), bitmap.pixels.size(), bitmap.width,
                                                    bitmap.height, bitmap.channels, VIPS_FORMAT_UCHAR));
    picture->Type = VIPS_INTERPRETATION_sRGB;
    return picture;
}

template <class Operation>
Picture changed(const Picture& picture, Operation operation) {
    VipsImage* result = nullptr;
    if (operation(picture.get(), &result) != 0) return nullptr;
    return Picture(result);
}

/// Stores the pixels so that a reader who obeys the orientation sees them upright.
Picture storedAs(Picture picture, int orientation) {
    const auto rotate = [](VipsAngle angle) {
        return [angle](VipsImage* in, VipsImage** out) { return vips_rot(in, out, angle, nullptr); };
    };
    const auto mirror = [](VipsImage* in, VipsImage** out) {
        return vips_flip(in, out, VIPS_DIRECTION_HORIZONTAL, nullptr);
    };
    switch (orientation) {
        case 2:
            return changed(picture, mirror);
        case 3:
            return changed(picture, rotate(VIPS_ANGLE_D180));
        case 4:
            return changed(changed(picture, rotate(VIPS_ANGLE_D180)), mirror);
        case 5:
            return changed(changed(picture, rotate(VIPS_ANGLE_D270)), [](VipsImage* in, VipsImage** out) {
                return vips_flip(in, out, VIPS_DIRECTION_VERTICAL, nullptr);
            });
        case 6:
            return changed(picture, rotate(VIPS_ANGLE_D270));
        case 7:
            return changed(changed(picture, rotate(VIPS_ANGLE_D270)), mirror);
        case 8:
            return changed(picture, rotate(VIPS_ANGLE_D90));
        default:
            return picture;
    }
}

Picture inSpace(const Picture& picture, VipsInterpretation space) {
    return changed(picture,
                   [space](VipsImage* in, VipsImage** out) { return vips_colourspace(in, out, space, nullptr); });
}

/// Each ink takes away its own colour; no black.
Picture inInks(const Picture& picture) {
    const Picture inks = changed(picture, [](VipsImage* in, VipsImage** out) { return vips_invert(in, out, nullptr); });
    const Picture withBlack =
        changed(inks, [](VipsImage* in, VipsImage** out) { return vips_bandjoin_const1(in, out, 0.0, nullptr); });
    return changed(withBlack, [](VipsImage* in, VipsImage** out) {
        return vips_copy(in, out, "interpretation", VIPS_INTERPRETATION_CMYK, nullptr);
    });
}

void put32(std::string& out, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<char>(number >> shift));
}

void putChunk(std::string& png, const std::string& type, const std::string& contents) {
    put32(png, static_cast<std::uint32_t>(contents.size()));
    const std::string body = type + contents;
    png += body;
    put32(png, static_cast<std::uint32_t>(
                   crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
}

std::string pngOfRows(unsigned width, unsigned height, unsigned rows) {
    std::string png = "\x89PNG\r\n\x1A\n";
    std::string header;
    put32(header, width);
    put32(header, height);
    header += std::string("\1\0\0\0\0", 5);
    putChunk(png, "IHDR", header);
    const std::string row((width + 7) / 8 + 1, '\0');
    z_stream stream{};
    deflateInit(&stream, 1);
    std::string packed;
    std::string buffer(1 << 16, '\0');
    for (unsigned i = 0; i <= rows; ++i) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(row.data()));
        stream.avail_in = i < rows ? static_cast<uInt>(row.size()) : 0;
        do {
            stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
            stream.avail_out = static_cast<uInt>(buffer.size());
            deflate(&stream, i < rows ? Z_NO_FLUSH : Z_FINISH);
            packed.append(buffer, 0, buffer.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    putChunk(png, "IDAT", packed);
    putChunk(png, "IEND", {});
    return png;
}

}  // namespace

Bitmap quarters(int width, int height, int channels) {
    Bitmap bitmap{.width = width, .height = height, .channels = channels, .pixels = {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int quarter = (y >= height / 2 ? 2 : 0) + (x >= width / 2 ? 1 : 0);
            for (int channel = 0; channel < channels; ++channel) {
                const bool isHole = channel == 3 && quarter == 3;
                bitmap.pixels.push_back(isHole ? 0 : static_cast<std::uint8_t>(kColours[quarter][channel]));
            }
        }
    }
    return bitmap;
}

Data encoded(const Bitmap& bitmap, const Encoding& encoding) {
    start();
    Picture picture = storedAs(pictureOf(bitmap), encoding.orientation);
    if (encoding.isGrey) picture = inSpace(picture, VIPS_INTERPRETATION_B_W);
    if (encoding.is16Bit) picture = inSpace(picture, VIPS_INTERPRETATION_RGB16);
    if (encoding.isCmyk) picture = inInks(picture);
    if (!encoding.profile.empty()) {
        picture = changed(picture, [&](VipsImage* in, VipsImage** out) {
            return vips_icc_transform(in, out, encoding.profile.c_str(), "input_profile", "srgb", nullptr);
        });
    }
    if (!picture) return {};
    picture = changed(picture, [](VipsImage* in, VipsImage** out) { return vips_copy(in, out, nullptr); });
    if (encoding.orientation > 0) vips_image_set_int(picture.get(), VIPS_META_ORIENTATION, encoding.orientation);
    if (encoding.dotsPerInch > 0) picture->Xres = picture->Yres = encoding.dotsPerInch / 25.4;
    void* bytes = nullptr;
    std::size_t length = 0;
    if (vips_image_write_to_buffer(picture.get(), encoding.suffix.c_str(), &bytes, &length, nullptr) != 0) {
        vips_error_clear();
        return {};
    }
    const Data data = Data::copying(std::span(static_cast<const std::uint8_t*>(bytes), length));
    g_free(bytes);
    return data;
}

Data withThumbnail(const Data& jpeg, const Data& thumbnail, int orientation) {
    std::string tiff("MM\0*\0\0\0\x08", 8);
    const auto put16 = [&](unsigned number) {
        tiff.push_back(static_cast<char>(number >> 8));
        tiff.push_back(static_cast<char>(number));
    };
    const auto entry = [&](unsigned tag, unsigned type, std::uint32_t value) {
        put16(tag);
        put16(type);
        put32(tiff, 1);
        put32(tiff, value);
    };
    const auto shortInFront = [](unsigned value) { return static_cast<std::uint32_t>(value) << 16; };
    put16(1);
    entry(0x112, 3, shortInFront(static_cast<unsigned>(orientation)));
    put32(tiff, 26);
    put16(3);
    entry(0x103, 3, shortInFront(6));
    entry(0x201, 4, 68);
    entry(0x202, 4, static_cast<std::uint32_t>(thumbnail.length()));
    put32(tiff, 0);
    tiff.resize(68, '\0');
    tiff += thumbnail.view();
    std::string segment("\xFF\xE1", 2);
    const std::size_t length = tiff.size() + 8;
    segment.push_back(static_cast<char>(length >> 8));
    segment.push_back(static_cast<char>(length));
    segment += std::string("Exif\0\0", 6) + tiff;
    const std::string file(jpeg.view());
    return Data::copying(file.substr(0, 2) + segment + file.substr(2));
}

Pixel pixelAt(const Bitmap& bitmap, int x, int y) {
    const std::uint8_t* pixel =
        &bitmap.pixels[(static_cast<std::size_t>(y) * bitmap.width + x) * static_cast<std::size_t>(bitmap.channels)];
    return {pixel[0], pixel[1], pixel[2], bitmap.channels == 4 ? pixel[3] : 255};
}

std::string differenceFromQuarters(const Bitmap& bitmap, int tolerance) {
    std::string difference;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const int x = bitmap.width * (quarter % 2 == 0 ? 1 : 3) / 4;
        const int y = bitmap.height * (quarter < 2 ? 1 : 3) / 4;
        const Pixel pixel = pixelAt(bitmap, x, y);
        for (int channel = 0; channel < 3; ++channel) {
            if (std::abs(pixel[channel] - kColours[quarter][channel]) <= tolerance) continue;
            difference += "quarter " + std::to_string(quarter) + " is " + std::to_string(pixel[0]) + " " +
                          std::to_string(pixel[1]) + " " + std::to_string(pixel[2]) + "; ";
            break;
        }
    }
    return difference;
}

std::string hollowPng(unsigned width, unsigned height) {
    return pngOfRows(width, height, 4);
}

std::string blackPng(unsigned width, unsigned height) {
    return pngOfRows(width, height, height);
}

std::string hollowTiff(unsigned width, unsigned height) {
    std::string tiff("MM\0*\0\0\0\x08\0\x09", 10);
    const auto entry = [&](unsigned tag, std::uint32_t value) {
        tiff.push_back(static_cast<char>(tag >> 8));
        tiff.push_back(static_cast<char>(tag));
        tiff += std::string("\0\4\0\0\0\1", 6);
        put32(tiff, value);
    };
    entry(256, width);
    entry(257, height);
    entry(258, 8);
    entry(259, 1);
    entry(262, 1);
    entry(273, 8);
    entry(277, 1);
    entry(278, height);
    entry(279, width);
    put32(tiff, 0);
    return tiff;
}

}  // namespace halden::test
