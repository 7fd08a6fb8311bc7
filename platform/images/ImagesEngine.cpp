#include "platform/images/ImagesEngine.h"

#include "foundation/Log.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-images.so";
// An importer's executable is PREFIX/lib/quarry/Spotlight/NAME.mdimporter/Contents/Linux/NAME.
constexpr const char* kPrefixFromImporter = "/../../../../../..";

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::vector<std::string> standardFolders() {
    std::vector<std::string> folders;
    std::string program(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", program.data(), program.size());
    if (length > 0) {
        program.resize(static_cast<std::size_t>(length));
        folders.push_back(folderOf(program));
        folders.push_back(folderOf(program) + "/../libexec/quarry");
    }
    Dl_info object{};
    if (dladdr(reinterpret_cast<const void*>(&imagesEngineStatus), &object) != 0 && object.dli_fname != nullptr) {
        folders.push_back(folderOf(object.dli_fname) + kPrefixFromImporter + "/libexec/quarry");
    }
    return folders;
}

std::string lastLoaderError() {
    const char* error = dlerror();
    return error != nullptr ? error : "unknown error of the loader";
}

}  // namespace

ImagesEngineStatus loadImagesEngine(const std::vector<std::string>& folders) {
    ImagesEngineStatus status;
    for (const auto& folder : folders) {
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
        status.reason = lastLoaderError();
        return status;
    }
    const auto entry = reinterpret_cast<const ImagesEngine* (*)()>(dlsym(module, kImagesModuleEntry));
    if (entry == nullptr) {
        status.reason = status.path + " is of another version: it has no " + kImagesModuleEntry;
        return status;
    }
    status.engine = entry();
    return status;
}

const ImagesEngineStatus& imagesEngineStatus() {
    static const ImagesEngineStatus status = [] {
        ImagesEngineStatus loaded = loadImagesEngine(standardFolders());
        if (loaded.engine == nullptr) logWarning("Image engine missing: " + loaded.reason);
        return loaded;
    }();
    return status;
}

}  // namespace halden
