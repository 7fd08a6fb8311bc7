// Every encoding with its number, and how it is converted.
#pragma once

#include "foundation/TextEncoding.h"

namespace halden {

enum class CodecKind {
    none,  ///< unavailable
    icu,
    table,
    utf8,
    johab,
    nonLossyAscii,
};

struct EncodingRow {
    TextEncoding encoding;
    CodecKind kind;
    const char* converter = nullptr;     ///< ICU's name for it
    std::u16string_view exchanges = {};  ///< as in IcuCodec
};

/// In the order of the Core Foundation numbers.
[[nodiscard]] std::span<const EncodingRow> encodingRows() noexcept;

}  // namespace halden
