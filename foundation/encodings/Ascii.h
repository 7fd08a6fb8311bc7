// Runs of ASCII bytes, widened many at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace halden {

/// How many bytes `widenAsciiBlock` takes.
inline constexpr std::size_t kAsciiBlock = 16;

/// Widens 16 bytes into 16 units when all of them are ASCII; else says no, and `out` may hold anything.
inline bool widenAsciiBlock(const char* bytes, char16_t* out) noexcept {
#if defined(__SSE2__)
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    if (_mm_movemask_epi8(block) != 0) return false;
    const __m128i zero = _mm_setzero_si128();
    auto* to = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(block, zero));
    return true;
#elif defined(__ARM_NEON) && defined(__aarch64__)
    const uint8x16_t block = vld1q_u8(reinterpret_cast<const std::uint8_t*>(bytes));
    if (vmaxvq_u8(block) >= 0x80) return false;
    auto* to = reinterpret_cast<std::uint16_t*>(out);
    vst1q_u16(to, vmovl_u8(vget_low_u8(block)));
    vst1q_u16(to + 8, vmovl_u8(vget_high_u8(block)));
    return true;
#else
    std::uint64_t words[2];
    std::memcpy(words, bytes, sizeof words);
    if (((words[0] | words[1]) & 0x8080808080808080U) != 0) return false;
    for (std::size_t i = 0; i < kAsciiBlock; ++i)
        out[i] = static_cast<unsigned char>(bytes[i]);
    return true;
#endif
}

/// Widens the ASCII bytes that `bytes` begins with, at most `size`; returns how many.
inline std::size_t widenAsciiRun(const char* bytes, std::size_t size, char16_t* out) noexcept {
    std::size_t done = 0;
    while (size - done >= kAsciiBlock && widenAsciiBlock(bytes + done, out + done))
        done += kAsciiBlock;
    while (done < size && static_cast<unsigned char>(bytes[done]) < 0x80) {
        out[done] = static_cast<unsigned char>(bytes[done]);
        ++done;
    }
    return done;
}

}  // namespace halden
