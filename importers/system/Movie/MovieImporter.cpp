// The importer of movies, and of sound that has no tags of its own kind. The reader is a module inside the bundle, so
// that a host that only looks at what its importers are does not wait for the many libraries of the reader.
#include "foundation/Log.h"
#include "importers/system/Movie/MovieReader.h"
#include "platform/modules/EngineModule.h"

#include <dlfcn.h>

namespace {

using quarry::support::Attributes;
using Reader = decltype(&quarry_movie_reader_1);

/// Contents/PlugIns of the bundle that this function lies in, wherever that was copied to.
std::string moduleFolder() {
    Dl_info object{};
    if (dladdr(reinterpret_cast<const void*>(&moduleFolder), &object) == 0 || object.dli_fname == nullptr) return {};
    const std::string path = object.dli_fname;
    return path.substr(0, path.rfind('/')) + "/../PlugIns";
}

Reader loadReader() {
    const auto module = halden::loadEngineModule("MovieReader.so", "quarry_movie_reader_1", {moduleFolder()});
    if (module.entry == nullptr) halden::logWarning("movies are not imported: " + module.reason);
    return reinterpret_cast<Reader>(module.entry);
}

bool importMovie(Attributes& attributes, std::string_view, const char* path) {
    static const Reader reader = loadReader();
    return reader != nullptr && reader(&attributes, path);
}

}  // namespace

QUARRY_IMPORTER(makeMovieImporter, importMovie)
