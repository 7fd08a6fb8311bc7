// Little-endian numbers and characters in the streams of binary office documents.
#pragma once

#include "importers/system/support/CleanText.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quarry::legacy {

/// Bytes of text of one document.
inline constexpr std::size_t kMaxText = std::size_t{64} << 20;

/// The numbers beyond the end are 0: what reads them checks what it makes of them.
inline std::uint32_t number(std::string_view bytes, std::size_t offset, std::size_t length) noexcept {
    if (offset > bytes.size() || length > bytes.size() - offset) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = length; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return value;
}
inline std::uint32_t byteAt(std::string_view bytes, std::size_t offset) noexcept {
    return number(bytes, offset, 1);
}
inline std::uint32_t shortAt(std::string_view bytes, std::size_t offset) noexcept {
    return number(bytes, offset, 2);
}
inline std::uint32_t longAt(std::string_view bytes, std::size_t offset) noexcept {
    return number(bytes, offset, 4);
}

/// The part from `offset`, `length` bytes at most; empty beyond the end.
inline std::string_view part(std::string_view bytes, std::size_t offset, std::size_t length) noexcept {
    return offset < bytes.size() ? bytes.substr(offset, length) : std::string_view();
}

/// A byte of Windows Latin 1, which is what these formats shorten UTF-16 to.
char32_t characterOfByte(unsigned char byte) noexcept;

/// Both append UTF-8.
void appendBytes(std::string& text, std::string_view bytes);
void appendUnits(std::string& text, std::string_view littleEndianUnits);

}  // namespace quarry::legacy
