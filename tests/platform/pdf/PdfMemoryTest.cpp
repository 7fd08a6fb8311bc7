// The allocator under the engine, beside the system's.
#include "platform/pdf/module/Memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace halden::pdf {
namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;

/// A block and what must be in it.
struct Known {
    void* block;
    std::vector<std::uint8_t> bytes;
};

bool isIntact(const Known& known) {
    return std::memcmp(known.block, known.bytes.data(), known.bytes.size()) == 0;
}

void fill(Known& known, std::size_t size, std::mt19937& random) {
    const std::size_t old = known.bytes.size();
    known.bytes.resize(size);
    for (std::size_t i = old; i < size; ++i)
        static_cast<std::uint8_t*>(known.block)[i] = known.bytes[i] = static_cast<std::uint8_t>(random());
}

TEST(PdfMemory, BlocksKeepTheirBytesWhateverHappensToOthers) {
    std::mt19937 random(1);
    Memory memory(64 * kMegabyte);
    std::vector<Known> blocks;
    const auto anySize = [&] { return random() % (random() % 8 == 0 ? 5000 : 600) + 1; };
    for (int step = 0; step < 40'000; ++step) {
        const std::size_t choice = blocks.empty() ? 0 : random() % blocks.size();
        switch (blocks.size() > 500 ? 2 : random() % 3) {
            case 0: {
                const std::size_t size = anySize();
                Known known{memory.allocate(size), {}};
                ASSERT_NE(known.block, nullptr);
                ASSERT_EQ(reinterpret_cast<std::uintptr_t>(known.block) % alignof(std::max_align_t), 0U);
                ASSERT_GE(Memory::sizeOf(known.block), size);
                fill(known, size, random);
                blocks.push_back(std::move(known));
                break;
            }
            case 1: {
                if (blocks.empty()) break;
                Known& known = blocks[choice];
                const std::size_t size = anySize();
                known.block = memory.reallocate(known.block, size);
                ASSERT_NE(known.block, nullptr);
                known.bytes.resize(std::min(size, known.bytes.size()));
                ASSERT_TRUE(isIntact(known));
                fill(known, size, random);
                break;
            }
            default:
                if (blocks.empty()) break;
                ASSERT_TRUE(isIntact(blocks[choice]));
                memory.release(blocks[choice].block);
                std::swap(blocks[choice], blocks.back());
                blocks.pop_back();
        }
    }
    for (const Known& known : blocks)
        EXPECT_TRUE(isIntact(known));
    EXPECT_LT(memory.held(), 8 * kMegabyte);
}

TEST(PdfMemory, NothingIsGivenBeyondTheLimit) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{512}, std::size_t{513}, kMegabyte}) {
        Memory memory(4 * kMegabyte);
        std::size_t given = 0;
        while (memory.allocate(size) != nullptr)
            given += size;
        EXPECT_LE(memory.held(), 4 * kMegabyte) << size;
        EXPECT_GE(memory.held(), given) << size;
        EXPECT_GT(memory.held(), 2 * kMegabyte) << size;
    }
    Memory memory(kMegabyte);
    EXPECT_EQ(memory.allocate(SIZE_MAX), nullptr);
    EXPECT_EQ(memory.allocate(SIZE_MAX - 8), nullptr);
    EXPECT_EQ(memory.held(), 0U);
}

TEST(PdfMemory, WhatCannotGrowStaysAndWhatShrinksNeverFails) {
    Memory memory(kMegabyte);
    auto* large = static_cast<char*>(memory.allocate(800'000));
    ASSERT_NE(large, nullptr);
    large[0] = 'a';
    large[799'999] = 'z';
    EXPECT_EQ(memory.reallocate(large, 2 * kMegabyte), nullptr);
    EXPECT_EQ(large[799'999], 'z');
    // There is no room for a chunk of small blocks.
    std::vector<void*> fillers;
    while (void* filler = memory.allocate(4096))
        fillers.push_back(filler);
    auto* small = static_cast<char*>(memory.reallocate(large, 10));
    ASSERT_NE(small, nullptr);
    EXPECT_EQ(small[0], 'a');
}

TEST(PdfMemory, FreedBlocksAreGivenAgain) {
    Memory memory(kMegabyte);
    for (int i = 0; i < 1'000'000; ++i) {
        void* small = memory.allocate(200);
        void* large = memory.allocate(10'000);
        ASSERT_TRUE(small != nullptr && large != nullptr);
        memory.release(small);
        memory.release(large);
    }
    EXPECT_LT(memory.held(), 100'000U);
    memory.release(nullptr);
    EXPECT_EQ(Memory::sizeOf(nullptr), 0U);
}

}  // namespace
}  // namespace halden::pdf
