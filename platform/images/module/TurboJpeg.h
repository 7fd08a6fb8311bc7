// JPEG files, decoded without anything around it.
#pragma once

#include "platform/images/Bitmap.h"

#include <cstdint>
#include <optional>
#include <span>

namespace halden::images {

/// A small JPEG of grey or colour, as it is stored; nullopt for CMYK, for one of more than 16 million pixels, and when
/// it cannot be decoded. What can be made of a damaged one counts.
[[nodiscard]] std::optional<Bitmap> bitmapFromSmallJpeg(std::span<const std::uint8_t> bytes);

}  // namespace halden::images
