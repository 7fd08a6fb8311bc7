// The files in the folder of a package, as a text may ask for them.
#pragma once

#include "foundation/Data.h"
#include "richtext/AttributedString.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace halden {

/// Regular files and folders of one folder. Nothing else is opened, and no symbolic link followed: what a package names
/// stays inside it. Names are bytes.
class PackageFiles {
public:
    /// Without a folder at `path`, there is nothing in it. `path` itself may be a symbolic link.
    explicit PackageFiles(const std::string& path);
    ~PackageFiles();
    PackageFiles(const PackageFiles&) = delete;
    PackageFiles& operator=(const PackageFiles&) = delete;

    /// The names of all entries, in no order.
    [[nodiscard]] std::vector<std::string> names() const;
    /// A regular file; nullopt when it is none, cannot be read, or has more than `limit` bytes.
    [[nodiscard]] std::optional<Data> contents(const std::string& name, std::uint64_t limit) const;
    /// A file, or a folder with what is in it, within the limits of packages (RtfdPackage.h). Entries of folders that
    /// cannot be read are left out.
    [[nodiscard]] std::optional<FileNode> file(const std::string& name);

private:
    [[nodiscard]] std::optional<FileNode> file(int folder, const std::string& name, int depth);

    int folder_ = -1;
    std::uint64_t bytesLeft_;
    std::size_t filesLeft_;
};

}  // namespace halden
