// UTF-8.
#pragma once

#include "foundation/encodings/Codec.h"

namespace halden {

/// Decodes well-formed sequences only; surrogates and overlong forms are malformed.
class Utf8Codec final : public Codec {
public:
    [[nodiscard]] DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const override;
    [[nodiscard]] std::optional<std::string> encode(std::u16string_view text) const override;
};

}  // namespace halden
