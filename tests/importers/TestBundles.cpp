#include "tests/importers/TestBundles.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace quarry::test {
namespace fs = std::filesystem;
namespace {

constexpr const char* kTypeID = "8B08C4BF-415B-11D8-B3F9-0003936726FC";

std::string factoryID(std::size_t number) {
    return "00000000-0000-0000-0000-00000000000" + std::to_string(number);
}

std::string entry(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key>" + value;
}
std::string string(const std::string& text) {
    return "<string>" + text + "</string>";
}

std::string documentTypes(const BundleInfo& info) {
    if (!info.documentTypes.empty()) return info.documentTypes;
    std::string types;
    for (const auto& type : info.types)
        types += string(type);
    return "<array><dict>" + entry("CFBundleTypeRole", string("MDImporter")) +
           entry("LSItemContentTypes", "<array>" + types + "</array>") + "</dict></array>";
}

std::string declarations(const BundleInfo& info) {
    std::string declarations;
    for (const auto& [extension, type] : info.extensions) {
        declarations += "<dict>" + entry("UTTypeIdentifier", string(type)) +
                        entry("UTTypeConformsTo", string("public.data")) +
                        entry("UTTypeTagSpecification",
                              "<dict>" + entry("public.filename-extension", string(extension)) + "</dict>") +
                        "</dict>";
    }
    return "<array>" + declarations + "</array>";
}

std::string infoPlist(const BundleInfo& info, const std::string& name) {
    std::string factories;
    std::string functions;
    for (std::size_t i = 0; i < info.factories.size(); ++i) {
        factories += string(factoryID(i));
        if (!info.factories[i].empty()) functions += entry(factoryID(i), string(info.factories[i]));
    }
    std::string text =
        "<plist><dict>" + entry("CFBundleIdentifier", string(info.identifier)) +
        entry("CFBundleExecutable", string(name)) + entry("UTExportedTypeDeclarations", declarations(info)) +
        entry("CFPlugInFactories", "<dict>" + functions + "</dict>") +
        entry("CFPlugInTypes", "<dict>" + entry(kTypeID, "<array>" + factories + "</array>") + "</dict>");
    if (info.documentTypes != "none") text += entry("CFBundleDocumentTypes", documentTypes(info));
    if (!info.dynamicRegistration.empty()) text += entry("CFPlugInDynamicRegistration", info.dynamicRegistration);
    return text + "</dict></plist>";
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    std::string pattern = fs::temp_directory_path() / "quarry-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::write(const std::string& name, const std::string& bytes) const {
    const fs::path path = path_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

fs::path testExecutable(const std::string& name) {
    return fs::path(QUARRY_BUILD_PREFIX) / "tests/importer-bundles" / (name + ".so");
}

fs::path makeBundle(const fs::path& folder, const std::string& name, const std::string& executable,
                    const BundleInfo& info) {
    const fs::path bundle = folder / (name + ".mdimporter");
    fs::create_directories(bundle / "Contents/Linux");
    std::ofstream(bundle / "Contents/Info.plist") << infoPlist(info, name);
    if (!executable.empty()) {
        fs::copy_file(testExecutable(executable), bundle / "Contents/Linux" / name,
                      fs::copy_options::overwrite_existing);
    }
    return bundle;
}

BundleInfo infoForExtension(const std::string& extension) {
    const std::string type = "org.quarry.test." + extension;
    return {.types = {type}, .extensions = {{extension, type}}};
}

}  // namespace quarry::test
