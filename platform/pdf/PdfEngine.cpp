#include "platform/pdf/PdfEngine.h"

#include "foundation/Log.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <vector>

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-pdf.so";
// An importer's executable is PREFIX/lib/quarry/Spotlight/NAME.mdimporter/Contents/Linux/NAME.
constexpr const char* kPrefixFromImporter = "/../../../../../..";

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::string folderOfProgram() {
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return folderOf(path);
}

std::vector<std::string> candidates() {
    const std::string program = folderOfProgram();
    std::vector<std::string> folders = {program, program + "/../libexec/quarry"};
    Dl_info object{};
    if (dladdr(reinterpret_cast<const void*>(&pdfEngineStatus), &object) != 0 && object.dli_fname != nullptr) {
        folders.push_back(folderOf(object.dli_fname) + kPrefixFromImporter + "/libexec/quarry");
    }
    for (auto& folder : folders)
        folder += std::string("/") + kModuleName;
    return folders;
}

PdfEngineStatus load() {
    PdfEngineStatus status;
    for (const auto& path : candidates()) {
        if (access(path.c_str(), R_OK) != 0) continue;
        status.path = path;
        break;
    }
    if (status.path.empty()) {
        status.reason = std::string(kModuleName) + " is not installed";
        return status;
    }
    void* module = dlopen(status.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto entry =
        module != nullptr ? reinterpret_cast<const PdfEngine* (*)()>(dlsym(module, kPdfModuleEntry)) : nullptr;
    if (entry == nullptr) {
        const char* error = dlerror();
        status.reason = error != nullptr ? error : "no entry in " + status.path;
        logWarning("PDF engine: " + status.reason);
        return status;
    }
    status.engine = entry();
    return status;
}

}  // namespace

const PdfEngineStatus& pdfEngineStatus() {
    static const PdfEngineStatus status = load();
    return status;
}

std::unique_ptr<PdfDocument> PdfDocument::documentWithData(const Data& data) {
    const PdfEngine* engine = pdfEngineStatus().engine;
    return engine != nullptr ? engine->documentWithData(data) : nullptr;
}

}  // namespace halden
