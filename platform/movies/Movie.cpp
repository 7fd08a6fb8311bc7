#include "platform/movies/Movie.h"

#include "foundation/Exception.h"
#include "foundation/Path.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace halden {
namespace {

constexpr double kIdling = 0.05;
constexpr double kLatest = 15.0;

/// Runs `body`; what it throws is logged under the selector, and `result` stays as it was by then.
template <class Body>
void guardedMovie(std::string_view selector, Body&& body) {
    try {
        body();
    } catch (const Exception&) {
        logCaughtException(selector, "QTMovie");
    }
}

}  // namespace

std::unique_ptr<Movie> Movie::initWithFile(std::u16string_view path) {
    const auto bytes = pathBytesFromString(path);
    const MoviesEngine* const engine = moviesEngineStatus().engine;
    if (!bytes || engine == nullptr) return nullptr;
    auto file = engine->open(*bytes);
    return file ? std::make_unique<Movie>(std::move(file)) : nullptr;
}

Movie::Movie(std::unique_ptr<MovieFile> file) noexcept : file_(std::move(file)) {}

std::optional<Bitmap> Movie::thumbnailImageForMovieWithFile(std::u16string_view path,
                                                            std::optional<MovieAttributes>* attributes,
                                                            const MovieIdling& idling) {
    if (attributes != nullptr) attributes->reset();
    std::optional<Bitmap> image;
    guardedMovie("thumbnailImageForMovieWithFile:attributes:", [&] {
        const std::unique_ptr<Movie> movie = initWithFile(path);
        if (!movie) return;
        if (idling) idling(kIdling);
        image = movie->thumbnailImage();
        if (attributes != nullptr) *attributes = movie->movieAttributes();
    });
    return image;
}

std::optional<Bitmap> Movie::thumbnailImageForMovieWithFile(std::u16string_view path) {
    return thumbnailImageForMovieWithFile(path, nullptr);
}

std::optional<Bitmap> Movie::posterImageForMovieWithFile(std::u16string_view path) {
    std::optional<Bitmap> image;
    guardedMovie("posterImageForMovieWithFile:", [&] {
        if (const std::unique_ptr<Movie> movie = initWithFile(path)) image = movie->posterImage();
    });
    return image;
}

std::optional<Bitmap> Movie::middleImageForMovieWithFile(std::u16string_view path) {
    std::optional<Bitmap> image;
    guardedMovie("middleImageForMovieWithFile:", [&] {
        if (const std::unique_ptr<Movie> movie = initWithFile(path)) image = movie->middleImage();
    });
    return image;
}

std::optional<Bitmap> Movie::thumbnailImage() {
    auto image = middleImage();
    return image ? std::move(image) : posterImage();
}

std::optional<Bitmap> Movie::middleImage() {
    return file_->frameAtTime(std::floor(std::clamp(movieDuration() * 0.5, 0.0, kLatest)));
}

std::optional<Bitmap> Movie::posterImage() {
    return file_->posterImage();
}

double Movie::movieDuration() const {
    const auto duration = file_->duration();
    return duration ? duration->seconds().value_or(0) : 0;
}

Size Movie::movieSize() const {
    return file_->naturalSize().value_or(Size{});
}

MovieAttributes Movie::movieAttributes() const {
    return {.naturalSize = file_->naturalSize(),
            .duration = file_->duration(),
            .loops = loops_,
            .loopsBackAndForth = loopsBackAndForth_};
}

void Movie::setLoopMode(int mode) noexcept {
    loops_ = mode == 1;
    loopsBackAndForth_ = mode == 2;
}

int Movie::loopMode() const noexcept {
    return loopsBackAndForth_ ? 2 : loops_ ? 1 : 0;
}

}  // namespace halden
