// Movies and sound files: how long, how large, and a picture of them.
#pragma once

#include "platform/movies/MoviesEngine.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace halden {

/// What a movie says of itself.
struct MovieAttributes {
    std::optional<Size> naturalSize;  ///< in pixels
    std::optional<MovieTime> duration;
    bool loops = false;
    bool loopsBackAndForth = false;
};

/// Lets a movie load: called with the seconds for which other work may be done meanwhile.
using MovieIdling = std::function<void(double seconds)>;

/// A movie that is open. Main thread only, as its opening lets other work be done.
class Movie {
public:
    /// Null when the file is no movie, or the engine is missing.
    [[nodiscard]] static std::unique_ptr<Movie> initWithFile(std::u16string_view path);

    /// The picture of the movie in the file at `path`, after the movie has idled for 0.05 s where `idling` is given;
    /// `attributes` (may be null) receives what the movie says of itself, nullopt where there is none. What throws is
    /// logged, and what was had before is returned.
    [[nodiscard]] static std::optional<Bitmap> thumbnailImageForMovieWithFile(
        std::u16string_view path, std::optional<MovieAttributes>* attributes, const MovieIdling& idling = {});
    [[nodiscard]] static std::optional<Bitmap> thumbnailImageForMovieWithFile(std::u16string_view path);
    /// The picture that stands for the file, and the one from its middle. What throws is logged.
    [[nodiscard]] static std::optional<Bitmap> posterImageForMovieWithFile(std::u16string_view path);
    [[nodiscard]] static std::optional<Bitmap> middleImageForMovieWithFile(std::u16string_view path);

    explicit Movie(std::unique_ptr<MovieFile> file) noexcept;

    /// The middle image, else the poster image.
    [[nodiscard]] std::optional<Bitmap> thumbnailImage();
    /// The frame at half of the duration, at 15 seconds at most, in whole seconds.
    [[nodiscard]] std::optional<Bitmap> middleImage();
    [[nodiscard]] std::optional<Bitmap> posterImage();

    /// Seconds; 0 when there is no such time.
    [[nodiscard]] double movieDuration() const;
    [[nodiscard]] double movieTime() const noexcept { return time_; }
    void setMovieTime(double seconds) noexcept { time_ = seconds; }
    /// In pixels; zeros when the movie has no pictures.
    [[nodiscard]] Size movieSize() const;
    [[nodiscard]] MovieAttributes movieAttributes() const;

    /// 0 plays once, 1 loops, 2 loops back and forth; any other mode is 0.
    void setLoopMode(int mode) noexcept;
    [[nodiscard]] int loopMode() const noexcept;

private:
    std::unique_ptr<MovieFile> file_;
    double time_ = 0;
    bool loops_ = false;
    bool loopsBackAndForth_ = false;
};

/// The extensions and HFS type codes (four characters in single quotes) of movie files: those of the engine, then a
/// fixed list, each once. Made once for the life of the process.
[[nodiscard]] const std::vector<std::u16string>& QuickTimeFileTypes();

/// Whether the list has the extension, ignoring case, or exactly the type code.
[[nodiscard]] bool isQuickTimeExtension(std::u16string_view extension, std::u16string_view type);

/// The same for a path's extension and the HFS type of the file there.
[[nodiscard]] bool isQuickTimeFile(std::u16string_view path);

}  // namespace halden
