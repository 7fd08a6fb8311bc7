// The memory of one engine context: bounded, quick for small blocks, and freed as a whole.
#pragma once

#include <cstddef>
#include <cstdint>

namespace halden::pdf {

/// The engine asks for small blocks all the time, objects of a document above all: they come from chunks, with a list
/// of free ones for each size. Chunks are kept to the end, so that the limit bounds what is really held.
///
/// Blocks are aligned for anything. Used by one thread at a time.
class Memory {
public:
    /// `limit` in bytes, with what it takes to manage them.
    explicit Memory(std::size_t limit) noexcept : limit_(limit) {}
    /// Frees every block.
    ~Memory();
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    /// Null beyond the limit, and when the system has none.
    [[nodiscard]] void* allocate(std::size_t size) noexcept;
    /// As `allocate` without a block. One that fails to grow is left as it is; one that shrinks never fails.
    [[nodiscard]] void* reallocate(void* block, std::size_t size) noexcept;
    void release(void* block) noexcept;

    /// How much a block can hold, at least what was asked for; 0 without one.
    [[nodiscard]] static std::size_t sizeOf(const void* block) noexcept;

    /// What is held now, and the most that it was.
    [[nodiscard]] std::size_t held() const noexcept { return held_; }

private:
    static constexpr std::size_t kStep = alignof(std::max_align_t);
    static constexpr std::size_t kLargestSmall = 512;

    /// Stands before each block.
    struct alignas(kStep) Header {
        std::size_t size;  // of what follows
        bool isSmall;
    };
    struct FreeBlock {
        FreeBlock* next;
    };
    struct alignas(kStep) Chunk {
        Chunk* next;
    };
    struct alignas(kStep) Large {
        Large* previous;
        Large* next;
        Header header;
    };

    [[nodiscard]] bool mayHold(std::size_t more) const noexcept { return more <= limit_ - held_; }
    [[nodiscard]] void* allocateSmall(std::size_t size) noexcept;
    [[nodiscard]] void* allocateLarge(std::size_t size) noexcept;
    [[nodiscard]] void* reallocateLarge(void* block, std::size_t size) noexcept;
    [[nodiscard]] bool addChunk() noexcept;
    void link(Large* large) noexcept;
    void unlink(const Large* large) noexcept;

    const std::size_t limit_;
    std::size_t held_ = 0;
    Chunk* chunks_ = nullptr;
    Large* larges_ = nullptr;
    std::size_t nextChunk_ = std::size_t{16} * 1024;
    std::uint8_t* free_ = nullptr;  // the rest of the newest chunk
    std::size_t freeLength_ = 0;
    FreeBlock* freeBlocks_[kLargestSmall / kStep] = {};
};

}  // namespace halden::pdf
