// Importer bundles laid out for a test in a folder of its own.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace quarry::test {

/// A folder that is there as long as the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    /// Writes a file, and the folders that it lies in.
    std::filesystem::path write(const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path path_;
};

/// What an importer bundle declares.
struct BundleInfo {
    std::vector<std::string> types = {};                        ///< of one document type with the role MDImporter
    std::string identifier = "org.quarry.test";                 ///< CFBundleIdentifier
    std::map<std::string, std::string> extensions = {};         ///< exported: extension to type
    std::string dynamicRegistration = {};                       ///< XML value of CFPlugInDynamicRegistration
    std::string documentTypes = {};                             ///< XML in place of the array made from `types`
    std::vector<std::string> factories = {"makeTestImporter"};  ///< functions; an empty name has no function
};

/// Lays out `folder`/NAME.mdimporter with one of the executables of tests/importers/bundles; returns its path.
std::filesystem::path makeBundle(const std::filesystem::path& folder, const std::string& name,
                                 const std::string& executable, const BundleInfo& info);

/// A type of its own for an extension of its own: {"org.quarry.test.EXTENSION"} declared for ".EXTENSION".
BundleInfo infoForExtension(const std::string& extension);

/// The executable of tests/importers/bundles.
std::filesystem::path testExecutable(const std::string& name);

}  // namespace quarry::test
