// The poster time of QuickTime files.
#pragma once

#include "platform/movies/module/MovieBytes.h"

#include <optional>

namespace halden {

/// The seconds at which the picture is that the author chose to stand for the movie: what the movie header of a
/// QuickTime or MPEG-4 file says. nullopt for other files, those whose header cannot be found or is damaged, and those
/// that say 0, the value of those that make no choice. Reads a few hundred bytes, wherever in the file they are.
[[nodiscard]] std::optional<double> posterTimeOf(MovieBytes& bytes);

}  // namespace halden
