#include "foundation/encodings/NonLossyAsciiCodec.h"

namespace halden {
namespace {

constexpr int kNoDigit = -1;

int digitOf(char character) noexcept {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return kNoDigit;
}

/// The character at the start of `bytes`, which are not empty. Its length is in `length`.
DecodeStatus decodeOne(std::string_view bytes, char16_t& unit, std::size_t& length) noexcept {
    length = 1;
    unit = static_cast<unsigned char>(bytes[0]);
    if (unit >= 0x80) return DecodeStatus::malformed;
    if (unit != u'\\') return DecodeStatus::complete;
    if (bytes.size() == 1) return DecodeStatus::partial;
    if (bytes[1] == '\\') {
        length = 2;
        return DecodeStatus::complete;
    }
    const bool isHexadecimal = bytes[1] == 'u';
    const int base = isHexadecimal ? 16 : 8;
    const std::size_t start = isHexadecimal ? 2 : 1;
    length = isHexadecimal ? 6 : 4;
    int value = 0;
    for (std::size_t i = start; i < length; ++i) {
        if (i == bytes.size()) return DecodeStatus::partial;
        const int digit = digitOf(bytes[i]);
        if (digit == kNoDigit || digit >= base) return DecodeStatus::malformed;
        value = value * base + digit;
    }
    if (!isHexadecimal && value > 0xFF) return DecodeStatus::malformed;
    unit = static_cast<char16_t>(value);
    return DecodeStatus::complete;
}

}  // namespace

DecodeStep NonLossyAsciiCodec::decode(std::string_view bytes, std::span<char16_t> out) const {
    DecodeStep step;
    while (step.bytesRead < bytes.size()) {
        char16_t unit = 0;
        std::size_t length = 0;
        step.status = decodeOne(bytes.substr(step.bytesRead), unit, length);
        if (step.status == DecodeStatus::complete && step.unitsWritten == out.size())
            step.status = DecodeStatus::outputFull;
        if (step.status != DecodeStatus::complete) break;
        out[step.unitsWritten++] = unit;
        step.bytesRead += length;
    }
    return step;
}

std::optional<std::string> NonLossyAsciiCodec::encode(std::u16string_view text) const {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string bytes;
    bytes.reserve(text.size());
    for (const char16_t unit : text) {
        if (unit == u'\\') {
            bytes += "\\\\";
        } else if (unit < 0x80) {
            bytes += static_cast<char>(unit);
        } else if (unit <= 0xFF) {
            bytes += '\\';
            for (int shift = 6; shift >= 0; shift -= 3)
                bytes += kDigits[(unit >> shift) & 7];
        } else {
            bytes += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4)
                bytes += kDigits[(unit >> shift) & 15];
        }
    }
    return bytes;
}

}  // namespace halden
