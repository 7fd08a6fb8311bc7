#include "foundation/Unicode.h"

namespace halden {
namespace {

void appendUtf8(std::string& out, char32_t codePoint) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

void appendUtf16(std::u16string& out, char32_t codePoint) {
    if (codePoint < 0x10000) {
        out.push_back(static_cast<char16_t>(codePoint));
    } else {
        out.push_back(static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF)));
    }
}

/// One step of decoding: what was found, and how many bytes it took (at least one).
struct Step {
    char32_t codePoint;
    std::size_t length;
    bool wellFormed;
};

/// What the second byte may be after `lead`, by the table of well-formed sequences; surrogates are allowed when the
/// caller asks for them (the range of ED then ends at BF).
bool isSecondByte(unsigned char lead, unsigned char second, bool surrogates) noexcept {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0 && second <= 0xBF;
        case 0xED:
            return second >= 0x80 && second <= (surrogates ? 0xBF : 0x9F);
        case 0xF0:
            return second >= 0x90 && second <= 0xBF;
        case 0xF4:
            return second >= 0x80 && second <= 0x8F;
        default:
            return second >= 0x80 && second <= 0xBF;
    }
}

Step decodeStep(std::string_view bytes, std::size_t at, bool surrogates) noexcept {
    const auto byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) return {lead, 1, true};
    if (lead < 0xC2 || lead > 0xF4) return {kReplacementCharacter, 1, false};
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t codePoint = lead & (0xFF >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if (at + i >= bytes.size()) return {kReplacementCharacter, i, false};
        const unsigned char next = byte(at + i);
        const bool fits = i == 1 ? isSecondByte(lead, next, surrogates) : (next & 0xC0) == 0x80;
        if (!fits) return {kReplacementCharacter, i, false};
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    return {codePoint, length, true};
}

}  // namespace

std::string utf8FromUtf16(std::u16string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            appendUtf8(out, codePointOfPair(unit, text[++i]));
        } else {
            appendUtf8(out, unit);
        }
    }
    return out;
}

std::optional<std::string> strictUtf8FromUtf16(std::u16string_view text) {
    if (!isWellFormed(text)) return std::nullopt;
    return utf8FromUtf16(text);
}

std::u16string utf16FromUtf8(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const Step step = decodeStep(bytes, i, true);
        appendUtf16(out, step.codePoint);
        i += step.length;
    }
    return out;
}

std::optional<std::u16string> strictUtf16FromUtf8(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const Step step = decodeStep(bytes, i, false);
        if (!step.wellFormed) return std::nullopt;
        appendUtf16(out, step.codePoint);
        i += step.length;
    }
    return out;
}

bool isWellFormed(std::u16string_view text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isSurrogate(text[i])) continue;
        if (!isHighSurrogate(text[i]) || i + 1 == text.size() || !isLowSurrogate(text[i + 1])) return false;
        ++i;
    }
    return true;
}

}  // namespace halden
