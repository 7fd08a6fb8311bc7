// The closure of the libraries that a shared object needs, found as the loader finds them.
#include "platform/bundles/SharedObject.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>
#include <string_view>

namespace halden {
namespace {

constexpr int kMaxConfigurationFiles = 256;
constexpr std::size_t kMaxLibraries = 2048;

void addFoldersOfConfiguration(const std::string& file, std::vector<std::string>& folders, int& filesLeft) {
    if (--filesLeft < 0) return;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        line.erase(std::min(line.find('#'), line.size()));
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos) continue;
        line = line.substr(first, line.find_last_not_of(" \t") - first + 1);
        constexpr std::string_view kInclude = "include ";
        if (line.compare(0, kInclude.size(), kInclude) != 0) {
            folders.push_back(line);
            continue;
        }
        glob_t found{};
        const std::string pattern = line.substr(line.find_first_not_of(" \t", kInclude.size()));
        if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t i = 0; i < found.gl_pathc; ++i) {
                addFoldersOfConfiguration(found.gl_pathv[i], folders, filesLeft);
            }
        }
        globfree(&found);
    }
}

/// The folders that every search ends with; they do not change while the process runs.
const std::vector<std::string>& systemFolders() {
    static const std::vector<std::string> folders = [] {
        std::vector<std::string> list;
        if (const char* variable = std::getenv("LD_LIBRARY_PATH")) {
            std::string_view rest = variable;
            while (!rest.empty()) {
                const std::size_t separator = rest.find_first_of(":;");
                list.emplace_back(separator == 0 ? "." : rest.substr(0, separator));
                rest = separator == std::string_view::npos ? std::string_view() : rest.substr(separator + 1);
            }
        }
        int filesLeft = kMaxConfigurationFiles;
        addFoldersOfConfiguration("/etc/ld.so.conf", list, filesLeft);
        list.insert(list.end(), {"/lib64", "/usr/lib64", "/lib", "/usr/lib"});
        return list;
    }();
    return folders;
}

std::string withOrigin(std::string folder, const std::string& origin) {
    for (const std::string_view token : {"${ORIGIN}", "$ORIGIN"}) {
        for (std::size_t at = folder.find(token); at != std::string::npos;
             at = folder.find(token, at + origin.size())) {
            folder.replace(at, token.size(), origin);
        }
    }
    return folder;
}

class LibrarySearch {
public:
    explicit LibrarySearch(std::string& reason) : reason_(reason) {}

    bool canLoad(const std::string& path) {
        SharedObject object;
        std::string why;
        if (!readAt(path, object, why)) {
            reason_ = path;
            reason_.append(": ").append(why);
            return false;
        }
        return canLoadNeeded(path, object);
    }

private:
    static bool readAt(const std::string& path, SharedObject& object, std::string& why) {
        const auto bytes = Data::mappedContentsOfFile(path);
        if (!bytes) {
            why = "missing or unreadable";
            return false;
        }
        return readSharedObject(*bytes, object, why);
    }

    // Recursion ends: each name is followed once, and their number is bounded.
    bool canLoadNeeded(const std::string& path, const SharedObject& object) {
        const std::string origin = path.substr(0, path.rfind('/'));
        for (const std::string& name : object.needed) {
            if (!seen_.insert(name).second) continue;
            if (seen_.size() > kMaxLibraries) {
                reason_ = path + ": it needs too many libraries";
                return false;
            }
            SharedObject library;
            const auto found = find(name, object, origin, library);
            if (!found) {
                reason_ = path + ": needs " + name + ", which is not there";
                return false;
            }
            if (!canLoadNeeded(*found, library)) return false;
        }
        return true;
    }

    /// A file of this name that does not fit (another architecture) is passed over, as the loader does.
    static std::optional<std::string> find(const std::string& name, const SharedObject& object,
                                           const std::string& origin, SharedObject& library) {
        const auto fits = [&library](const std::string& candidate) {
            std::string why;
            library = {};
            return access(candidate.c_str(), R_OK) == 0 && readAt(candidate, library, why);
        };
        if (name.find('/') != std::string::npos) return fits(name) ? std::optional(name) : std::nullopt;
        for (const std::string& folder : object.searchFolders) {
            const std::string candidate = withOrigin(folder, origin).append("/").append(name);
            if (fits(candidate)) return candidate;
        }
        for (const std::string& folder : systemFolders()) {
            const std::string candidate = std::string(folder).append("/").append(name);
            if (fits(candidate)) return candidate;
        }
        return std::nullopt;
    }

    std::string& reason_;
    std::set<std::string> seen_;
};

}  // namespace

bool canLoadSharedObject(const std::string& path, std::string& reason) {
    return LibrarySearch(reason).canLoad(path);
}

}  // namespace halden
