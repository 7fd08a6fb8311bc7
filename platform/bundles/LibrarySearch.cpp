// The closure of the libraries that a shared object needs, found as the loader finds them.
#include "platform/bundles/SharedObject.h"

#include <glob.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>
#include <string_view>

namespace halden {
namespace {

using Folders = std::vector<std::string>;

constexpr int kMaxConfigurationFiles = 256;
constexpr std::size_t kMaxLibraries = 2048;

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// What an "include" line names; empty for every other line.
std::string_view includedPattern(std::string_view line) {
    constexpr std::string_view kInclude = "include";
    if (!line.starts_with(kInclude)) return {};
    line.remove_prefix(kInclude.size());
    return line.starts_with(' ') || line.starts_with('\t') ? trimmed(line) : std::string_view();
}

void addFoldersOfConfiguration(const std::string& file, Folders& folders, int& filesLeft) {
    if (--filesLeft < 0) return;
    std::ifstream lines(file);
    for (std::string text; std::getline(lines, text);) {
        const std::string_view line = trimmed(std::string_view(text).substr(0, text.find('#')));
        const std::string_view included = includedPattern(line);
        if (included.empty()) {
            if (!line.empty()) folders.emplace_back(line);
            continue;
        }
        // A relative pattern starts at the file that it stands in.
        const std::string base = included.starts_with('/') ? "" : file.substr(0, file.rfind('/') + 1);
        glob_t found{};
        if (glob((base + std::string(included)).c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t i = 0; i < found.gl_pathc; ++i)
                addFoldersOfConfiguration(found.gl_pathv[i], folders, filesLeft);
        }
        globfree(&found);
    }
}

/// The folders of LD_LIBRARY_PATH, which the loader reads when the process starts.
const Folders& environmentFolders() {
    static const Folders folders = [] {
        Folders list;
        const char* variable = std::getenv("LD_LIBRARY_PATH");
        std::string_view rest = variable != nullptr ? variable : "";
        while (!rest.empty()) {
            const std::size_t separator = rest.find_first_of(":;");
            list.emplace_back(separator == 0 ? "." : rest.substr(0, separator));
            rest = separator == std::string_view::npos ? std::string_view() : rest.substr(separator + 1);
        }
        return list;
    }();
    return folders;
}

/// The folders that every search ends with; they do not change while the process runs.
const Folders& systemFolders() {
    static const Folders folders = [] {
        Folders list;
        int filesLeft = kMaxConfigurationFiles;
        addFoldersOfConfiguration("/etc/ld.so.conf", list, filesLeft);
#if defined(__x86_64__)
        list.insert(list.end(), {"/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu"});
#elif defined(__aarch64__)
        list.insert(list.end(), {"/lib/aarch64-linux-gnu", "/usr/lib/aarch64-linux-gnu"});
#endif
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

/// An object on the way, and the one that needs it.
struct Loaded {
    const SharedObject& object;
    std::string origin;  ///< the folder that it lies in
    const Loaded* loader;
};

class LibrarySearch {
public:
    explicit LibrarySearch(std::string& reason) : reason_(reason) {}

    bool canLoad(const std::string& path) {
        SharedObject object;
        std::string why;
        if (!readAt(path, object, why)) {
            reason_ = path + ": " + why;
            return false;
        }
        return canLoadNeeded(path, object, nullptr);
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
    bool canLoadNeeded(const std::string& path, const SharedObject& object, const Loaded* loader) {
        const Loaded self{object, path.substr(0, path.rfind('/')), loader};
        for (const std::string& name : object.needed) {
            if (!seen_.insert(name).second) continue;
            if (seen_.size() > kMaxLibraries) {
                reason_ = path + ": it needs too many libraries";
                return false;
            }
            SharedObject library;
            const auto found = find(name, self, library);
            if (!found) {
                reason_ = path + ": needs " + name + ", which is not there";
                return false;
            }
            if (!canLoadNeeded(*found, library, &self)) return false;
        }
        return true;
    }

    static std::optional<std::string> find(const std::string& name, const Loaded& needing, SharedObject& library) {
        if (name.find('/') != std::string::npos) {
            const std::string path = withOrigin(name, needing.origin);
            return fits(path, library) ? std::optional(path) : std::nullopt;
        }
        std::optional<std::string> found;
        // An object with a DT_RUNPATH does not look at anybody's DT_RPATH.
        const Loaded* inherited = needing.object.runPath.empty() ? &needing : nullptr;
        for (; inherited != nullptr && !found; inherited = inherited->loader) {
            found = findIn(inherited->object.rPath, name, inherited->origin, library);
        }
        if (!found) found = findIn(environmentFolders(), name, needing.origin, library);
        if (!found) found = findIn(needing.object.runPath, name, needing.origin, library);
        if (!found) found = findIn(systemFolders(), name, needing.origin, library);
        return found;
    }

    static std::optional<std::string> findIn(const Folders& folders, const std::string& name, const std::string& origin,
                                             SharedObject& library) {
        for (const std::string& folder : folders) {
            std::string candidate = withOrigin(folder, origin) + "/" + name;
            if (fits(candidate, library)) return candidate;
        }
        return std::nullopt;
    }

    /// A file of the right name that does not fit (another architecture) is passed over, as the loader does.
    static bool fits(const std::string& path, SharedObject& library) {
        std::string why;
        library = {};
        return access(path.c_str(), R_OK) == 0 && readAt(path, library, why);
    }

    std::string& reason_;
    std::set<std::string> seen_;
};

}  // namespace

bool canLoadSharedObject(const std::string& path, std::string& reason) {
    return LibrarySearch(reason).canLoad(path);
}

}  // namespace halden
