#include "tools/batch/Walk.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace quarry::tools {
namespace {

// Deeper folders are named and not opened.
constexpr std::size_t kMaxDepth = 256;

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

std::string absolutePath(const std::string& path) {
    std::error_code error;
    std::string absolute = std::filesystem::absolute(path, error).lexically_normal().native();
    while (absolute.size() > 1 && absolute.ends_with('/')) {
        absolute.pop_back();
    }
    return absolute;
}

bool matches(const std::string& pattern, std::string_view name, std::string_view below) {
    const bool isPath = pattern.find('/') != std::string::npos;
    return ::fnmatch(pattern.c_str(), std::string(isPath ? below : name).c_str(), isPath ? FNM_PATHNAME : 0) == 0;
}

bool matchesAny(const std::vector<std::string>& patterns, std::string_view name, std::string_view below) {
    return std::ranges::any_of(patterns, [&](const std::string& pattern) { return matches(pattern, name, below); });
}

std::string_view lastComponent(std::string_view path) noexcept {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

DocumentWalk::DocumentWalk(std::vector<std::string> paths, WalkPatterns patterns,
                           std::function<bool(const std::string& path)> isPackage)
    : paths_(std::move(paths)), patterns_(std::move(patterns)), isPackage_(std::move(isPackage)) {}

std::optional<DocumentWalk::Found> DocumentWalk::next() {
    while (true) {
        std::optional<Found> found;
        if (folders_.empty()) {
            if (nextPath_ == paths_.size()) {
                return std::nullopt;
            }
            const std::string path = absolutePath(paths_[nextPath_++]);
            found = enter(path, path.size() + (path.ends_with('/') ? 0 : 1), true);
        } else if (Folder& folder = folders_.back(); folder.place == folder.names.size()) {
            folders_.pop_back();
        } else {
            const std::string& name = folder.names[folder.place++];
            const std::string path = folder.path + (folder.path.ends_with('/') ? "" : "/") + name;
            found = enter(path, folder.root, false);
        }
        if (found) {
            return found;
        }
    }
}

/// The document that `path` is; nullopt when it is none, or a folder, whose documents then come next.
std::optional<DocumentWalk::Found> DocumentWalk::enter(const std::string& path, std::size_t root, bool isNamed) {
    const std::string_view name = lastComponent(path);
    const std::string_view below = std::string_view(path).substr(std::min(root, path.size()));
    if (!isNamed && isExcluded(name, below)) {
        return std::nullopt;
    }
    struct stat status {};
    const bool exists = (isNamed ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status)) == 0;
    if (exists && S_ISDIR(status.st_mode) && !isPackage_(path)) {
        return openFolder(path, root);
    }
    if (!isNamed && !isIncluded(name, below)) {
        return std::nullopt;
    }
    if (exists && S_ISLNK(status.st_mode) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return Found{path, "A link to a folder, which is not followed"};
    }
    return Found{path, {}};
}

std::optional<DocumentWalk::Found> DocumentWalk::openFolder(const std::string& path, std::size_t root) {
    if (folders_.size() >= kMaxDepth) {
        return Found{path, "Too many folders inside one another"};
    }
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder) {
        return Found{path, std::strerror(errno)};
    }
    Folder level{.path = path, .root = root, .names = {}};
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name(entry->d_name);
        if (name != "." && name != "..") {
            level.names.emplace_back(name);
        }
    }
    std::ranges::sort(level.names);
    folders_.push_back(std::move(level));
    return std::nullopt;
}

bool DocumentWalk::isIncluded(std::string_view name, std::string_view below) const {
    return patterns_.include.empty() || matchesAny(patterns_.include, name, below);
}

bool DocumentWalk::isExcluded(std::string_view name, std::string_view below) const {
    return matchesAny(patterns_.exclude, name, below);
}

}  // namespace quarry::tools
