// What the text encodings are made of: one codec an encoding.
#pragma once

#include "foundation/TextEncoding.h"

namespace halden {

/// What a step of decoding did.
struct DecodeStep {
    DecodeStatus status = DecodeStatus::complete;
    std::size_t bytesRead = 0;
    std::size_t unitsWritten = 0;
    std::size_t undefined = 0;
};

/// Immutable; used by several threads at once.
class Codec {
public:
    Codec() = default;
    Codec(const Codec&) = delete;
    Codec& operator=(const Codec&) = delete;
    virtual ~Codec() = default;

    [[nodiscard]] virtual DecodeStep decode(std::string_view bytes, std::span<char16_t> out) const = 0;
    [[nodiscard]] virtual std::optional<std::string> encode(std::u16string_view text) const = 0;

    /// Whether decoding may go on with the bytes that a step has left, as though they stood alone. Otherwise
    /// `bytesRead` says nothing when the output is full.
    [[nodiscard]] virtual bool isStateless() const noexcept { return true; }
};

}  // namespace halden
