#include "platform/images/ImageFormat.h"

#include "platform/images/ByteReader.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;

// How far into a file its PDF header, or the root element of its drawing, may begin.
constexpr std::size_t kHeaderReach = 1024;
constexpr std::size_t kRootReach = 4096;

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    ImageFormat format;
};

// Longer signatures come before shorter ones that they begin with.
constexpr Signature kSignatures[] = {
    {0, "\xFF\xD8\xFF"sv, ImageFormat::jpeg},
    {0, "\x89PNG\r\n\x1A\n"sv, ImageFormat::png},
    {0, "GIF87a"sv, ImageFormat::gif},
    {0, "GIF89a"sv, ImageFormat::gif},
    {8, "WEBPVP8"sv, ImageFormat::webp},
    {8, "CR\x02\0"sv, ImageFormat::cameraRaw},
    {6, "HEAPCCDR"sv, ImageFormat::cameraRaw},
    {0, "FUJIFILMCCD-RAW"sv, ImageFormat::cameraRaw},
    {0, "IIRO"sv, ImageFormat::cameraRaw},
    {0, "IIRS"sv, ImageFormat::cameraRaw},
    {0, "MMOR"sv, ImageFormat::cameraRaw},
    {0, "IIU\0"sv, ImageFormat::cameraRaw},
    {0, "\0MRM"sv, ImageFormat::cameraRaw},
    {0, "icns"sv, ImageFormat::icns},
    {0, "8BPS\0\1"sv, ImageFormat::psd},
    {0, "8BPS\0\2"sv, ImageFormat::psd},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, ImageFormat::jpeg2000},
    {0, "\xFF\x4F\xFF\x51"sv, ImageFormat::jpeg2000},
    {0, "\xFF\x0A"sv, ImageFormat::jpegXL},
    {0, "\0\0\0\x0CJXL \r\n\x87\n"sv, ImageFormat::jpegXL},
    {0, "\0\0\1\0"sv, ImageFormat::ico},
    {0, "%!PS"sv, ImageFormat::postScript},
    {0, "\x04%!PS"sv, ImageFormat::postScript},
    {0, "\xC5\xD0\xD3\xC6"sv, ImageFormat::postScript},
};

constexpr std::string_view kStillPictureBrands[] = {"heic", "heix", "heim", "heis", "mif1", "msf1",
                                                    "hevc", "hevx", "avif", "avis", "miaf"};

/// The first brand that is known decides; "crx " is a camera's.
ImageFormat formatOfMediaFile(std::string_view bytes, const ByteReader& numbers) {
    const std::size_t end = std::min<std::size_t>({numbers.u32(0), bytes.size(), 128});
    for (std::size_t at = 8; at + 4 <= end; at += at == 8 ? 8 : 4) {
        const std::string_view brand = bytes.substr(at, 4);
        if (brand == "crx ") return ImageFormat::cameraRaw;
        if (std::ranges::find(kStillPictureBrands, brand) != std::end(kStillPictureBrands)) return ImageFormat::heif;
    }
    return ImageFormat::unknown;
}

/// A camera's raw file in the form of TIFF says so by its version of DNG, or has a reduced picture first and the rest
/// in directories below it.
ImageFormat formatOfTiff(std::span<const std::uint8_t> bytes, ByteReader::Order order) {
    constexpr int kSubfileType = 254;
    constexpr int kSubdirectories = 330;
    constexpr int kDngVersion = 50706;
    constexpr unsigned kMostEntries = 512;
    const ByteReader numbers(bytes, order);
    const std::size_t directory = numbers.u32(4);
    const unsigned count = std::min<unsigned>(numbers.u16(directory), kMostEntries);
    bool isReduced = false;
    bool hasSubdirectories = false;
    for (std::size_t entry = directory + 2; entry < directory + 2 + std::size_t{12} * count; entry += 12) {
        const int tag = numbers.u16(entry);
        if (tag == kDngVersion) return ImageFormat::cameraRaw;
        if (tag == kSubfileType) isReduced = (numbers.u32(entry + 8) & 1U) != 0;
        if (tag == kSubdirectories) hasSubdirectories = true;
    }
    return isReduced && hasSubdirectories ? ImageFormat::cameraRaw : ImageFormat::tiff;
}

bool isSvg(std::string_view text) {
    constexpr std::string_view kRoot = "<svg";
    text = text.substr(0, kRootReach);
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (!text.starts_with('<')) return false;
    const std::size_t root = text.find(kRoot);
    if (root == std::string_view::npos || root + kRoot.size() >= text.size()) return false;
    // A page may show drawings, too; what comes before a drawing's root is only declarations and comments.
    if (" \t\r\n>:"sv.find(text[root + kRoot.size()]) == std::string_view::npos) return false;
    for (std::size_t tag = text.find('<'); tag < root; tag = text.find('<', tag + 1)) {
        const bool isMarkup = tag + 1 < text.size() && (text[tag + 1] == '?' || text[tag + 1] == '!');
        if (!isMarkup) return false;
        if (text.substr(tag).starts_with("<!--")) tag = std::min(text.find("-->", tag), root);
    }
    return true;
}

}  // namespace

ImageFormat imageFormatOf(std::span<const std::uint8_t> bytes) noexcept {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const auto& signature : kSignatures) {
        if (text.size() > signature.offset && text.substr(signature.offset).starts_with(signature.bytes))
            return signature.format;
    }
    if (text.starts_with("II*\0"sv)) return formatOfTiff(bytes, ByteReader::Order::little);
    if (text.starts_with("MM\0*"sv)) return formatOfTiff(bytes, ByteReader::Order::big);
    if (text.starts_with("II+\0"sv) || text.starts_with("MM\0+"sv)) return ImageFormat::tiff;
    const ByteReader numbers(bytes, ByteReader::Order::big);
    if (text.size() > 12 && text.substr(4).starts_with("ftyp")) return formatOfMediaFile(text, numbers);
    // A bitmap's four reserved bytes are zero, and its header has one of few sizes.
    if (text.starts_with("BM") && numbers.u32(6) == 0 && bytes.size() > 26) {
        const unsigned header = ByteReader(bytes, ByteReader::Order::little).u32(14);
        if (header >= 12 && header <= 124) return ImageFormat::bmp;
    }
    if (text.substr(0, kHeaderReach).find("%PDF-") != std::string_view::npos) return ImageFormat::pdf;
    return isSvg(text) ? ImageFormat::svg : ImageFormat::unknown;
}

}  // namespace halden
