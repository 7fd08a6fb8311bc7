#include "helper/MoviePoster.h"

#include "platform/images/ImagesEngine.h"

#include <utility>

namespace quarry {

using halden::Dictionary;

Dictionary posterImageForMovieWithFile(std::u16string_view path, const halden::MovieIdling& idling) {
    std::optional<halden::MovieAttributes> attributes;
    const auto image = halden::Movie::thumbnailImageForMovieWithFile(path, &attributes, idling);
    const halden::MovieAttributes known = attributes.value_or(halden::MovieAttributes{});
    const double seconds = known.duration ? known.duration->seconds().value_or(0) : 0;
    Dictionary result{{u"Duration", static_cast<double>(static_cast<float>(seconds))},
                      {u"Size", halden::NSStringFromSize(known.naturalSize.value_or(halden::Size{}))}};
    const halden::ImagesEngine* const engine = image ? halden::imagesEngineStatus().engine : nullptr;
    if (engine != nullptr) {
        if (auto tiff = engine->tiffFromBitmap(*image)) result.set(u"Thumbnail", std::move(*tiff));
    }
    return result;
}

}  // namespace quarry
