#include "platform/images/module/Tiff.h"

#include "platform/images/module/Lzw.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace halden::images {
namespace {

constexpr double kResolution = 72;

/// A file in memory, as the library asks for one.
struct Memory {
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

tsize_t readFrom(thandle_t handle, void* buffer, tsize_t count) {
    auto& memory = *static_cast<Memory*>(handle);
    const std::size_t rest = memory.bytes.size() - std::min(memory.position, memory.bytes.size());
    const std::size_t length = std::min(static_cast<std::size_t>(count), rest);
    if (length > 0) std::memcpy(buffer, memory.bytes.data() + memory.position, length);
    memory.position += length;
    return static_cast<tsize_t>(length);
}

tsize_t writeTo(thandle_t handle, void* buffer, tsize_t count) {
    auto& memory = *static_cast<Memory*>(handle);
    const std::size_t end = memory.position + static_cast<std::size_t>(count);
    if (end > memory.bytes.size()) memory.bytes.resize(end);
    std::memcpy(memory.bytes.data() + memory.position, buffer, static_cast<std::size_t>(count));
    memory.position = end;
    return count;
}

toff_t seekIn(thandle_t handle, toff_t offset, int whence) {
    auto& memory = *static_cast<Memory*>(handle);
    if (whence == SEEK_SET) memory.position = offset;
    if (whence == SEEK_CUR) memory.position += offset;
    if (whence == SEEK_END) memory.position = memory.bytes.size() + offset;
    return memory.position;
}

toff_t sizeOf(thandle_t handle) {
    return static_cast<Memory*>(handle)->bytes.size();
}

int closeNothing(thandle_t) {
    return 0;
}

struct CloseTiff {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};

void describe(TIFF* tiff, const Bitmap& bitmap) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(bitmap.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(bitmap.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, bitmap.channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(bitmap.height));
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, kResolution);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, kResolution);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    if (bitmap.hasAlpha()) {
        const std::uint16_t kinds[] = {EXTRASAMPLE_UNASSALPHA};
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, kinds);
    }
}

}  // namespace

std::optional<Data> tiffFromBitmap(const Bitmap& bitmap) {
    if (bitmap.isEmpty()) return std::nullopt;
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    Memory memory;
    memory.bytes.reserve(bitmap.pixels.size() / 2 + 1024);
    std::unique_ptr<TIFF, CloseTiff> tiff(
        TIFFClientOpen("thumbnail", "wlm", &memory, readFrom, writeTo, seekIn, closeNothing, sizeOf, nullptr, nullptr));
    if (!tiff) return std::nullopt;
    describe(tiff.get(), bitmap);
    std::vector<std::uint8_t> strip =
        lzwEncoded(std::span(bitmap.pixels).first(static_cast<std::size_t>(bitmap.rowLength()) * bitmap.height));
    const bool isWritten = TIFFWriteRawStrip(tiff.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size())) >= 0 &&
                           TIFFFlush(tiff.get()) == 1;
    tiff.reset();
    if (!isWritten) return std::nullopt;
    return Data(std::move(memory.bytes));
}

}  // namespace halden::images
