// The 128-bit identifiers of plug-in types, interfaces and factories.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace halden {

struct Uuid {
    std::array<std::uint8_t, 16> bytes{};  ///< in the order of the text form

    /// The identifier of "8B08C4BF-415B-11D8-B3F9-0003936726FC", in either case; nullopt when it has another form.
    [[nodiscard]] static constexpr std::optional<Uuid> fromString(std::u16string_view text) noexcept;

    friend constexpr bool operator==(const Uuid&, const Uuid&) noexcept = default;
};

constexpr std::optional<Uuid> Uuid::fromString(std::u16string_view text) noexcept {
    constexpr std::size_t kLength = 36;
    if (text.size() != kLength) return std::nullopt;
    Uuid uuid;
    std::size_t nibbles = 0;
    for (std::size_t i = 0; i < kLength; ++i) {
        const char16_t unit = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (unit != u'-') return std::nullopt;
            continue;
        }
        int digit = 0;
        if (unit >= u'0' && unit <= u'9')
            digit = unit - u'0';
        else if (unit >= u'A' && unit <= u'F')
            digit = unit - u'A' + 10;
        else if (unit >= u'a' && unit <= u'f')
            digit = unit - u'a' + 10;
        else
            return std::nullopt;
        auto& byte = uuid.bytes[nibbles / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | digit);
        ++nibbles;
    }
    return uuid;
}

}  // namespace halden
