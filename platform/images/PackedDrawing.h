// Drawings as they are kept on disk: SVG packed by gzip (".svgz").
#pragma once

#include "foundation/Data.h"

namespace halden {

/// The SVG drawing in these bytes when they are one packed by gzip, of at most 64 MB; else `data` itself.
[[nodiscard]] Data unpackedDrawing(const Data& data);

}  // namespace halden
