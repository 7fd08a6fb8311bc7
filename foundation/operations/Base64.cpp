#include "foundation/operations/Base64.h"

#include <array>
#include <cstdint>
#include <vector>

namespace halden::operations {
namespace {

constexpr std::uint8_t kNoDigit = 0xFF;

constexpr auto kDigits = [] {
    std::array<std::uint8_t, 128> digits{};
    digits.fill(kNoDigit);
    for (std::uint8_t i = 0; i < 26; ++i) {
        digits['A' + i] = i;
        digits['a' + i] = static_cast<std::uint8_t>(26 + i);
    }
    for (std::uint8_t i = 0; i < 10; ++i)
        digits['0' + i] = static_cast<std::uint8_t>(52 + i);
    digits['+'] = 62;
    digits['/'] = 63;
    return digits;
}();

std::u16string_view withoutPadding(std::u16string_view text) {
    for (int i = 0; i < 2 && text.ends_with(u'=') && text.size() % 4 != 1; ++i)
        text.remove_suffix(1);
    return text;
}

}  // namespace

std::optional<Data> dataFromBase64(std::u16string_view text) {
    const std::u16string_view letters = text.size() % 4 == 0 ? withoutPadding(text) : text;
    if (letters.size() % 4 == 1) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(letters.size() / 4 * 3 + 2);
    std::uint32_t group = 0;
    int bits = 0;
    for (const char16_t letter : letters) {
        const std::uint8_t digit = letter < kDigits.size() ? kDigits[letter] : kNoDigit;
        if (digit == kNoDigit) return std::nullopt;
        group = (group << 6 | digit) & 0xFFFFFF;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<std::uint8_t>(group >> bits));
        }
    }
    return Data(std::move(bytes));
}

}  // namespace halden::operations
