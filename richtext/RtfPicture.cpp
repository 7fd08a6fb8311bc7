#include "richtext/RtfPicture.h"

#include <algorithm>
#include <array>
#include <utility>

namespace halden {
namespace {

// The values of hexadecimal digits; kNoDigit for every other byte.
constexpr std::uint8_t kNoDigit = 0xFF;
constexpr std::array<std::uint8_t, 256> kHexValues = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoDigit);
    for (std::uint8_t i = 0; i < 10; ++i)
        table[std::size_t{'0'} + i] = i;
    for (std::uint8_t i = 0; i < 6; ++i) {
        table[std::size_t{'a'} + i] = static_cast<std::uint8_t>(10 + i);
        table[std::size_t{'A'} + i] = static_cast<std::uint8_t>(10 + i);
    }
    return table;
}();

using Bytes = std::vector<std::uint8_t>;

bool startsWith(const Bytes& bytes, std::string_view prefix, std::size_t offset = 0) {
    return bytes.size() >= offset + prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

std::uint32_t littleEndian(const Bytes& bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value |= static_cast<std::uint32_t>(bytes[offset + i]) << (8 * i);
    return value;
}

void appendLittleEndian(Bytes& bytes, std::uint32_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

/// The header of 14 bytes that makes a bitmap a file: the mark, the length, where the pixels start.
Bytes bitmapFileHeader(std::size_t length, std::size_t pixels) {
    Bytes header = {'B', 'M'};
    appendLittleEndian(header, static_cast<std::uint32_t>(14 + length), 4);
    appendLittleEndian(header, 0, 4);
    appendLittleEndian(header, static_cast<std::uint32_t>(14 + pixels), 4);
    return header;
}

/// A device-independent bitmap with the file header before it; empty when it is none.
Bytes fileOfDib(const Bytes& dib) {
    if (dib.size() < 12) return {};
    const std::size_t headerSize = littleEndian(dib, 0, 4);
    std::size_t pixels = headerSize;
    if (headerSize == 12) {
        const std::uint32_t bits = littleEndian(dib, 10, 2);
        if (bits <= 8) pixels += (std::size_t{1} << bits) * 3;
    } else if (headerSize >= 40 && headerSize <= 256 && dib.size() >= 40) {
        const std::uint32_t bits = littleEndian(dib, 14, 2);
        std::size_t colors = littleEndian(dib, 32, 4);
        if (colors == 0 && bits <= 8) colors = std::size_t{1} << bits;
        const bool masksFollow = headerSize == 40 && littleEndian(dib, 16, 4) == 3;
        pixels += std::min<std::size_t>(colors, 256) * 4 + (masksFollow ? 12 : 0);
    } else {
        return {};
    }
    if (pixels > dib.size()) return {};
    Bytes file = bitmapFileHeader(dib.size(), pixels);
    file.insert(file.end(), dib.begin(), dib.end());
    return file;
}

/// A device-dependent bitmap, whose rows stand from the top at even lengths, as a file with rows at multiples of four.
/// Pictures of 4 and 8 bits lack their palette and cannot be shown.
Bytes fileOfBitmap(const Bytes& bits, const RtfPicture& picture) {
    const std::int32_t depth = picture.bitsPerPixel * picture.planes;
    if (picture.planes != 1 || (depth != 1 && depth != 24 && depth != 32)) return {};
    if (picture.width <= 0 || picture.height <= 0 || picture.width > 32767 || picture.height > 32767) return {};
    const auto width = static_cast<std::size_t>(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    const std::size_t used = (width * static_cast<std::size_t>(depth) + 7) / 8;
    const std::size_t stride = picture.rowBytes > 0 ? static_cast<std::size_t>(picture.rowBytes) : (used + 1) / 2 * 2;
    if (stride < used || stride * (height - 1) + used > bits.size()) return {};

    const std::size_t fileStride = (used + 3) / 4 * 4;
    const std::size_t palette = depth == 1 ? 8 : 0;
    Bytes file = bitmapFileHeader(40 + palette + fileStride * height, 40 + palette);
    file.reserve(file.size() + 40 + palette + fileStride * height);
    appendLittleEndian(file, 40, 4);
    appendLittleEndian(file, static_cast<std::uint32_t>(picture.width), 4);
    appendLittleEndian(file, static_cast<std::uint32_t>(-picture.height), 4);
    appendLittleEndian(file, 1, 2);
    appendLittleEndian(file, static_cast<std::uint32_t>(depth), 2);
    file.insert(file.end(), 24, 0);
    if (palette != 0) {
        appendLittleEndian(file, 0, 4);
        appendLittleEndian(file, 0xFFFFFF, 4);
    }
    for (std::size_t row = 0; row < height; ++row) {
        const auto start = bits.begin() + static_cast<std::ptrdiff_t>(row * stride);
        file.insert(file.end(), start, start + static_cast<std::ptrdiff_t>(used));
        file.insert(file.end(), fileStride - used, 0);
    }
    return file;
}

/// The header of 22 bytes with which a metafile stands alone: mark, handle, box, units an inch, reserved, checksum.
Bytes metafileHeader(std::int32_t width, std::int32_t height) {
    const auto extent = [](std::int32_t twips) {
        return static_cast<std::uint32_t>(std::clamp<std::int32_t>(twips, 1, 32767));
    };
    Bytes header;
    appendLittleEndian(header, 0x9AC6CDD7, 4);
    header.insert(header.end(), 6, 0);
    appendLittleEndian(header, extent(width), 2);
    appendLittleEndian(header, extent(height), 2);
    appendLittleEndian(header, 1440, 2);
    appendLittleEndian(header, 0, 4);
    std::uint32_t checksum = 0;
    for (std::size_t word = 0; word < 10; ++word)
        checksum ^= littleEndian(header, 2 * word, 2);
    appendLittleEndian(header, checksum, 2);
    return header;
}

/// The kind that the first bytes tell, else `stated`.
RtfPictureKind kindOf(const Bytes& bytes, RtfPictureKind stated) {
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n")) return RtfPictureKind::png;
    if (startsWith(bytes, "\xFF\xD8\xFF")) return RtfPictureKind::jpeg;
    if (startsWith(bytes, {"\1\0\0\0", 4}) && startsWith(bytes, " EMF", 40)) return RtfPictureKind::emf;
    return stated;
}

}  // namespace

void RtfPicture::appendHex(std::string_view text) {
    for (const char c : text) {
        const std::uint8_t value = kHexValues[static_cast<std::uint8_t>(c)];
        if (value == kNoDigit) continue;
        if (highNibble_ < 0) {
            highNibble_ = value;
        } else {
            bytes_.push_back(static_cast<std::uint8_t>(highNibble_ * 16 + value));
            highNibble_ = -1;
        }
    }
}

void RtfPicture::appendBytes(std::string_view bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

Size RtfPicture::sizeInPoints() const noexcept {
    const auto points = [this](std::int32_t goal, std::int32_t extent, std::int32_t scale) {
        double length = goal / 20.0;
        // The extent of metafiles is in hundredths of a millimetre.
        if (goal <= 0 && kind == RtfPictureKind::wmf) length = extent * 72 / 2540.0;
        if (length <= 0) return 0.0;
        return length * (scale > 0 ? scale : 100) / 100.0;
    };
    return {points(goalWidth, width, scaleX), points(goalHeight, height, scaleY)};
}

std::optional<RtfPictureFile> RtfPicture::takeFile() {
    Bytes bytes = std::exchange(bytes_, {});
    if (bytes.empty()) return std::nullopt;
    RtfPictureFile file;
    file.size = sizeInPoints();
    switch (kindOf(bytes, kind)) {
        case RtfPictureKind::unknown:
            return std::nullopt;
        case RtfPictureKind::png:
            file.extension = u"png";
            file.type = u"public.png";
            break;
        case RtfPictureKind::jpeg:
            file.extension = u"jpg";
            file.type = u"public.jpeg";
            break;
        case RtfPictureKind::emf:
            file.extension = u"emf";
            file.type = u"com.microsoft.emf";
            break;
        case RtfPictureKind::wmf:
            file.extension = u"wmf";
            file.type = u"com.microsoft.wmf";
            if (!startsWith(bytes, "\xD7\xCD\xC6\x9A")) {
                const Bytes header =
                    metafileHeader(goalWidth > 0 ? goalWidth : width, goalHeight > 0 ? goalHeight : height);
                bytes.insert(bytes.begin(), header.begin(), header.end());
            }
            break;
        case RtfPictureKind::pict:
            file.extension = u"pict";
            file.type = u"com.apple.pict";
            bytes.insert(bytes.begin(), 512, 0);
            break;
        case RtfPictureKind::dib:
            file.extension = u"bmp";
            file.type = u"com.microsoft.bmp";
            if (!startsWith(bytes, "BM")) bytes = fileOfDib(bytes);
            break;
        case RtfPictureKind::bitmap:
            file.extension = u"bmp";
            file.type = u"com.microsoft.bmp";
            bytes = fileOfBitmap(bytes, *this);
            break;
    }
    if (bytes.empty()) return std::nullopt;
    file.data = Data(std::move(bytes));
    return file;
}

}  // namespace halden
