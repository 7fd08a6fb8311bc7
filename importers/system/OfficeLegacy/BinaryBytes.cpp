#include "importers/system/OfficeLegacy/BinaryBytes.h"

namespace quarry::legacy {

char32_t characterOfByte(unsigned char byte) noexcept {
    constexpr char16_t kUpper[32] = {0x20AC, 0x81,   0x201A, 0x192,  0x201E, 0x2026, 0x2020, 0x2021,
                                     0x2C6,  0x2030, 0x160,  0x2039, 0x152,  0x8D,   0x17D,  0x8F,
                                     0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x2DC,  0x2122, 0x161,  0x203A, 0x153,  0x9D,   0x17E,  0x178};
    return byte >= 0x80 && byte < 0xA0 ? kUpper[byte - 0x80] : byte;
}

void appendBytes(std::string& text, std::string_view bytes) {
    for (const char byte : bytes)
        support::appendUtf8(text, characterOfByte(static_cast<unsigned char>(byte)));
}

void appendUnits(std::string& text, std::string_view units) {
    for (std::size_t i = 0; i + 2 <= units.size(); i += 2) {
        char32_t character = shortAt(units, i);
        const char32_t next = character >= 0xD800 && character < 0xDC00 ? shortAt(units, i + 2) : 0;
        if (next >= 0xDC00 && next < 0xE000) {
            character = 0x10000 + ((character & 0x3FF) << 10) + (next & 0x3FF);
            i += 2;
        }
        support::appendUtf8(text, character);
    }
}

}  // namespace quarry::legacy
