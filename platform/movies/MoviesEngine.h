// The movie libraries: a module of its own, loaded on first use.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"
#include "platform/images/Bitmap.h"
#include "platform/modules/EngineModule.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halden {

/// A time of a movie: `value` / `scale` seconds. Without a scale it is none.
struct MovieTime {
    std::int64_t value = 0;
    std::int32_t scale = 0;

    /// nullopt for what is no time.
    [[nodiscard]] std::optional<double> seconds() const noexcept {
        if (scale <= 0) return std::nullopt;
        return static_cast<double>(value) / scale;
    }
};

/// An open file of moving pictures or sound. Used by one thread.
class MovieFile {
public:
    virtual ~MovieFile() = default;

    /// nullopt when the file does not say, and nothing tells.
    [[nodiscard]] virtual std::optional<MovieTime> duration() const = 0;
    /// In square pixels, upright; nullopt for files without moving pictures.
    [[nodiscard]] virtual std::optional<Size> naturalSize() const = 0;

    /// The picture that is shown `seconds` after the start, in the natural size; nullopt when none can be had. Of a
    /// damaged stream it is the last one before that decodes.
    [[nodiscard]] virtual std::optional<Bitmap> frameAtTime(double seconds) = 0;
    /// The picture that stands for the file: one that is attached to it, as to sound, else the one at
    /// the poster time of the file, else the first that is not blank.
    [[nodiscard]] virtual std::optional<Bitmap> posterImage() = 0;
};

/// What the module quarry-movies.so offers. Nothing but the file is read, whatever it refers to, and no decoder of the
/// machine's hardware is asked. Pictures of more than 2^26 pixels are not decoded; an operation ends after ten seconds
/// with what it has, and takes 900 MB at most.
class MoviesEngine {
public:
    virtual ~MoviesEngine() = default;

    /// "libavformat 59.27.100, ...".
    [[nodiscard]] virtual std::string version() const = 0;

    /// Null when the file at `path` (bytes) is none of the kinds that are read.
    [[nodiscard]] virtual std::unique_ptr<MovieFile> open(const std::string& path) const = 0;

    /// The extensions of the common kinds of files, in the engine's order.
    [[nodiscard]] virtual std::vector<std::string> fileTypes() const = 0;
};

/// The name of the module's one entry, a function without arguments that returns a pointer to its MoviesEngine. The
/// number changes whenever MoviesEngine or a type that it passes does.
inline constexpr const char* kMoviesModuleEntry = "quarry_movies_module_1";

using MoviesEngineStatus = EngineStatus<MoviesEngine>;

/// Loads the first quarry-movies.so of `folders`, and no other one should that fail. It is never unloaded.
[[nodiscard]] MoviesEngineStatus loadMoviesEngine(const std::vector<std::string>& folders);

/// The engine of this process, loaded on the first call from the folders of `engineModuleFolders`. A failure is logged,
/// once. Thread-safe.
[[nodiscard]] const MoviesEngineStatus& moviesEngineStatus();

}  // namespace halden
