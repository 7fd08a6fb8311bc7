#include "platform/movies/MoviesEngine.h"

#include "foundation/Log.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-movies.so";

std::vector<std::string> standardFolders() {
    std::string program(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", program.data(), program.size());
    if (length <= 0) return {};
    program.resize(static_cast<std::size_t>(length));
    const std::string folder = program.substr(0, program.rfind('/'));
    return {folder, folder + "/../libexec/quarry"};
}

}  // namespace

MoviesEngineStatus loadMoviesEngine(const std::vector<std::string>& folders) {
    MoviesEngineStatus status;
    for (const std::string& folder : folders) {
        const std::string path = folder + "/" + kModuleName;
        if (access(path.c_str(), F_OK) != 0) continue;
        status.path = path;
        break;
    }
    if (status.path.empty()) {
        status.reason = std::string(kModuleName) + " is not installed";
        return status;
    }
    void* module = dlopen(status.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* error = dlerror();
        status.reason = error != nullptr ? error : "unknown error of the loader";
        return status;
    }
    const auto entry = reinterpret_cast<const MoviesEngine* (*)()>(dlsym(module, kMoviesModuleEntry));
    if (entry == nullptr) {
        status.reason = status.path + " is of another version: it has no " + kMoviesModuleEntry;
        return status;
    }
    status.engine = entry();
    return status;
}

const MoviesEngineStatus& moviesEngineStatus() {
    static const MoviesEngineStatus status = [] {
        MoviesEngineStatus loaded = loadMoviesEngine(standardFolders());
        if (loaded.engine == nullptr) logWarning("Movie engine missing: " + loaded.reason);
        return loaded;
    }();
    return status;
}

}  // namespace halden
