// Runs of ASCII bytes, widened many at once.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace halden {

/// How many bytes `widenAsciiBlock` takes.
inline constexpr std::size_t kAsciiBlock = 16;

/// Widens 16 bytes into 16 units, and returns how many of them come before the first that is no ASCII. All 16 units are
/// written; those from there on mean nothing.
inline std::size_t widenAsciiBlock(const char* bytes, char16_t* out) noexcept {
#if defined(__SSE2__)
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i zero = _mm_setzero_si128();
    auto* to = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(block, zero));
    const auto others = static_cast<unsigned>(_mm_movemask_epi8(block));
    return static_cast<std::size_t>(std::countr_zero(others | 0x10000U));
#elif defined(__ARM_NEON) && defined(__aarch64__)
    const uint8x16_t block = vld1q_u8(reinterpret_cast<const std::uint8_t*>(bytes));
    auto* to = reinterpret_cast<std::uint16_t*>(out);
    vst1q_u16(to, vmovl_u8(vget_low_u8(block)));
    vst1q_u16(to + 8, vmovl_u8(vget_high_u8(block)));
    // Four bits a byte.
    const uint8x8_t others = vshrn_n_u16(vreinterpretq_u16_u8(vcltzq_s8(vreinterpretq_s8_u8(block))), 4);
    return static_cast<std::size_t>(std::countr_zero(vget_lane_u64(vreinterpret_u64_u8(others), 0))) / 4;
#else
    std::size_t ascii = kAsciiBlock;
    for (std::size_t i = kAsciiBlock; i-- > 0;) {
        out[i] = static_cast<unsigned char>(bytes[i]);
        if (out[i] >= 0x80) ascii = i;
    }
    return ascii;
#endif
}

}  // namespace halden
