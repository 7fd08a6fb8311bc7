// Any bytes have one kind, under every hint; what is plain text can be tried in every encoding.
#include "documents/PlainText.h"
#include "documents/Recognition.h"

#include <cstdint>
#include <cstdlib>

using quarry::DocumentKind;
using quarry::TypeHint;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::span<const std::uint8_t> input(bytes, size);
    const DocumentKind kind = quarry::recognizeDocument(input, TypeHint::none);
    const DocumentKind asOther = quarry::recognizeDocument(input, TypeHint::other);
    // Without a hint for text, nothing is text; what has a signature is the same under every hint.
    if (asOther == DocumentKind::plainText) std::abort();
    if (asOther != DocumentKind::unknown && asOther != kind) std::abort();
    const DocumentKind asText = quarry::recognizeDocument(input, TypeHint::text);
    if (asText == DocumentKind::plainText) {
        const auto text = quarry::plainTextFromBytes(input, halden::kInvalidEncoding);
        if (text && text->text.size() > size) std::abort();
        const auto encodings = halden::textEncodings();
        if (size > 0) (void)quarry::plainTextFromBytes(input, encodings[bytes[0] % encodings.size()].cfEncoding);
    }
    return 0;
}
