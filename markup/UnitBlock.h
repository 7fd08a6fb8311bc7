// Sixty-four UTF-16 units at once, narrowed to bytes: asked where an ASCII character stands, a block answers with one
// 64-bit mask. The instruction set is the one that the including file is compiled for, and each has a namespace of its
// own, so that a program may hold the same algorithm compiled for two of them.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace halden {

/// The index of the lowest set bit of a mask that is not 0.
[[nodiscard]] inline std::size_t lowestBit(std::uint64_t mask) noexcept {
    return static_cast<std::size_t>(__builtin_ctzll(mask));
}

/// Unit by unit, for every machine. The other blocks answer exactly as this one does.
struct PortableUnitBlock {
    static constexpr std::size_t kCount = 64;
    const char16_t* units;

    /// The 64 units from `units` on, at any alignment. They must stay while the block is used.
    [[nodiscard]] static PortableUnitBlock load(const char16_t* units) noexcept { return {units}; }

    /// Where `character` stands: bit i for unit i. It must be within 0x01 and 0x7E.
    [[nodiscard]] std::uint64_t equal(char character) const noexcept {
        std::uint64_t mask = 0;
        for (std::size_t i = 0; i < kCount; ++i)
            mask |= static_cast<std::uint64_t>(units[i] == static_cast<unsigned char>(character)) << i;
        return mask;
    }
};

#if defined(__AVX2__)

inline namespace avx2 {
struct UnitBlock {
    static constexpr std::size_t kCount = 64;
    __m256i low;
    __m256i high;

    [[nodiscard]] static UnitBlock load(const char16_t* units) noexcept {
        const auto* p = reinterpret_cast<const __m256i*>(units);
        return {narrowed(_mm256_loadu_si256(p), _mm256_loadu_si256(p + 1)),
                narrowed(_mm256_loadu_si256(p + 2), _mm256_loadu_si256(p + 3))};
    }
    [[nodiscard]] std::uint64_t equal(char character) const noexcept {
        const __m256i all = _mm256_set1_epi8(character);
        return bits(_mm256_cmpeq_epi8(low, all)) | (bits(_mm256_cmpeq_epi8(high, all)) << 32);
    }

private:
    // Packing saturates: what is no ASCII becomes 0, 0xFF or stays above 0x7F. It works within the two halves of each
    // register; the permutation puts the quarters back in order.
    static __m256i narrowed(__m256i first, __m256i second) noexcept {
        return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    }
    static std::uint64_t bits(__m256i lanes) noexcept {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(lanes));
    }
};
}  // namespace avx2

#elif defined(__SSE2__)

inline namespace sse2 {
struct UnitBlock {
    static constexpr std::size_t kCount = 64;
    __m128i quarters[4];

    [[nodiscard]] static UnitBlock load(const char16_t* units) noexcept {
        const auto* p = reinterpret_cast<const __m128i*>(units);
        // Packing saturates: what is no ASCII becomes 0, 0xFF or stays above 0x7F.
        return {{_mm_packus_epi16(_mm_loadu_si128(p), _mm_loadu_si128(p + 1)),
                 _mm_packus_epi16(_mm_loadu_si128(p + 2), _mm_loadu_si128(p + 3)),
                 _mm_packus_epi16(_mm_loadu_si128(p + 4), _mm_loadu_si128(p + 5)),
                 _mm_packus_epi16(_mm_loadu_si128(p + 6), _mm_loadu_si128(p + 7))}};
    }
    [[nodiscard]] std::uint64_t equal(char character) const noexcept {
        const __m128i all = _mm_set1_epi8(character);
        return bits(_mm_cmpeq_epi8(quarters[0], all)) | (bits(_mm_cmpeq_epi8(quarters[1], all)) << 16) |
               (bits(_mm_cmpeq_epi8(quarters[2], all)) << 32) | (bits(_mm_cmpeq_epi8(quarters[3], all)) << 48);
    }

private:
    static std::uint64_t bits(__m128i lanes) noexcept { return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes)); }
};
}  // namespace sse2

#elif defined(__ARM_NEON) && defined(__aarch64__)

inline namespace neon {
struct UnitBlock {
    static constexpr std::size_t kCount = 64;
    uint8x16_t quarters[4];

    [[nodiscard]] static UnitBlock load(const char16_t* units) noexcept {
        const auto* p = reinterpret_cast<const std::uint16_t*>(units);
        return {{narrowed(p), narrowed(p + 16), narrowed(p + 32), narrowed(p + 48)}};
    }
    [[nodiscard]] std::uint64_t equal(char character) const noexcept {
        const uint8x16_t all = vdupq_n_u8(static_cast<std::uint8_t>(character));
        // A weight for each lane of eight; three pairwise sums bring the eight of each group together.
        static constexpr std::uint8_t kWeights[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
        const uint8x16_t weights = vld1q_u8(kWeights);
        const uint8x16_t first =
            vpaddq_u8(vandq_u8(vceqq_u8(quarters[0], all), weights), vandq_u8(vceqq_u8(quarters[1], all), weights));
        const uint8x16_t second =
            vpaddq_u8(vandq_u8(vceqq_u8(quarters[2], all), weights), vandq_u8(vceqq_u8(quarters[3], all), weights));
        const uint8x16_t sums = vpaddq_u8(first, second);
        return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(sums, sums)), 0);
    }

private:
    static uint8x16_t narrowed(const std::uint16_t* units) noexcept {
        return vcombine_u8(vqmovn_u16(vld1q_u16(units)), vqmovn_u16(vld1q_u16(units + 8)));
    }
};
}  // namespace neon

#else

inline namespace portable {
using UnitBlock = PortableUnitBlock;
}

#endif

}  // namespace halden
