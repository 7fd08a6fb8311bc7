// What stands before the pixels of a PNG.
//
//   89 "PNG" 0D 0A 1A 0A, then chunks: length of the contents (4), type (4), contents, a checksum (4)
//   IHDR   width (4), height (4), bits of a sample, colour type (2: colour, 4: alpha), compression, filter, interlacing
//   pHYs   pixels a unit across and down (4, 4), unit (1: a metre)
//   gAMA   100,000 times the gamma (4);  sRGB   rendering intent (1);  tRNS   transparent colours
//   cHRM   100,000 times white point, red, green, blue, each across and up (8 times 4)
//   tEXt   a key, zero, text in Latin 1
//   IDAT   pixels follow
//
// All numbers are big-endian.
#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <span>

namespace halden {

struct PngHeader {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int depth = 8;
    int colorType = 0;
    bool isInterlaced = false;
    bool hasAlpha = false;              ///< an alpha channel or transparent colours
    std::uint32_t xPixelsPerMeter = 0;  ///< 0: not told, or a ratio only
    std::uint32_t yPixelsPerMeter = 0;

    /// Under the published keys: see ImageProperties.h.
    Dictionary properties{};
};

/// Pixels an inch. Those a metre are whole numbers where dots an inch were meant: 2835 is 72.
[[nodiscard]] double resolutionFromMetre(std::uint32_t pixels) noexcept;

/// Reads up to the pixels; nullopt for bytes that are no PNG.
[[nodiscard]] std::optional<PngHeader> pngHeaderOf(std::span<const std::uint8_t> bytes);

}  // namespace halden
