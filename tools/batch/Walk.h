// The documents in folders.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::tools {

/// Which files of folders are documents of a batch. Patterns are the shell's (*, ?, [...]); one without a slash is
/// matched against the name, one with a slash against the path below the folder that was named.
struct WalkPatterns {
    std::vector<std::string> include;  ///< of files; without any, all
    std::vector<std::string> exclude;  ///< of files, and of folders with all that is in them
};

/// Goes through files and folders, in the order in which they were named, the entries of a folder by their bytes.
///
/// Folders that are packages are documents. Symbolic links to files are followed, those to folders are not, so that a
/// loop ends nowhere: they are given as they are, as are pipes and devices, and whoever opens them sees what they are.
/// Keeps one folder's names for each level that it is deep in.
class DocumentWalk {
public:
    /// `isPackage`: whether a folder of that path is one document.
    DocumentWalk(std::vector<std::string> paths, WalkPatterns patterns,
                 std::function<bool(const std::string& path)> isPackage);

    struct Found {
        std::string path;     ///< absolute
        std::string problem;  ///< why it is no document; empty as a rule
    };
    /// nullopt at the end.
    [[nodiscard]] std::optional<Found> next();

private:
    struct Folder {
        std::string path;
        std::size_t root = 0;  ///< length of the named folder's path with its slash
        std::vector<std::string> names;
        std::size_t place = 0;
    };

    [[nodiscard]] std::optional<Found> enter(const std::string& path, std::size_t root, bool isNamed);
    [[nodiscard]] std::optional<Found> openFolder(const std::string& path, std::size_t root);
    [[nodiscard]] bool isIncluded(std::string_view name, std::string_view below) const;
    [[nodiscard]] bool isExcluded(std::string_view name, std::string_view below) const;

    std::vector<std::string> paths_;
    std::size_t nextPath_ = 0;
    WalkPatterns patterns_;
    std::function<bool(const std::string&)> isPackage_;
    std::vector<Folder> folders_;
};

}  // namespace quarry::tools
