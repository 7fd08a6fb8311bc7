// ASCII that escapes what ASCII lacks: \ooo (octal) up to U+00FF, \uxxxx above, \\ for the backslash.
#pragma once

#include "foundation/encodings/Codec.h"

namespace halden {

class NonLossyAsciiCodec final : public Codec {
public:
    [[nodiscard]] DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const override;
    [[nodiscard]] std::optional<std::string> encode(std::u16string_view text) const override;
};

}  // namespace halden
