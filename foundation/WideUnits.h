// Blocks of UTF-16 units that are loaded, compared and searched at once: 32 units with AVX2, 16 with SSE2 or NEON, and
// 16 one by one elsewhere. The instruction set is the one that the including file is compiled for.
#pragma once

#include <bit>
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

// The block's functions differ with the instruction set, so that each set has a namespace of its own: a program may
// hold the same algorithm compiled for two of them.
#if defined(__AVX2__)
inline namespace avx2 {
#elif defined(__SSE2__)
inline namespace sse2 {
#elif defined(__ARM_NEON) && defined(__aarch64__)
inline namespace neon {
#else
inline namespace portable {
#endif

/// A block of `WideUnits::kCount` units. Comparisons give all ones in the lanes where they hold, zeros in the others.
struct WideUnits {
#if defined(__AVX2__)
    static constexpr std::size_t kCount = 32;
    __m256i low;
    __m256i high;
#elif defined(__SSE2__)
    static constexpr std::size_t kCount = 16;
    __m128i low;
    __m128i high;
#elif defined(__ARM_NEON) && defined(__aarch64__)
    static constexpr std::size_t kCount = 16;
    uint16x8_t low;
    uint16x8_t high;
#else
    static constexpr std::size_t kCount = 16;
    std::uint16_t lanes[kCount];
#endif

    /// The `kCount` units from `units` on, at any alignment.
    [[nodiscard]] static WideUnits load(const char16_t* units) noexcept;
    [[nodiscard]] static WideUnits broadcast(char16_t unit) noexcept;
    void store(char16_t* units) const noexcept;

    friend WideUnits operator|(WideUnits a, WideUnits b) noexcept;
    friend WideUnits operator&(WideUnits a, WideUnits b) noexcept;
    friend WideUnits operator+(WideUnits a, WideUnits b) noexcept;
    friend WideUnits operator-(WideUnits a, WideUnits b) noexcept;
    friend WideUnits operator==(WideUnits a, WideUnits b) noexcept;
    /// a & ~b
    friend WideUnits andNot(WideUnits a, WideUnits b) noexcept;
    /// Lane-wise a - b, or 0 where that would be negative: zero exactly where a <= b (unsigned).
    friend WideUnits saturatingDifference(WideUnits a, WideUnits b) noexcept;

    /// Where lanes of a comparison are set: bit i stands for unit i.
    [[nodiscard]] std::uint32_t bits() const noexcept;
};

/// Where `low <= unit <= high` (unsigned).
[[nodiscard]] inline WideUnits within(WideUnits units, char16_t low, char16_t high) noexcept {
    const WideUnits above = units - WideUnits::broadcast(low);  // wraps below `low`, and so exceeds the range
    return saturatingDifference(above, WideUnits::broadcast(static_cast<char16_t>(high - low))) ==
           WideUnits::broadcast(0);
}

/// What `bits` gives when every lane is set.
inline constexpr std::uint32_t kWholeBlock = 0xFFFFFFFF >> (32 - WideUnits::kCount);

/// Whether every unit is below `limit`, which is not 0.
[[nodiscard]] inline bool isBelow(WideUnits units, char16_t limit) noexcept {
    const WideUnits excess = saturatingDifference(units, WideUnits::broadcast(static_cast<char16_t>(limit - 1)));
    return (excess == WideUnits::broadcast(0)).bits() == kWholeBlock;
}

/// `a` in the lanes where `mask` is set, `b` in the others.
[[nodiscard]] inline WideUnits select(WideUnits mask, WideUnits a, WideUnits b) noexcept {
    return (a & mask) | andNot(b, mask);
}

#if defined(__AVX2__)

inline WideUnits WideUnits::load(const char16_t* units) noexcept {
    const auto* p = reinterpret_cast<const __m256i*>(units);
    return {_mm256_loadu_si256(p), _mm256_loadu_si256(p + 1)};
}
inline WideUnits WideUnits::broadcast(char16_t unit) noexcept {
    const __m256i all = _mm256_set1_epi16(static_cast<short>(unit));
    return {all, all};
}
inline void WideUnits::store(char16_t* units) const noexcept {
    auto* p = reinterpret_cast<__m256i*>(units);
    _mm256_storeu_si256(p, low);
    _mm256_storeu_si256(p + 1, high);
}
inline WideUnits operator|(WideUnits a, WideUnits b) noexcept {
    return {_mm256_or_si256(a.low, b.low), _mm256_or_si256(a.high, b.high)};
}
inline WideUnits operator&(WideUnits a, WideUnits b) noexcept {
    return {_mm256_and_si256(a.low, b.low), _mm256_and_si256(a.high, b.high)};
}
inline WideUnits operator+(WideUnits a, WideUnits b) noexcept {
    return {_mm256_add_epi16(a.low, b.low), _mm256_add_epi16(a.high, b.high)};
}
inline WideUnits operator-(WideUnits a, WideUnits b) noexcept {
    return {_mm256_sub_epi16(a.low, b.low), _mm256_sub_epi16(a.high, b.high)};
}
inline WideUnits operator==(WideUnits a, WideUnits b) noexcept {
    return {_mm256_cmpeq_epi16(a.low, b.low), _mm256_cmpeq_epi16(a.high, b.high)};
}
inline WideUnits andNot(WideUnits a, WideUnits b) noexcept {
    return {_mm256_andnot_si256(b.low, a.low), _mm256_andnot_si256(b.high, a.high)};
}
inline WideUnits saturatingDifference(WideUnits a, WideUnits b) noexcept {
    return {_mm256_subs_epu16(a.low, b.low), _mm256_subs_epu16(a.high, b.high)};
}
inline std::uint32_t WideUnits::bits() const noexcept {
    // Packing works within the two halves of each register; the permutation puts the quarters back in order.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packs_epi16(low, high), 0xD8);
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(packed));
}

#elif defined(__SSE2__)

inline WideUnits WideUnits::load(const char16_t* units) noexcept {
    const auto* p = reinterpret_cast<const __m128i*>(units);
    return {_mm_loadu_si128(p), _mm_loadu_si128(p + 1)};
}
inline WideUnits WideUnits::broadcast(char16_t unit) noexcept {
    const __m128i all = _mm_set1_epi16(static_cast<short>(unit));
    return {all, all};
}
inline void WideUnits::store(char16_t* units) const noexcept {
    auto* p = reinterpret_cast<__m128i*>(units);
    _mm_storeu_si128(p, low);
    _mm_storeu_si128(p + 1, high);
}
inline WideUnits operator|(WideUnits a, WideUnits b) noexcept {
    return {_mm_or_si128(a.low, b.low), _mm_or_si128(a.high, b.high)};
}
inline WideUnits operator&(WideUnits a, WideUnits b) noexcept {
    return {_mm_and_si128(a.low, b.low), _mm_and_si128(a.high, b.high)};
}
inline WideUnits operator+(WideUnits a, WideUnits b) noexcept {
    return {_mm_add_epi16(a.low, b.low), _mm_add_epi16(a.high, b.high)};
}
inline WideUnits operator-(WideUnits a, WideUnits b) noexcept {
    return {_mm_sub_epi16(a.low, b.low), _mm_sub_epi16(a.high, b.high)};
}
inline WideUnits operator==(WideUnits a, WideUnits b) noexcept {
    return {_mm_cmpeq_epi16(a.low, b.low), _mm_cmpeq_epi16(a.high, b.high)};
}
inline WideUnits andNot(WideUnits a, WideUnits b) noexcept {
    return {_mm_andnot_si128(b.low, a.low), _mm_andnot_si128(b.high, a.high)};
}
inline WideUnits saturatingDifference(WideUnits a, WideUnits b) noexcept {
    return {_mm_subs_epu16(a.low, b.low), _mm_subs_epu16(a.high, b.high)};
}
inline std::uint32_t WideUnits::bits() const noexcept {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(low, high)));
}

#elif defined(__ARM_NEON) && defined(__aarch64__)

inline WideUnits WideUnits::load(const char16_t* units) noexcept {
    const auto* p = reinterpret_cast<const std::uint16_t*>(units);
    return {vld1q_u16(p), vld1q_u16(p + 8)};
}
inline WideUnits WideUnits::broadcast(char16_t unit) noexcept {
    const uint16x8_t all = vdupq_n_u16(unit);
    return {all, all};
}
inline void WideUnits::store(char16_t* units) const noexcept {
    auto* p = reinterpret_cast<std::uint16_t*>(units);
    vst1q_u16(p, low);
    vst1q_u16(p + 8, high);
}
inline WideUnits operator|(WideUnits a, WideUnits b) noexcept {
    return {vorrq_u16(a.low, b.low), vorrq_u16(a.high, b.high)};
}
inline WideUnits operator&(WideUnits a, WideUnits b) noexcept {
    return {vandq_u16(a.low, b.low), vandq_u16(a.high, b.high)};
}
inline WideUnits operator+(WideUnits a, WideUnits b) noexcept {
    return {vaddq_u16(a.low, b.low), vaddq_u16(a.high, b.high)};
}
inline WideUnits operator-(WideUnits a, WideUnits b) noexcept {
    return {vsubq_u16(a.low, b.low), vsubq_u16(a.high, b.high)};
}
inline WideUnits operator==(WideUnits a, WideUnits b) noexcept {
    return {vceqq_u16(a.low, b.low), vceqq_u16(a.high, b.high)};
}
inline WideUnits andNot(WideUnits a, WideUnits b) noexcept {
    return {vbicq_u16(a.low, b.low), vbicq_u16(a.high, b.high)};
}
inline WideUnits saturatingDifference(WideUnits a, WideUnits b) noexcept {
    return {vqsubq_u16(a.low, b.low), vqsubq_u16(a.high, b.high)};
}
inline std::uint32_t WideUnits::bits() const noexcept {
    static constexpr std::uint16_t kWeights[8] = {1, 2, 4, 8, 16, 32, 64, 128};
    const uint16x8_t weights = vld1q_u16(kWeights);
    const std::uint32_t first = vaddvq_u16(vandq_u16(low, weights));
    const std::uint32_t second = vaddvq_u16(vandq_u16(high, weights));
    return first | (second << 8);
}

#else

inline WideUnits WideUnits::load(const char16_t* units) noexcept {
    WideUnits result;
    for (std::size_t i = 0; i < kCount; ++i)
        result.lanes[i] = units[i];
    return result;
}
inline WideUnits WideUnits::broadcast(char16_t unit) noexcept {
    WideUnits result;
    for (auto& lane : result.lanes)
        lane = unit;
    return result;
}
inline void WideUnits::store(char16_t* units) const noexcept {
    for (std::size_t i = 0; i < kCount; ++i)
        units[i] = lanes[i];
}
inline WideUnits operator|(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] |= b.lanes[i];
    return a;
}
inline WideUnits operator&(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] &= b.lanes[i];
    return a;
}
inline WideUnits operator+(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] = static_cast<std::uint16_t>(a.lanes[i] + b.lanes[i]);
    return a;
}
inline WideUnits operator-(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] = static_cast<std::uint16_t>(a.lanes[i] - b.lanes[i]);
    return a;
}
inline WideUnits operator==(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] = a.lanes[i] == b.lanes[i] ? 0xFFFF : 0;
    return a;
}
inline WideUnits andNot(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        a.lanes[i] = static_cast<std::uint16_t>(a.lanes[i] & ~b.lanes[i]);
    return a;
}
inline WideUnits saturatingDifference(WideUnits a, WideUnits b) noexcept {
    for (std::size_t i = 0; i < WideUnits::kCount; ++i) {
        a.lanes[i] = static_cast<std::uint16_t>(a.lanes[i] > b.lanes[i] ? a.lanes[i] - b.lanes[i] : 0);
    }
    return a;
}
inline std::uint32_t WideUnits::bits() const noexcept {
    std::uint32_t result = 0;
    for (std::size_t i = 0; i < kCount; ++i)
        result |= (lanes[i] != 0 ? 1U : 0U) << i;
    return result;
}

#endif

}  // inline namespace of the instruction set
}  // namespace halden
