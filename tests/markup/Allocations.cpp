#include "tests/markup/Allocations.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t count = 0;
thread_local std::size_t failingFrom = SIZE_MAX;

void* allocated(std::size_t bytes) noexcept {
    ++count;
    return bytes >= failingFrom ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}

void* allocatedOrThrow(std::size_t bytes) {
    void* memory = allocated(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t bytes) {
    return allocatedOrThrow(bytes);
}
void* operator new[](std::size_t bytes) {
    return allocatedOrThrow(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocated(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocated(bytes);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace halden {

std::size_t allocations() noexcept {
    return count;
}

FailingAllocations::FailingAllocations(std::size_t bytes) noexcept {
    failingFrom = bytes;
}

FailingAllocations::~FailingAllocations() {
    failingFrom = SIZE_MAX;
}

}  // namespace halden
