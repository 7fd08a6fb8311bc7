// Decoded frames as pictures that a player would show.
#pragma once

#include "platform/images/Bitmap.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>

namespace halden {

/// Larger pictures are not made.
inline constexpr std::int64_t kMostPicturePixels = std::int64_t{1} << 26;

/// Of a stream of moving pictures: in square pixels, turned as the stream says.
[[nodiscard]] PixelSize naturalSizeOf(const AVStream& stream) noexcept;

/// The frame of that stream, likewise; its colours as it says of itself, in 8-bit RGB. nullopt when it is too large, or
/// of a form that cannot be converted.
[[nodiscard]] std::optional<Bitmap> bitmapOf(const AVFrame& frame, const AVStream& stream);

/// Whether hardly a pixel differs from the others: a fade from black, an empty title. A few thousand pixels tell.
[[nodiscard]] bool isBlankPicture(const AVFrame& frame);

}  // namespace halden
