#include "platform/images/JpegHeader.h"

#include "platform/images/ByteReader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;

constexpr unsigned kMostEntries = 512;
constexpr double kCentimetresPerInch = 2.54;

/// The Exif structure: a TIFF file without pixels.
class ExifReader {
public:
    explicit ExifReader(std::span<const std::uint8_t> tiff)
        : bytes_(tiff, !tiff.empty() && tiff[0] == 'I' ? ByteReader::Order::little : ByteReader::Order::big) {}

    void readInto(JpegHeader& header) const {
        if (bytes_.size() < 8 || bytes_.u16(2) != 42) return;
        const std::size_t first = bytes_.u32(4);
        const std::size_t second =
            readDirectory(first, [&](int tag, std::size_t value) { readMain(header, tag, value); });
        if (header.exifXResolution > 0 && resolutionUnit_ == 3) {
            header.exifXResolution *= kCentimetresPerInch;
            header.exifYResolution *= kCentimetresPerInch;
        }
        if (second == 0 || second == first) return;
        std::size_t offset = 0;
        std::size_t length = 0;
        readDirectory(second, [&](int tag, std::size_t value) {
            if (tag == 0x201) offset = bytes_.u32(value);
            if (tag == 0x202) length = bytes_.u32(value);
        });
        const auto thumbnail = bytes_.range(offset, length);
        if (offset > 0 && thumbnail.size() == length && length > 4 && thumbnail[0] == 0xFF && thumbnail[1] == 0xD8)
            header.thumbnail = thumbnail;
    }

private:
    /// Calls `read` with each entry's tag and the place of its value; gives the place of the next directory, or 0.
    template <class Read>
    std::size_t readDirectory(std::size_t at, Read read) const {
        if (at < 8 || !bytes_.has(at, 2)) return 0;
        const unsigned count = std::min<unsigned>(bytes_.u16(at), kMostEntries);
        for (unsigned i = 0; i < count; ++i) {
            const std::size_t entry = at + 2 + std::size_t{12} * i;
            read(bytes_.u16(entry), entry + 8);
        }
        return bytes_.u32(at + 2 + std::size_t{12} * bytes_.u16(at));
    }

    void readMain(JpegHeader& header, int tag, std::size_t value) const {
        switch (tag) {
            case 0x112: {
                const int orientation = bytes_.u16(value);
                if (orientation >= 1 && orientation <= 8) header.orientation = orientation;
                break;
            }
            case 0x11A:
                header.exifXResolution = rational(bytes_.u32(value));
                break;
            case 0x11B:
                header.exifYResolution = rational(bytes_.u32(value));
                break;
            case 0x128:
                resolutionUnit_ = bytes_.u16(value);
                break;
            default:
                break;
        }
    }

    [[nodiscard]] double rational(std::size_t at) const {
        const std::uint32_t divisor = bytes_.u32(at + 4);
        return divisor != 0 ? static_cast<double>(bytes_.u32(at)) / divisor : 0;
    }

    ByteReader bytes_;
    mutable int resolutionUnit_ = 2;
};

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view start) {
    return bytes.size() >= start.size() && std::memcmp(bytes.data(), start.data(), start.size()) == 0;
}

bool isFrame(int marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

void readFrame(JpegHeader& header, const ByteReader& segment, int marker) {
    header.precision = segment.u8(0);
    header.height = segment.u16(1);
    header.width = segment.u16(3);
    header.components = segment.u8(5);
    header.isProgressive = marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE;
}

void readJfif(JpegHeader& header, const ByteReader& segment) {
    header.hasJfif = true;
    header.jfifVersion = segment.u16(5);
    header.densityUnit = segment.u8(7);
    header.xDensity = segment.u16(8);
    header.yDensity = segment.u16(10);
}

void readSegment(JpegHeader& header, int marker, std::span<const std::uint8_t> contents) {
    const ByteReader segment(contents, ByteReader::Order::big);
    if (isFrame(marker) && contents.size() >= 6 && header.width == 0) readFrame(header, segment, marker);
    if (marker == 0xE0 && startsWith(contents, "JFIF\0"sv) && contents.size() >= 12) readJfif(header, segment);
    if (marker == 0xE1 && !header.hasExif && startsWith(contents, "Exif\0\0"sv)) {
        header.hasExif = true;
        ExifReader(contents.subspan(6)).readInto(header);
    }
    if (marker == 0xE2 && startsWith(contents, "ICC_PROFILE\0"sv)) header.hasProfile = true;
}

}  // namespace

std::optional<JpegHeader> jpegHeaderOf(std::span<const std::uint8_t> bytes) noexcept {
    const ByteReader file(bytes, ByteReader::Order::big);
    if (file.u16(0) != 0xFFD8) return std::nullopt;
    JpegHeader header;
    std::size_t at = 2;
    while (file.has(at, 4)) {
        if (file.u8(at) != 0xFF) break;
        const int marker = file.u8(at + 1);
        if (marker == 0xFF) {  // filling
            ++at;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) break;
        const bool hasNoContents = marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (hasNoContents) {
            at += 2;
            continue;
        }
        const std::size_t length = file.u16(at + 2);
        if (length < 2) break;
        readSegment(header, marker, file.range(at + 4, length - 2));
        at += 2 + length;
    }
    if (header.width <= 0 || header.height <= 0 || header.components == 0) return std::nullopt;
    return header;
}

}  // namespace halden
