#include "platform/modules/EngineModule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>

namespace halden {
namespace {

// An importer's executable is PREFIX/lib/quarry/Spotlight/NAME.mdimporter/Contents/Linux/NAME.
constexpr const char* kPrefixFromImporter = "/../../../../../..";

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::string lastLoaderError() {
    const char* error = dlerror();
    return error != nullptr ? error : "unknown error of the loader";
}

}  // namespace

std::vector<std::string> engineModuleFolders() {
    std::vector<std::string> folders;
    std::string program(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", program.data(), program.size());
    if (length > 0) {
        program.resize(static_cast<std::size_t>(length));
        folders.push_back(folderOf(program));
        folders.push_back(folderOf(program) + "/../libexec/quarry");
    }
    Dl_info object{};
    if (dladdr(reinterpret_cast<const void*>(&engineModuleFolders), &object) != 0 && object.dli_fname != nullptr) {
        folders.push_back(folderOf(object.dli_fname) + kPrefixFromImporter + "/libexec/quarry");
    }
    return folders;
}

EngineModule loadEngineModule(const char* name, const char* entry, const std::vector<std::string>& folders) {
    EngineModule module;
    for (const std::string& folder : folders) {
        const std::string path = folder + "/" + name;
        if (access(path.c_str(), F_OK) != 0) continue;
        module.path = path;
        break;
    }
    if (module.path.empty()) {
        module.reason = std::string(name) + " is not installed";
        return module;
    }
    void* const library = dlopen(module.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        module.reason = lastLoaderError();
        return module;
    }
    module.entry = dlsym(library, entry);
    if (module.entry == nullptr) module.reason = module.path + " is of another version: it has no " + entry;
    return module;
}

}  // namespace halden
