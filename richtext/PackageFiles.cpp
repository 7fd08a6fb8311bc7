#include "richtext/PackageFiles.h"

#include "foundation/Path.h"
#include "richtext/RtfdPackage.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace halden {
namespace {

class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const noexcept { return number_; }

private:
    int number_;
};

bool isComponent(const std::string& name) noexcept {
    return !name.empty() && name != "." && name != ".." && name.find('/') == name.npos;
}

/// Opens an entry without waiting, should it be a pipe.
int openEntry(int folder, const std::string& name) noexcept {
    if (folder < 0 || !isComponent(name)) return -1;
    return ::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

std::optional<Data> readAll(int file, std::uint64_t size, std::uint64_t limit) {
    std::vector<std::uint8_t> bytes;
    constexpr std::size_t kStep = 65536;
    bytes.resize(static_cast<std::size_t>(std::min(size, limit)) + 1);  // one more than there should be
    std::size_t length = 0;
    while (true) {
        if (length == bytes.size()) {
            if (length > limit) return std::nullopt;
            bytes.resize(length + kStep);
        }
        const ssize_t count = ::read(file, bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    if (length > limit) return std::nullopt;
    bytes.resize(length);
    return Data(std::move(bytes));
}

std::vector<std::string> entriesOf(int folder) {
    std::vector<std::string> names;
    if (folder < 0) return names;
    // A descriptor of its own, since the list of entries closes it.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> list(own < 0 ? nullptr : ::fdopendir(own), ::closedir);
    if (!list) {
        if (own >= 0) ::close(own);
        return names;
    }
    while (const dirent* const entry = ::readdir(list.get())) {
        if (names.size() >= kMaxPackageFiles) break;
        std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(std::move(name));
    }
    return names;
}

}  // namespace

PackageFiles::PackageFiles(const std::string& path)
    : folder_(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      bytesLeft_(kMaxPackageBytes),
      filesLeft_(kMaxPackageFiles) {}

PackageFiles::~PackageFiles() {
    if (folder_ >= 0) ::close(folder_);
}

std::vector<std::string> PackageFiles::names() const {
    return entriesOf(folder_);
}

std::optional<Data> PackageFiles::contents(const std::string& name, std::uint64_t limit) const {
    const Descriptor file(openEntry(folder_, name));
    struct stat status {};
    if (file.number() < 0 || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return readAll(file.number(), static_cast<std::uint64_t>(status.st_size), limit);
}

std::optional<FileNode> PackageFiles::file(const std::string& name) {
    return file(folder_, name, 1);
}

std::optional<FileNode> PackageFiles::file(int folder, const std::string& name, int depth) {
    const Descriptor descriptor(openEntry(folder, name));
    struct stat status {};
    if (descriptor.number() < 0 || filesLeft_ == 0 || ::fstat(descriptor.number(), &status) != 0) return std::nullopt;
    --filesLeft_;
    FileNode node;
    node.name = stringFromPathBytes(name);
    if (S_ISREG(status.st_mode)) {
        auto data = readAll(descriptor.number(), static_cast<std::uint64_t>(status.st_size), bytesLeft_);
        if (!data) return std::nullopt;
        bytesLeft_ -= data->length();
        node.data = std::move(*data);
        return node;
    }
    if (!S_ISDIR(status.st_mode)) return std::nullopt;
    node.isFolder = true;
    if (depth >= kMaxPackageDepth) return node;
    std::vector<std::string> names = entriesOf(descriptor.number());
    std::ranges::sort(names);
    for (const std::string& entry : names) {
        if (auto child = file(descriptor.number(), entry, depth + 1)) node.children.push_back(std::move(*child));
    }
    return node;
}

}  // namespace halden
