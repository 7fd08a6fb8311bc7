// Ownership of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace halden {

/// Closes its descriptor on destruction.
class FileDescriptor {
public:
    FileDescriptor() noexcept = default;
    explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const noexcept { return descriptor_; }
    [[nodiscard]] explicit operator bool() const noexcept { return descriptor_ >= 0; }
    /// Hands the descriptor over.
    [[nodiscard]] int release() noexcept { return std::exchange(descriptor_, -1); }
    void reset(int descriptor = -1) noexcept {
        if (descriptor_ >= 0) close(descriptor_);
        descriptor_ = descriptor;
    }

private:
    int descriptor_ = -1;
};

}  // namespace halden
