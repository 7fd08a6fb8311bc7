// Any bytes opened as a movie: what it says of itself is plausible, and its pictures are whole.
#include "platform/movies/module/LibavMovie.h"

#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void checkPicture(const std::optional<halden::Bitmap>& picture) {
    if (!picture) return;
    require(picture->width > 0 && picture->height > 0 && picture->channels == 3);
    require(picture->pixels.size() == picture->rowLength() * static_cast<std::size_t>(picture->height));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    halden::LibavMovie::prepareLibraries();
    const auto movie = halden::LibavMovie::open(halden::MovieBytes::ofMemory({bytes, size}), "movie");
    if (!movie) return 0;
    const auto duration = movie->duration();
    require(!duration || duration->seconds().value_or(0) >= 0);
    const auto naturalSize = movie->naturalSize();
    require(!naturalSize || (naturalSize->width >= 1 && naturalSize->height >= 1));
    checkPicture(movie->frameAtTime(duration ? duration->seconds().value_or(0) / 2 : 0));
    checkPicture(movie->posterImage());
    return 0;
}
