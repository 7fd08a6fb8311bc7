// Counts what this test program takes from the free store.
#pragma once

#include <cstddef>

namespace halden {

/// How many allocations the current thread has made so far through operator new.
[[nodiscard]] std::size_t allocations() noexcept;

/// While it lives, allocations of at least `bytes` fail on the current thread.
class FailingAllocations {
public:
    explicit FailingAllocations(std::size_t bytes) noexcept;
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
};

}  // namespace halden
