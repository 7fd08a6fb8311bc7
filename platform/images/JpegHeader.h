// What stands before the pixels of a JPEG.
//
//   FF D8, then segments: FF, a marker, two bytes of length (with themselves), contents
//   E0 "JFIF\0"      version (2), unit of density (1), densities (2, 2)
//   E1 "Exif\0\0"    a TIFF structure: the first directory describes the picture, the second one the thumbnail
//   E2 "ICC_PROFILE\0"
//   EE "Adobe"       at 11 the colour transform
//   C0 to CF but for C4, C8, CC: precision (1), height (2), width (2), number of components (1); C2, C6, CA, CE: in
//   passes DA               pixels follow
//
// Numbers are big-endian, those of the TIFF structure as it says.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace halden {

struct JpegHeader {
    int width = 0;
    int height = 0;
    int components = 0;  ///< 1: grey; 3: colour; 4: CMYK
    int precision = 8;   ///< bits of a sample
    bool isProgressive = false;
    int orientation = 1;  ///< 1 to 8, as Exif counts them

    bool hasExif = false;  ///< the first ones count
    bool hasJfif = false;
    int jfifVersion = 0;  ///< 0x0102 for 1.02
    int densityUnit = 0;  ///< 0: none, the densities are a ratio; 1: an inch; 2: a centimetre
    int xDensity = 0;
    int yDensity = 0;
    /// By the Exif data, dots an inch; 0 when they say nothing.
    double exifXResolution = 0;
    double exifYResolution = 0;

    bool hasProfile = false;
    /// The JPEG thumbnail inside, part of the bytes given; empty when there is none.
    std::span<const std::uint8_t> thumbnail;
};

/// Reads up to the pixels. nullopt for bytes that are no JPEG, or that end before the size is told. Time is linear in
/// what stands before the pixels; nothing is allocated.
[[nodiscard]] std::optional<JpegHeader> jpegHeaderOf(std::span<const std::uint8_t> bytes) noexcept;

}  // namespace halden
