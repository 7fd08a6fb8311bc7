#include "platform/pdf/module/Memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace halden::pdf {
namespace {

constexpr std::size_t kLargestChunk = std::size_t{256} * 1024;

// Under the address sanitizer each block is one of its own, so that it is watched.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUARRY_PDF_EVERY_BLOCK_ALONE
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define QUARRY_PDF_EVERY_BLOCK_ALONE
#endif
#ifdef QUARRY_PDF_EVERY_BLOCK_ALONE
constexpr bool kUsesChunks = false;
#else
constexpr bool kUsesChunks = true;
#endif

}  // namespace

Memory::~Memory() {
    while (chunks_ != nullptr) {
        Chunk* next = chunks_->next;
        std::free(chunks_);
        chunks_ = next;
    }
    while (larges_ != nullptr) {
        Large* next = larges_->next;
        std::free(larges_);
        larges_ = next;
    }
}

std::size_t Memory::sizeOf(const void* block) noexcept {
    return block != nullptr ? (static_cast<const Header*>(block) - 1)->size : 0;
}

void* Memory::allocate(std::size_t size) noexcept {
    return kUsesChunks && size <= kLargestSmall ? allocateSmall(size) : allocateLarge(size);
}

bool Memory::addChunk() noexcept {
    const std::size_t total = sizeof(Chunk) + nextChunk_;
    if (!mayHold(total)) return false;
    auto* chunk = static_cast<Chunk*>(std::malloc(total));
    if (chunk == nullptr) return false;
    chunk->next = chunks_;
    chunks_ = chunk;
    held_ += total;
    // What is left of the one before is less than a block.
    free_ = reinterpret_cast<std::uint8_t*>(chunk + 1);
    freeLength_ = nextChunk_;
    nextChunk_ = std::min(2 * nextChunk_, kLargestChunk);
    return true;
}

void* Memory::allocateSmall(std::size_t size) noexcept {
    const std::size_t steps = std::max<std::size_t>((size + kStep - 1) / kStep, 1);
    FreeBlock*& blocks = freeBlocks_[steps - 1];
    if (blocks != nullptr) {
        void* block = blocks;
        blocks = blocks->next;
        return block;
    }
    const std::size_t total = sizeof(Header) + steps * kStep;
    if (freeLength_ < total && !addChunk()) return nullptr;
    auto* header = reinterpret_cast<Header*>(free_);
    free_ += total;
    freeLength_ -= total;
    header->size = steps * kStep;
    header->isSmall = true;
    return header + 1;
}

void Memory::link(Large* large) noexcept {
    large->previous = nullptr;
    large->next = larges_;
    if (larges_ != nullptr) larges_->previous = large;
    larges_ = large;
    held_ += sizeof(Large) + large->header.size;
}

void Memory::unlink(const Large* large) noexcept {
    (large->previous != nullptr ? large->previous->next : larges_) = large->next;
    if (large->next != nullptr) large->next->previous = large->previous;
    held_ -= sizeof(Large) + large->header.size;
}

void* Memory::allocateLarge(std::size_t size) noexcept {
    if (size > SIZE_MAX - sizeof(Large) || !mayHold(sizeof(Large) + size)) return nullptr;
    auto* large = static_cast<Large*>(std::malloc(sizeof(Large) + size));
    if (large == nullptr) return nullptr;
    large->header.size = size;
    large->header.isSmall = false;
    link(large);
    return large + 1;
}

void* Memory::reallocateLarge(void* block, std::size_t size) noexcept {
    auto* large = static_cast<Large*>(block) - 1;
    const std::size_t old = large->header.size;
    if (size > SIZE_MAX - sizeof(Large) || (size > old && !mayHold(size - old))) return nullptr;
    unlink(large);
    auto* moved = static_cast<Large*>(std::realloc(large, sizeof(Large) + size));
    if (moved == nullptr) {
        link(large);
        return size <= old ? block : nullptr;
    }
    moved->header.size = size;
    link(moved);
    return moved + 1;
}

void* Memory::reallocate(void* block, std::size_t size) noexcept {
    if (block == nullptr) return allocate(size);
    const Header* header = static_cast<Header*>(block) - 1;
    const std::size_t old = header->size;
    if (!header->isSmall && (!kUsesChunks || size > kLargestSmall)) return reallocateLarge(block, size);
    if (header->isSmall && size <= old && size + kStep > old) return block;
    void* moved = allocate(size);
    if (moved == nullptr) return size <= old ? block : nullptr;
    std::memcpy(moved, block, std::min(old, size));
    release(block);
    return moved;
}

void Memory::release(void* block) noexcept {
    if (block == nullptr) return;
    const Header* header = static_cast<Header*>(block) - 1;
    if (header->isSmall) {
        FreeBlock*& blocks = freeBlocks_[header->size / kStep - 1];
        auto* freed = static_cast<FreeBlock*>(block);
        freed->next = blocks;
        blocks = freed;
        return;
    }
    auto* large = static_cast<Large*>(block) - 1;
    unlink(large);
    std::free(large);
}

}  // namespace halden::pdf
