#include "platform/images/ImagesEngine.h"

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-images.so";

}  // namespace

ImagesEngineStatus loadImagesEngine(const std::vector<std::string>& folders) {
    return loadEngine<ImagesEngine>(kModuleName, kImagesModuleEntry, folders);
}

const ImagesEngineStatus& imagesEngineStatus() {
    static const ImagesEngineStatus status =
        installedEngine<ImagesEngine>("Image engine", kModuleName, kImagesModuleEntry);
    return status;
}

}  // namespace halden
