// What a picture is, told from its first bytes.
#pragma once

#include <cstdint>
#include <span>

namespace halden {

enum class ImageFormat {
    unknown,
    jpeg,
    png,
    gif,
    tiff,
    webp,
    heif,  ///< HEIC, HEIF and AVIF
    bmp,
    ico,
    icns,
    psd,
    jpeg2000,
    jpegXL,
    cameraRaw,  ///< whose embedded previews are read, never the sensor's data
    svg,
    pdf,
    postScript,  ///< with or without a preview before it
};

/// The format of the picture with these bytes (all of them; no more than the first few kilobytes are looked at, and of
/// files in the form of TIFF the first directory). Extensions and declared types play no part. SVG is taken for it when
/// its root element is plain text; see PackedDrawing.h for others.
[[nodiscard]] ImageFormat imageFormatOf(std::span<const std::uint8_t> bytes) noexcept;

/// Whether the picture consists of drawing operations and not of pixels.
[[nodiscard]] constexpr bool isVectorFormat(ImageFormat format) noexcept {
    return format == ImageFormat::svg || format == ImageFormat::pdf || format == ImageFormat::postScript;
}

}  // namespace halden
