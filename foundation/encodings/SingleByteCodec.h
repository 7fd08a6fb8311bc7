// Encodings of one byte a character, by table.
#pragma once

#include "foundation/encodings/Codec.h"
#include "foundation/encodings/SingleByteTables.h"

#include <array>
#include <vector>

namespace halden {

class SingleByteCodec final : public Codec {
public:
    /// `units` has kUndefinedUnit for undefined bytes and kSequenceUnit for those of `sequences`.
    explicit SingleByteCodec(const std::array<char16_t, 256>& units, std::span<const ByteSequence> sequences = {});

    [[nodiscard]] DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const override;
    [[nodiscard]] std::optional<std::string> encode(std::u16string_view text) const override;

private:
    struct Reverse {
        char16_t unit;
        std::uint8_t byte;
    };

    [[nodiscard]] DecodeStep decodeWithSequences(std::string_view bytes, std::span<char16_t> out) const;
    [[nodiscard]] const ByteSequence* sequenceOf(std::uint8_t byte) const noexcept;
    [[nodiscard]] const ByteSequence* sequenceAt(std::u16string_view text) const noexcept;

    std::array<char16_t, 256> units_;
    std::span<const ByteSequence> sequences_;
    std::vector<Reverse> reverse_;  // sorted by unit; of two bytes with one character, only the lower
    bool asciiBelow128_ = true;
    bool hasUndefined_ = false;
};

}  // namespace halden
