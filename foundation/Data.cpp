#include "foundation/Data.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace halden {
namespace {

/// An open regular file, closed on every path.
class OpenFile {
public:
    explicit OpenFile(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        // O_NONBLOCK keeps a named pipe from hanging the caller before it is seen to be no regular file.
        struct stat status {};
        if (descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
            size_ = static_cast<std::size_t>(status.st_size);
            isRegular_ = true;
        }
    }
    ~OpenFile() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] bool isRegular() const noexcept { return isRegular_; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

private:
    int descriptor_;
    std::size_t size_ = 0;
    bool isRegular_ = false;
};

struct Unmapper {
    std::size_t length;
    void operator()(const void* address) const noexcept { munmap(const_cast<void*>(address), length); }
};

}  // namespace

Data::Data(std::vector<std::uint8_t> bytes) {
    auto owner = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
    bytes_ = owner->data();
    length_ = owner->size();
    owner_ = std::move(owner);
}

Data Data::copying(std::span<const std::uint8_t> bytes) {
    return Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

Data Data::copying(std::string_view bytes) {
    return Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

Data Data::sharing(std::shared_ptr<const void> owner, const std::uint8_t* bytes, std::size_t length) noexcept {
    Data data;
    data.owner_ = std::move(owner);
    data.bytes_ = bytes;
    data.length_ = length;
    return data;
}

std::optional<Data> Data::contentsOfFile(const std::string& path, std::size_t limit) {
    OpenFile file(path);
    if (!file.isRegular() || file.size() > limit) return std::nullopt;
    // Files of /proc and the like say 0 and have bytes: read on until the end, whatever the size said.
    constexpr std::size_t kProbe = 4096;
    std::vector<std::uint8_t> bytes(std::min(file.size() == 0 ? kProbe : file.size() + 1, limit));
    std::size_t length = 0;
    for (;;) {
        if (length == bytes.size()) {
            if (length >= limit) break;
            bytes.resize(std::min(limit, length * 2 + kProbe));
        }
        const ssize_t count = read(file.descriptor(), bytes.data() + length, bytes.size() - length);
        if (count == 0) break;
        if (count > 0) {
            length += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
    std::uint8_t more = 0;
    if (length == limit && read(file.descriptor(), &more, 1) > 0) return std::nullopt;
    bytes.resize(length);
    return Data(std::move(bytes));
}

std::optional<Data> Data::mappedContentsOfFile(const std::string& path) {
    OpenFile file(path);
    if (!file.isRegular()) return std::nullopt;
    if (file.size() == 0) return Data();
    void* address = mmap(nullptr, file.size(), PROT_READ, MAP_PRIVATE, file.descriptor(), 0);
    if (address == MAP_FAILED) return std::nullopt;
    std::shared_ptr<const void> owner(static_cast<const void*>(address), Unmapper{file.size()});
    return sharing(std::move(owner), static_cast<const std::uint8_t*>(address), file.size());
}

Data Data::subdata(std::size_t offset, std::size_t length) const noexcept {
    const std::size_t start = std::min(offset, length_);
    return sharing(owner_, bytes_ + start, std::min(length, length_ - start));
}

bool operator==(const Data& a, const Data& b) noexcept {
    if (a.length_ != b.length_) return false;
    return a.length_ == 0 || a.bytes_ == b.bytes_ || std::memcmp(a.bytes_, b.bytes_, a.length_) == 0;
}

}  // namespace halden
