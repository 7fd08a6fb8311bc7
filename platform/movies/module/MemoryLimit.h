// How much memory the libraries may take.
#pragma once

#include <sys/resource.h>

#include <cstddef>

namespace halden {

/// While it lives, the process gets no more than so many bytes of address space beside those that it has: a file may
/// claim that each of a hundred tracks has millions of frames, and an index is made for every one. What is refused more
/// makes opening or decoding fail. Where the limit cannot be set there is none.
class MemoryLimit {
public:
    explicit MemoryLimit(std::size_t more) noexcept;
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    ~MemoryLimit();

private:
    rlimit before_{};
    bool isSet_ = false;
};

}  // namespace halden
