// Pixels in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace halden {

/// A picture of `width` by `height` pixels, rows from the top, without gaps: 3 bytes a pixel (red, green, blue) or 4
/// (with alpha, which the colours are not multiplied by), all in sRGB.
struct Bitmap {
    int width = 0;
    int height = 0;
    int channels = 3;
    std::vector<std::uint8_t> pixels;

    [[nodiscard]] bool isEmpty() const noexcept { return width <= 0 || height <= 0; }
    [[nodiscard]] bool hasAlpha() const noexcept { return channels == 4; }
    [[nodiscard]] std::size_t rowLength() const noexcept { return static_cast<std::size_t>(width) * channels; }
};

/// A width and a height in pixels.
struct PixelSize {
    int width = 0;
    int height = 0;
    friend bool operator==(const PixelSize&, const PixelSize&) noexcept = default;
};

}  // namespace halden
