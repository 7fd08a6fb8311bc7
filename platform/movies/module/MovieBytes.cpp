#include "platform/movies/module/MovieBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace halden {
namespace {

class FileBytes final : public MovieBytes {
public:
    FileBytes(int file, std::int64_t length) noexcept : file_(file), length_(length) {}
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes() override { ::close(file_); }

    [[nodiscard]] std::int64_t length() const noexcept override { return length_; }
    [[nodiscard]] std::size_t read(std::int64_t offset, std::span<std::uint8_t> part) noexcept override {
        std::size_t count = 0;
        while (count < part.size()) {
            const ssize_t more =
                pread(file_, part.data() + count, part.size() - count, offset + static_cast<std::int64_t>(count));
            if (more < 0 && errno == EINTR) continue;
            if (more <= 0) break;
            count += static_cast<std::size_t>(more);
        }
        return count;
    }

private:
    int file_;
    std::int64_t length_;
};

class MemoryBytes final : public MovieBytes {
public:
    explicit MemoryBytes(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

    [[nodiscard]] std::int64_t length() const noexcept override { return static_cast<std::int64_t>(bytes_.size()); }
    [[nodiscard]] std::size_t read(std::int64_t offset, std::span<std::uint8_t> part) noexcept override {
        if (offset >= length()) return 0;
        const auto rest = bytes_.subspan(static_cast<std::size_t>(offset));
        const std::size_t count = std::min(rest.size(), part.size());
        std::copy_n(rest.begin(), count, part.begin());
        return count;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace

std::unique_ptr<MovieBytes> MovieBytes::ofFile(const std::string& path) {
    // A pipe without a writer must not stop us here.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return nullptr;
    struct stat status {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(file);
        return nullptr;
    }
    return std::make_unique<FileBytes>(file, status.st_size);
}

std::unique_ptr<MovieBytes> MovieBytes::ofMemory(std::span<const std::uint8_t> bytes) {
    return std::make_unique<MemoryBytes>(bytes);
}

}  // namespace halden
