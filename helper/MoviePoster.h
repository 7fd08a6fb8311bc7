// A picture of a movie, for the service.
#pragma once

#include "foundation/Value.h"
#include "platform/movies/Movie.h"

#include <string_view>

namespace quarry {

/// "Duration" (seconds, a float; 0 when nothing tells), "Size" (of the pictures in pixels) and "Thumbnail" (a TIFF
/// file, packed by LZW; left out when there is no picture). `idling` is called while the movie loads, for other
/// requests.
[[nodiscard]] halden::Dictionary posterImageForMovieWithFile(std::u16string_view path,
                                                             const halden::MovieIdling& idling);

}  // namespace quarry
