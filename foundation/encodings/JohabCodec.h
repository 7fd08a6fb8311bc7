// Johab, the combining encoding of Korean (KS X 1001, annex 3).
#pragma once

#include "foundation/encodings/Codec.h"

#include <array>
#include <vector>

namespace halden {

/// A syllable is two bytes of which the low 15 bits are its initial, medial and final, five bits each. Symbols and
/// ideographs stand in the order of KS X 1001, two rows a lead byte.
class JohabCodec final : public Codec {
public:
    /// What byte 0x5C is: the won sign of the standard, or the backslash of the code page.
    explicit JohabCodec(char16_t unitOf5C);

    [[nodiscard]] DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const override;
    [[nodiscard]] std::optional<std::string> encode(std::u16string_view text) const override;

    /// Whether ICU has the rows of KS X 1001.
    [[nodiscard]] static bool isAvailable();

private:
    struct Reverse {
        char16_t unit;
        std::uint16_t code;
    };

    std::vector<char16_t>
        units_;  // of the codes 0x8000 to 0xFFFF; kUndefinedUnit and kMalformedUnit where there is none
    std::vector<Reverse> reverse_;  // sorted by unit
    char16_t unitOf5C_;
};

}  // namespace halden
