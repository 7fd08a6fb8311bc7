#include "platform/movies/MoviesEngine.h"

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-movies.so";

}  // namespace

MoviesEngineStatus loadMoviesEngine(const std::vector<std::string>& folders) {
    return loadEngine<MoviesEngine>(kModuleName, kMoviesModuleEntry, folders);
}

const MoviesEngineStatus& moviesEngineStatus() {
    static const MoviesEngineStatus status =
        installedEngine<MoviesEngine>("Movie engine", kModuleName, kMoviesModuleEntry);
    return status;
}

}  // namespace halden
