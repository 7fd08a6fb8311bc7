#include "foundation/UnicodeConverters.h"

#include "foundation/Unicode.h"

#include <algorithm>

namespace halden {
namespace {

int statusNumber(DecodeStatus status) noexcept {
    switch (status) {
        case DecodeStatus::complete:
            return kConverterNoError;
        case DecodeStatus::malformed:
            return kTextMalformedInputErr;
        case DecodeStatus::partial:
            return kTECPartialCharErr;
        case DecodeStatus::outputFull:
            return kTECOutputBufferFullStatus;
        case DecodeStatus::unavailable:
            break;
    }
    return kTextUnsupportedEncodingErr;
}

bool isKnownEncoding(CFStringEncoding encoding) noexcept {
    return CFStringConvertEncodingToNSStringEncoding(encoding) != kInvalidEncoding;
}

/// Takes the code point at `at`, which moves behind it.
DecodeStatus takeCodePoint(std::u16string_view units, std::size_t& at, char32_t& codePoint) noexcept {
    const char16_t unit = units[at];
    codePoint = unit;
    if (!isSurrogate(unit)) {
        ++at;
        return DecodeStatus::complete;
    }
    if (isLowSurrogate(unit)) return DecodeStatus::malformed;
    if (at + 1 == units.size()) return DecodeStatus::partial;
    if (!isLowSurrogate(units[at + 1])) return DecodeStatus::malformed;
    codePoint = codePointOfPair(unit, units[at + 1]);
    at += 2;
    return DecodeStatus::complete;
}

/// Writes the UTF-8 of `codePoint` at `to`; returns its length, or 0 when there is no room for it.
std::size_t putCodePoint(char32_t codePoint, std::span<char> to) noexcept {
    const std::size_t length = codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    if (to.size() < length) return 0;
    static constexpr unsigned char kLeads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t i = length - 1; i > 0; --i) {
        to[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
        codePoint >>= 6;
    }
    to[0] = static_cast<char>(kLeads[length] | codePoint);
    return length;
}

}  // namespace

void initUnicodeConverters() {
    // UTF-8 is converted by code of our own that has no tables; asking for it makes what the registry keeps of it.
    static_cast<void>(CFStringIsEncodingAvailable(kCFStringEncodingUTF8));
}

int convertUTF8ToUnicode(std::string_view bytes, std::span<char16_t> units) {
    initUnicodeConverters();
    // The decoder writes blocks, of which it takes a part; nothing but the text may show in the caller's buffer.
    DecodeResult result;
    const std::u16string text = decodedText(bytes, kCFStringEncodingUTF8, units.size(), result);
    std::ranges::copy(text, units.begin());
    return statusNumber(result.status);
}

int convertUnicodeToUTF8(std::u16string_view units, std::span<char> bytes) {
    initUnicodeConverters();
    std::size_t written = 0;
    for (std::size_t at = 0; at < units.size();) {
        char32_t codePoint = 0;
        const DecodeStatus status = takeCodePoint(units, at, codePoint);
        if (status != DecodeStatus::complete) return statusNumber(status);
        const std::size_t length = putCodePoint(codePoint, bytes.subspan(written));
        if (length == 0) return kTECOutputBufferFullStatus;
        written += length;
    }
    return kConverterNoError;
}

int convertEncodingToUnicode(std::string_view bytes, CFStringEncoding encoding, std::span<char16_t> units,
                             std::size_t& unitsWritten) {
    const DecodeResult result = decodeText(bytes, encoding, units);
    unitsWritten = result.unitsWritten;
    if (result.status == DecodeStatus::unavailable)
        return isKnownEncoding(encoding) ? kTECNoConversionPathErr : kTextUnsupportedEncodingErr;
    return result.status == DecodeStatus::complete ? 1 : 0;
}

}  // namespace halden
