// The properties dictionary of a picture.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"
#include "platform/images/ImageFormat.h"
#include "platform/images/module/Vips.h"

#include <optional>

namespace halden::images {

/// See `ImagesEngine::propertiesOf`.
[[nodiscard]] std::optional<Dictionary> propertiesOf(const Data& file, ImageFormat format);

}  // namespace halden::images
