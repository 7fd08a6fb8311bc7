#include "platform/web/Base64.h"

#include <array>

namespace halden::web {

std::string bytesFromBase64(std::string_view text) {
    static const auto kValues = [] {
        std::array<signed char, 256> values{};
        values.fill(-1);
        constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (std::size_t i = 0; i < kDigits.size(); ++i)
            values[static_cast<unsigned char>(kDigits[i])] = static_cast<signed char>(i);
        values['-'] = 62;
        values['_'] = 63;
        return values;
    }();
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        const signed char value = kValues[static_cast<unsigned char>(c)];
        if (c == '=') break;
        if (value < 0) continue;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>(bits >> count & 0xFF));
        }
    }
    return bytes;
}

}  // namespace halden::web
