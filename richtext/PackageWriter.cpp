// Writing the folder of a package.
#include "foundation/Path.h"
#include "richtext/RtfdPackage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace halden {
namespace {

namespace fs = std::filesystem;

bool isComponent(const std::string& name) noexcept {
    return !name.empty() && name != "." && name != ".." && name.find('/') == name.npos;
}

bool writeFile(const std::string& path, const Data& data) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (file < 0) return false;
    std::size_t written = 0;
    bool good = true;
    while (good && written < data.length()) {
        const ssize_t count = ::write(file, data.bytes() + written, data.length() - written);
        if (count < 0 && errno == EINTR) continue;
        good = count > 0;
        if (good) written += static_cast<std::size_t>(count);
    }
    // Some file systems tell only now that there was no room.
    return ::close(file) == 0 && good;
}

bool writeNode(const std::string& folder, const FileNode& node, int depth);

/// The files of a folder that exists and is empty, the first one last: it is the text, without which a package is none.
bool writeChildren(const std::string& folder, const FileNode& node, int depth) {
    for (std::size_t i = node.children.size(); i-- > 0;) {
        if (!writeNode(folder, node.children[i], depth)) return false;
    }
    return true;
}

bool writeNode(const std::string& folder, const FileNode& node, int depth) {
    const auto name = pathBytesFromString(node.name);
    if (!name || !isComponent(*name) || depth > kMaxPackageDepth) return false;
    const std::string path = folder + '/' + *name;
    if (!node.isFolder) return writeFile(path, node.data);
    return ::mkdir(path.c_str(), 0777) == 0 && writeChildren(path, node, depth + 1);
}

void removeAll(const std::string& path) {
    std::error_code error;
    fs::remove_all(path, error);
}

bool exists(const std::string& path) noexcept {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Puts files in the place of others, in a folder that exists: what is there goes aside first, and comes back when
/// something fails.
class Replacement {
public:
    explicit Replacement(const std::string& folder) : folder_(folder) {}

    bool replace(const FileNode& package) {
        std::string staging = folder_ + "/.package-XXXXXX";
        if (!::mkdtemp(staging.data())) return false;
        new_ = staging + "/new";
        old_ = staging + "/old";
        bool good = ::mkdir(new_.c_str(), 0777) == 0 && ::mkdir(old_.c_str(), 0777) == 0;
        good = good && writeChildren(new_, package, 1);
        for (std::size_t i = package.children.size(); good && i-- > 0;)
            good = bringIn(*pathBytesFromString(package.children[i].name));
        if (!good) undo();
        removeAll(staging);
        return good;
    }

private:
    struct Step {
        std::string from;
        std::string to;
    };

    bool move(const std::string& from, const std::string& to) {
        if (::rename(from.c_str(), to.c_str()) != 0) return false;
        steps_.push_back({from, to});
        return true;
    }
    bool bringIn(const std::string& name) {
        const std::string place = folder_ + '/' + name;
        if (exists(place) && !move(place, old_ + '/' + name)) return false;
        return move(new_ + '/' + name, place);
    }
    void undo() noexcept {
        for (; !steps_.empty(); steps_.pop_back())
            (void)::rename(steps_.back().to.c_str(), steps_.back().from.c_str());
    }

    std::string folder_;
    std::string new_;
    std::string old_;
    std::vector<Step> steps_;
};

bool isFolder(const std::string& path) noexcept {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

bool writePackage(const FileNode& package, std::u16string_view path) {
    const auto folder = pathBytesFromString(path);
    if (!folder || !package.isFolder) return false;
    if (::mkdir(folder->c_str(), 0777) == 0) {
        if (writeChildren(*folder, package, 1)) return true;
        removeAll(*folder);
        return false;
    }
    return errno == EEXIST && isFolder(*folder) && Replacement(*folder).replace(package);
}

}  // namespace halden
