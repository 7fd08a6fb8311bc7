#include "foundation/Base64.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t kNoDigit = -1;

constexpr std::array<std::int8_t, 256> makeDigits() {
    std::array<std::int8_t, 256> digits{};
    digits.fill(kNoDigit);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        digits[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
    return digits;
}

constexpr std::array<std::int8_t, 256> kDigits = makeDigits();

}  // namespace

std::optional<std::vector<std::uint8_t>> bytesFromBase64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t pending = 0;
    unsigned digits = 0;
    unsigned padding = 0;
    for (const char character : text) {
        if (character == ' ' || (character >= '\t' && character <= '\r')) continue;
        if (character == '=') {
            ++padding;
            continue;
        }
        const std::int8_t digit = kDigits[static_cast<unsigned char>(character)];
        if (digit == kNoDigit || padding > 0) return std::nullopt;
        pending = pending << 6 | static_cast<std::uint32_t>(digit);
        if (++digits % 4 != 0) continue;
        bytes.push_back(static_cast<std::uint8_t>(pending >> 16));
        bytes.push_back(static_cast<std::uint8_t>(pending >> 8));
        bytes.push_back(static_cast<std::uint8_t>(pending));
    }
    const unsigned rest = digits % 4;
    if (rest == 1 || (padding > 0 && rest + padding != 4)) return std::nullopt;
    if (rest == 2) bytes.push_back(static_cast<std::uint8_t>(pending >> 4));
    if (rest == 3) {
        bytes.push_back(static_cast<std::uint8_t>(pending >> 10));
        bytes.push_back(static_cast<std::uint8_t>(pending >> 2));
    }
    return bytes;
}

std::string base64FromBytes(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t present = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < present ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= present ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

}  // namespace halden
