// Encodings by ICU's converters.
#pragma once

#include "foundation/encodings/Codec.h"

#include <array>

namespace halden {

class IcuCodec final : public Codec {
public:
    struct Options {
        /// Where ICU's mapping is another than the encoding's: pairs of a unit that ICU gives, each for one character
        /// only, and the unit that it stands for; kUndefinedUnit for bytes that the encoding leaves undefined.
        std::u16string_view exchanges = {};
        /// A converter that writes its byte order after a mark of its own: the mark, and the name of the converter that
        /// writes what follows.
        std::string_view mark = {};
        const char* encoder = nullptr;
    };

    /// `name` is a converter's name, and lives as long as the codec.
    IcuCodec(const char* name, Options options);

    [[nodiscard]] DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const override;
    [[nodiscard]] std::optional<std::string> encode(std::u16string_view text) const override;
    [[nodiscard]] bool isStateless() const noexcept override { return false; }

    /// Whether ICU has the converter.
    [[nodiscard]] static bool hasConverter(const char* name) noexcept;

    /// The unit of each byte, when `name` is a converter for one byte a character; kUndefinedUnit where there is none.
    [[nodiscard]] static std::optional<std::array<char16_t, 256>> singleByteUnits(const char* name);

private:
    const char* name_;
    Options options_;
};

}  // namespace halden
