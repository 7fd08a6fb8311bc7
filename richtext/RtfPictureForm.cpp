#include "richtext/RtfPictureForm.h"

#include <cstdint>
#include <cstdlib>

namespace halden {
namespace {

constexpr std::size_t kBitmapFileHeader = 14;
constexpr std::size_t kMetafileFileHeader = 22;
constexpr std::size_t kMacPictureHeader = 512;

bool has(const Data& file, std::string_view bytes, std::size_t offset = 0) noexcept {
    return file.length() >= offset && file.view().substr(offset).starts_with(bytes);
}

Data withoutFirst(const Data& file, std::size_t count) noexcept {
    return file.subdata(count, file.length() - count);
}

int signed16(const Data& file, std::size_t offset) noexcept {
    return static_cast<std::int16_t>(file.bytes()[offset] | file.bytes()[offset + 1] << 8);
}

/// The box in the header of a metafile that stands alone, by its units an inch.
Size sizeOfMetafile(const Data& file) noexcept {
    const auto points = [&](std::size_t low, std::size_t high) {
        const int unitsInInch = signed16(file, 14);
        return unitsInInch <= 0 ? 0.0 : std::abs(signed16(file, high) - signed16(file, low)) * 72.0 / unitsInInch;
    };
    return {points(6, 10), points(8, 12)};
}

/// Macintosh pictures begin with a block of anything; the version of the drawing follows its size and frame.
bool isMacPicture(const Data& file) noexcept {
    constexpr std::size_t kVersion = kMacPictureHeader + 10;
    return has(file, {"\x00\x11\x02\xFF", 4}, kVersion) || has(file, {"\x11\x01", 2}, kVersion);
}

}  // namespace

std::optional<RtfPictureForm> rtfPictureForm(const Data& file, std::u16string_view type) {
    if (has(file, "\x89PNG\r\n\x1A\n")) return RtfPictureForm{.words = "\\pngblip", .data = file, .size = {}};
    if (has(file, "\xFF\xD8\xFF")) return RtfPictureForm{.words = "\\jpegblip", .data = file, .size = {}};
    if (has(file, {"\1\0\0\0", 4}) && has(file, " EMF", 40)) {
        return RtfPictureForm{.words = "\\emfblip", .data = file, .size = {}};
    }
    if (has(file, "\xD7\xCD\xC6\x9A") && file.length() > kMetafileFileHeader) {
        return RtfPictureForm{
            .words = "\\wmetafile8", .data = withoutFirst(file, kMetafileFileHeader), .size = sizeOfMetafile(file)};
    }
    if (has(file, "BM") && file.length() > kBitmapFileHeader + 12) {
        return RtfPictureForm{.words = "\\dibitmap0", .data = withoutFirst(file, kBitmapFileHeader), .size = {}};
    }
    if (isMacPicture(file)) {
        return RtfPictureForm{.words = "\\macpict", .data = withoutFirst(file, kMacPictureHeader), .size = {}};
    }
    if (type == u"public.png") return RtfPictureForm{.words = "\\pngblip", .data = file, .size = {}};
    if (type == u"public.jpeg") return RtfPictureForm{.words = "\\jpegblip", .data = file, .size = {}};
    return std::nullopt;
}

}  // namespace halden
