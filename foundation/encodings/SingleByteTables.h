// Byte tables of single-byte encodings, as data.
#pragma once

#include "foundation/Unicode.h"

#include <cstdint>
#include <span>

namespace halden {

/// What a table holds for a byte that the encoding leaves undefined.
inline constexpr char16_t kUndefinedUnit = kReplacementCharacter;
/// What it holds for a byte that stands for several units. No encoding has this noncharacter.
inline constexpr char16_t kSequenceUnit = u'\uFDD0';

/// The units of bytes 0x00 to 0x7F (null for ASCII) and of bytes 0x80 to 0xFF, 128 each.
struct SingleByteTable {
    std::uint32_t encoding;  ///< the Core Foundation encoding
    const char16_t* lower;
    const char16_t* upper;
};

/// The two or three units of one byte, the last 0 when there are two.
struct ByteSequence {
    std::uint32_t encoding;
    std::uint8_t byte;
    char16_t units[3];
};

[[nodiscard]] std::span<const SingleByteTable> singleByteTables() noexcept;
/// Sorted by encoding and byte.
[[nodiscard]] std::span<const ByteSequence> byteSequences() noexcept;

}  // namespace halden
