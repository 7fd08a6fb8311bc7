#include "platform/office/OfficeInstallation.h"

#include "foundation/Path.h"
#include "platform/bundles/Paths.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace halden {
namespace {

namespace fs = std::filesystem;

bool holdsOffice(const std::string& folder) {
    return access((folder + "/libmergedlo.so").c_str(), R_OK) == 0 ||
           access((folder + "/libsofficeapp.so").c_str(), R_OK) == 0;
}

bool holdsWriter(const std::string& folder) {
    return access((folder + "/libmswordlo.so").c_str(), R_OK) == 0;
}

std::vector<std::string> usualFolders() {
    std::vector<std::string> folders{"/usr/lib/libreoffice/program", "/usr/lib64/libreoffice/program",
                                     "/usr/local/lib/libreoffice/program"};
    // The makers' own packages have a folder for each version: the newest first.
    std::vector<std::string> versions;
    std::error_code error;
    for (fs::directory_iterator entry("/opt", error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().native().starts_with("libreoffice")) versions.push_back(entry->path() / "program");
    }
    std::sort(versions.rbegin(), versions.rend());
    folders.insert(folders.end(), versions.begin(), versions.end());
    return folders;
}

std::string productIn(const std::string& folder) {
    constexpr std::string_view kKey = "ProductKey=";
    std::ifstream file(folder + "/bootstraprc");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(kKey)) return line.substr(kKey.size(), 64);
    }
    return {};
}

}  // namespace

std::string officeWorkerPath() {
    return pathBytesFromString(appendingPathComponent(installationPrefix(), u"libexec/quarry/quarry-office"))
        .value_or("");
}

OfficeInstallation findOfficeInstallation() {
    OfficeInstallation found;
    if (access(officeWorkerPath().c_str(), X_OK) != 0) {
        found.reason = officeWorkerPath() + " is missing: this installation was built without LibreOffice";
        return found;
    }
    const char* wanted = std::getenv("QUARRY_LIBREOFFICE");
    const bool isWanted = wanted != nullptr && *wanted != '\0';
    const std::vector<std::string> folders = isWanted ? std::vector<std::string>{wanted} : usualFolders();
    const auto folder = std::ranges::find_if(folders, holdsOffice);
    if (folder == folders.end()) {
        found.reason = isWanted ? "LibreOffice is not in " + folders[0] : "LibreOffice is not installed";
    } else if (!holdsWriter(*folder)) {
        found.reason = "LibreOffice in " + *folder + " is without Writer";
    } else {
        found.folder = *folder;
        found.product = productIn(*folder);
    }
    return found;
}

}  // namespace halden
