#include "platform/images/IcnsFile.h"

#include "platform/images/ByteReader.h"

#include <algorithm>
#include <string_view>

namespace halden {
namespace {

constexpr std::size_t kHeaderLength = 8;
constexpr std::size_t kMostElements = 64;

enum class Form { encoded, packedColours, packedOrEncoded };

struct ElementType {
    std::string_view type;
    int side;
    int scale;
    Form form;
    std::string_view mask{};
};

constexpr ElementType kTypes[] = {
    {"is32", 16, 1, Form::packedColours, "s8mk"},
    {"il32", 32, 1, Form::packedColours, "l8mk"},
    {"ih32", 48, 1, Form::packedColours, "h8mk"},
    {"it32", 128, 1, Form::packedColours, "t8mk"},
    {"ic04", 16, 1, Form::packedOrEncoded},
    {"ic05", 32, 1, Form::packedOrEncoded},
    {"icp4", 16, 1, Form::encoded},
    {"icp5", 32, 1, Form::encoded},
    {"icp6", 64, 1, Form::encoded},
    {"ic07", 128, 1, Form::encoded},
    {"ic08", 256, 1, Form::encoded},
    {"ic09", 512, 1, Form::encoded},
    {"ic10", 1024, 2, Form::encoded},
    {"ic11", 32, 2, Form::encoded},
    {"ic12", 64, 2, Form::encoded},
    {"ic13", 256, 2, Form::encoded},
    {"ic14", 512, 2, Form::encoded},
};

/// Unpacks one plane of `length` bytes into every fourth byte from `out`; false when `packed` ends before that.
/// Takes what it has read off `packed`.
bool unpackPlane(std::span<const std::uint8_t>& packed, std::uint8_t* out, std::size_t length) {
    constexpr std::uint8_t kFirstRun = 128;
    constexpr std::size_t kShortestRun = 3;
    std::size_t done = 0;
    while (done < length) {
        if (packed.size() < 2) return false;
        const std::uint8_t control = packed[0];
        const bool isRun = control >= kFirstRun;
        const std::size_t count = isRun ? control - kFirstRun + kShortestRun : std::size_t{control} + 1;
        if (!isRun && packed.size() < 1 + count) return false;
        for (std::size_t i = 0; i < count && done < length; ++i, ++done)
            out[4 * done] = packed[isRun ? 1 : 1 + i];
        packed = packed.subspan(isRun ? 2 : 1 + count);
    }
    return true;
}

void copyPlane(std::span<const std::uint8_t> plane, std::uint8_t* out, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        out[4 * i] = plane[i];
}

Data contentsOfType(const Data& file, std::string_view type) {
    const ByteReader numbers(file.span(), ByteReader::Order::big);
    for (std::size_t at = kHeaderLength; numbers.has(at, kHeaderLength);) {
        const std::size_t length = numbers.u32(at + 4);
        if (length < kHeaderLength || !numbers.has(at, length)) break;
        if (file.view().substr(at, 4) == type) return file.subdata(at + kHeaderLength, length - kHeaderLength);
        at += length;
    }
    return {};
}

std::optional<IcnsElement> elementOf(const Data& file, const ElementType& type, Data contents) {
    IcnsElement element{.size = {type.side, type.side}, .scale = static_cast<double>(type.scale)};
    const bool hasAlphaPlane = contents.view().starts_with("ARGB");
    element.isEncoded = type.form == Form::encoded || (type.form == Form::packedOrEncoded && !hasAlphaPlane);
    if (contents.empty()) return std::nullopt;
    element.contents = std::move(contents);
    if (!type.mask.empty()) element.mask = contentsOfType(file, type.mask);
    return element;
}

}  // namespace

std::optional<Bitmap> IcnsElement::bitmap() const {
    if (isEncoded) return std::nullopt;
    const std::size_t length = static_cast<std::size_t>(size.width) * size.height;
    Bitmap bitmap{.width = size.width, .height = size.height, .channels = 4, .pixels = {}};
    bitmap.pixels.resize(4 * length, 0xFF);
    auto packed = contents.span();
    const bool hasAlphaPlane = contents.view().starts_with("ARGB");
    const bool hasZeros =
        !hasAlphaPlane && size.width == 128 && contents.view().starts_with(std::string_view("\0\0\0\0", 4));
    if (hasAlphaPlane || hasZeros) packed = packed.subspan(4);
    std::uint8_t* pixels = bitmap.pixels.data();
    if (hasAlphaPlane && !unpackPlane(packed, pixels + 3, length)) return std::nullopt;
    // Planes as long as they are tall and wide were not packed.
    const bool isPlain = !hasAlphaPlane && packed.size() == 3 * length;
    for (int channel = 0; channel < 3; ++channel) {
        if (isPlain)
            copyPlane(packed.subspan(channel * length, length), pixels + channel, length);
        else if (!unpackPlane(packed, pixels + channel, length))
            return std::nullopt;
    }
    if (mask.length() >= length) copyPlane(mask.span(), pixels + 3, length);
    return bitmap;
}

std::vector<IcnsElement> icnsElementsOf(const Data& file) {
    std::vector<IcnsElement> elements;
    const ByteReader numbers(file.span(), ByteReader::Order::big);
    if (!file.view().starts_with("icns")) return elements;
    for (std::size_t at = kHeaderLength; numbers.has(at, kHeaderLength) && elements.size() < kMostElements;) {
        const std::size_t length = numbers.u32(at + 4);
        if (length < kHeaderLength || !numbers.has(at, length)) break;
        const auto type = std::ranges::find(kTypes, file.view().substr(at, 4), &ElementType::type);
        if (type != std::end(kTypes)) {
            auto element = elementOf(file, *type, file.subdata(at + kHeaderLength, length - kHeaderLength));
            if (element) elements.push_back(std::move(*element));
        }
        at += length;
    }
    return elements;
}

}  // namespace halden
