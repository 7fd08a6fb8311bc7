// TIFF files, written.
#pragma once

#include "foundation/Data.h"
#include "platform/images/Bitmap.h"

#include <optional>

namespace halden::images {

/// See `ImagesEngine::tiffFromBitmap`.
[[nodiscard]] std::optional<Data> tiffFromBitmap(const Bitmap& bitmap);

}  // namespace halden::images
