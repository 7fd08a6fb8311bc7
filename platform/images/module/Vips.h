// libvips, started once and kept on a leash.
#pragma once

#include "foundation/Data.h"
#include "platform/images/Bitmap.h"
#include "platform/images/ImageFormat.h"

#include <vips/vips.h>

#include <memory>
#include <optional>
#include <string>

namespace halden::images {

struct VipsUnreference {
    void operator()(VipsImage* image) const noexcept { g_object_unref(image); }
};
using VipsPicture = std::unique_ptr<VipsImage, VipsUnreference>;

/// Starts the library, with one thread, without a cache of operations, and with no loader but those that are used here.
/// Returns whether it runs.
bool startVips();

/// Opens a picture of the file without decoding it; null when it cannot be.
[[nodiscard]] VipsPicture openPicture(const Data& file, ImageFormat format, int frame);

/// Whether decoding so large a picture is reasonable. What is decoded row by row may be larger than what has to be in
/// memory as a whole.
[[nodiscard]] bool isReasonable(VipsImage* picture, ImageFormat format);

/// The picture in sRGB, with 8 bits, in memory; nullopt when decoding fails or takes too long.
[[nodiscard]] std::optional<Bitmap> bitmapFromPicture(VipsImage* picture);

/// `file`'s picture in exactly `size`. With `isTurned` it is shown upright, and `size` is that of the upright picture.
[[nodiscard]] std::optional<Bitmap> scaledBitmap(const Data& file, ImageFormat format, int frame, PixelSize size,
                                                 bool isTurned);

/// A bitmap in exactly `size`.
[[nodiscard]] std::optional<Bitmap> scaledBitmap(const Bitmap& bitmap, PixelSize size);

/// A bitmap turned by an Exif orientation.
[[nodiscard]] Bitmap turned(Bitmap bitmap, int orientation);

}  // namespace halden::images
