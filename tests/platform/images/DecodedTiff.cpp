#include "tests/platform/images/TestPictures.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

namespace halden::test {
namespace {

struct Source {
    const Data* file;
    std::size_t position = 0;
};

tsize_t readFrom(thandle_t handle, void* buffer, tsize_t count) {
    auto& source = *static_cast<Source*>(handle);
    const Data part = source.file->subdata(source.position, static_cast<std::size_t>(count));
    if (!part.empty()) std::memcpy(buffer, part.bytes(), part.length());
    source.position += part.length();
    return static_cast<tsize_t>(part.length());
}

tsize_t writeNothing(thandle_t, void*, tsize_t) {
    return -1;
}

toff_t seekIn(thandle_t handle, toff_t offset, int whence) {
    auto& source = *static_cast<Source*>(handle);
    source.position = whence == SEEK_SET   ? offset
                      : whence == SEEK_CUR ? source.position + offset
                                           : source.file->length();
    return source.position;
}

int closeNothing(thandle_t) {
    return 0;
}

toff_t sizeOf(thandle_t handle) {
    return static_cast<Source*>(handle)->file->length();
}

}  // namespace

std::optional<DecodedTiff> decodedTiff(const Data& file) {
    Source source{&file};
    TIFF* tiff =
        TIFFClientOpen("test", "rm", &source, readFrom, writeNothing, seekIn, closeNothing, sizeOf, nullptr, nullptr);
    if (tiff == nullptr) return std::nullopt;
    DecodedTiff decoded;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t samples = 0;
    std::uint16_t compression = 0;
    float resolution = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &resolution);
    decoded.compression = compression;
    decoded.dotsPerInch = static_cast<double>(resolution);
    decoded.bitmap = {
        .width = static_cast<int>(width), .height = static_cast<int>(height), .channels = samples, .pixels = {}};
    decoded.bitmap.pixels.resize(decoded.bitmap.rowLength() * height);
    bool isRead = true;
    for (std::uint32_t row = 0; row < height && isRead; ++row)
        isRead = TIFFReadScanline(tiff, &decoded.bitmap.pixels[row * decoded.bitmap.rowLength()], row) == 1;
    TIFFClose(tiff);
    return isRead ? std::optional(std::move(decoded)) : std::nullopt;
}

Data encodedPages(const std::vector<Bitmap>& pages) {
    // Written by hand: libvips joins pages only where they are equally large.
    std::string file("II*\0\0\0\0\0", 8);
    const auto put = [&](std::uint32_t number, int bytes) {
        for (int i = 0; i < bytes; ++i)
            file.push_back(static_cast<char>(number >> (8 * i)));
    };
    std::size_t link = 4;
    for (const Bitmap& page : pages) {
        const auto pixels = static_cast<std::uint32_t>(file.size());
        file.append(page.pixels.begin(), page.pixels.end());
        if (file.size() % 2 != 0) file.push_back('\0');
        const auto bits = static_cast<std::uint32_t>(file.size());
        for (int i = 0; i < page.channels; ++i)
            put(8, 2);
        if (file.size() % 2 != 0) file.push_back('\0');
        const auto directory = static_cast<std::uint32_t>(file.size());
        for (int i = 0; i < 4; ++i)
            file[link + i] = static_cast<char>(directory >> (8 * i));
        const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t count, std::uint32_t value) {
            put(tag, 2);
            put(type, 2);
            put(count, 4);
            put(value, 4);
        };
        put(9, 2);
        entry(256, 4, 1, static_cast<std::uint32_t>(page.width));
        entry(257, 4, 1, static_cast<std::uint32_t>(page.height));
        entry(258, 3, static_cast<std::uint32_t>(page.channels), bits);
        entry(259, 3, 1, 1);
        entry(262, 3, 1, 2);
        entry(273, 4, 1, pixels);
        entry(277, 3, 1, static_cast<std::uint32_t>(page.channels));
        entry(278, 4, 1, static_cast<std::uint32_t>(page.height));
        entry(279, 4, 1, static_cast<std::uint32_t>(page.pixels.size()));
        link = file.size();
        put(0, 4);
    }
    return Data::copying(file);
}

}  // namespace halden::test
