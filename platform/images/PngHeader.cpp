#include "platform/images/PngHeader.h"

#include "foundation/Unicode.h"
#include "platform/images/ByteReader.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace halden {
namespace {

constexpr std::size_t kLongestText = std::size_t{64} * 1024;
constexpr double kFixedPoint = 100000;

struct TextKey {
    std::string_view keyword;
    std::u16string_view key;
};

constexpr TextKey kTextKeys[] = {
    {"Author", u"Author"},
    {"Comment", u"Comment"},
    {"Copyright", u"Copyright"},
    {"Creation Time", u"CreationTime"},
    {"Description", u"Description"},
    {"Disclaimer", u"Disclaimer"},
    {"Software", u"Software"},
    {"Source", u"Source"},
    {"Title", u"Title"},
    {"Warning", u"Warning"},
};

void readText(PngHeader& header, std::string_view contents) {
    const std::size_t end = contents.find('\0');
    if (end == std::string_view::npos || contents.size() > kLongestText) return;
    const auto known = std::ranges::find(kTextKeys, contents.substr(0, end), &TextKey::keyword);
    if (known == std::end(kTextKeys)) return;
    std::u16string text;
    for (const char c : contents.substr(end + 1))
        text.push_back(static_cast<unsigned char>(c));
    if (!text.empty()) header.properties.set(std::u16string(known->key), std::move(text));
}

void readDensity(PngHeader& header, const ByteReader& chunk) {
    if (chunk.u8(8) != 1) return;
    header.xPixelsPerMeter = chunk.u32(0);
    header.yPixelsPerMeter = chunk.u32(4);
    header.properties.set(u"XPixelsPerMeter", static_cast<std::int64_t>(chunk.u32(0)));
    header.properties.set(u"YPixelsPerMeter", static_cast<std::int64_t>(chunk.u32(4)));
}

void readChunk(PngHeader& header, std::string_view type, std::span<const std::uint8_t> contents) {
    const ByteReader chunk(contents, ByteReader::Order::big);
    if (type == "pHYs" && contents.size() >= 9) readDensity(header, chunk);
    if (type == "gAMA" && contents.size() >= 4) header.properties.set(u"Gamma", chunk.u32(0) / kFixedPoint);
    if (type == "sRGB" && !contents.empty()) header.properties.set(u"sRGBIntent", static_cast<int>(chunk.u8(0)));
    if (type == "tRNS") header.hasAlpha = true;
    if (type == "cHRM" && contents.size() >= 32) {
        Array numbers;
        for (std::size_t at = 0; at < 32; at += 4)
            numbers.emplace_back(chunk.u32(at) / kFixedPoint);
        header.properties.set(u"Chromaticities", std::move(numbers));
    }
    if (type == "tEXt") readText(header, {reinterpret_cast<const char*>(contents.data()), contents.size()});
}

}  // namespace

double resolutionFromMetre(std::uint32_t pixels) noexcept {
    constexpr double kMetresPerInch = 0.0254;
    constexpr double kGreatestRounding = 0.02;
    const double resolution = pixels * kMetresPerInch;
    const double whole = std::round(resolution);
    return std::abs(resolution - whole) < kGreatestRounding ? whole : resolution;
}

std::optional<PngHeader> pngHeaderOf(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kFirstChunk = 8;
    constexpr std::size_t kAroundContents = 12;
    const ByteReader file(bytes, ByteReader::Order::big);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!text.starts_with("\x89PNG\r\n\x1A\n") || bytes.size() < 33 || text.substr(12, 4) != "IHDR")
        return std::nullopt;
    PngHeader header{.width = file.u32(16), .height = file.u32(20), .depth = file.u8(24), .colorType = file.u8(25)};
    header.isInterlaced = file.u8(28) == 1;
    header.hasAlpha = (header.colorType & 4) != 0;
    header.properties.set(u"InterlaceType", static_cast<int>(file.u8(28)));
    for (std::size_t at = kFirstChunk; file.has(at, kAroundContents);) {
        const std::size_t length = file.u32(at);
        const std::string_view type = text.substr(at + 4, 4);
        if (type == "IDAT" || !file.has(at + 8, length)) break;
        readChunk(header, type, file.range(at + 8, length));
        at += kAroundContents + length;
    }
    if (header.width == 0 || header.height == 0) return std::nullopt;
    return header;
}

}  // namespace halden
