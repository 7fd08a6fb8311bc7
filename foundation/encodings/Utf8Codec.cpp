#include "foundation/encodings/Utf8Codec.h"

#include "foundation/Unicode.h"
#include "foundation/encodings/Ascii.h"

namespace halden {
namespace {

/// Where decoding stands. The bytes are read as unsigned.
struct Position {
    const unsigned char* at;
    const unsigned char* end;
    char16_t* out;
    char16_t* outEnd;
};

constexpr bool isTrail(unsigned char byte) noexcept {
    return (byte & 0xC0) == 0x80;
}

/// Whether `second` may follow `lead`: the table of well-formed sequences narrows the second byte of four leads, which
/// keeps out overlong forms, surrogates and what lies beyond U+10FFFF.
constexpr bool isSecond(unsigned char lead, unsigned char second) noexcept {
    if (lead == 0xE0) return second >= 0xA0 && second <= 0xBF;
    if (lead == 0xED) return second >= 0x80 && second <= 0x9F;
    if (lead == 0xF0) return second >= 0x90 && second <= 0xBF;
    if (lead == 0xF4) return second >= 0x80 && second <= 0x8F;
    return isTrail(second);
}

/// How many bytes a sequence that begins with `lead` has; 0 when none does.
constexpr std::size_t lengthFor(unsigned char lead) noexcept {
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

void writePair(char16_t* out, char32_t codePoint) noexcept {
    out[0] = static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
}

/// Decodes while at least a block of bytes and of room is left, so that nothing needs to be checked for the end.
/// Sequences of one length come in runs, and so each length has a loop of its own. Stops before the first sequence that
/// is not well-formed.
void decodeBulk(Position& position) noexcept {
    const unsigned char* at = position.at;
    char16_t* out = position.out;
    const auto roomy = [&] {
        return static_cast<std::size_t>(position.end - at) >= kAsciiBlock &&
               static_cast<std::size_t>(position.outEnd - out) >= kAsciiBlock;
    };
    const auto stop = [&] {
        position.at = at;
        position.out = out;
    };
    while (roomy()) {
        const unsigned char lead = *at;
        if (lead < 0x80) {
            // A blank between words of another script stands alone.
            if (at[1] >= 0x80) {
                *out++ = *at++;
                continue;
            }
            const std::size_t ascii = widenAsciiBlock(reinterpret_cast<const char*>(at), out);
            // Asked first so that the next block need not wait for the count.
            if (ascii == kAsciiBlock) {
                at += kAsciiBlock;
                out += kAsciiBlock;
                continue;
            }
            at += ascii;
            out += ascii;
        } else if (lead < 0xE0) {
            do {
                if (*at < 0xC2 || !isTrail(at[1])) return stop();
                *out++ = static_cast<char16_t>(((*at & 0x1F) << 6) | (at[1] & 0x3F));
                at += 2;
            } while (roomy() && *at >= 0x80 && *at < 0xE0);
        } else if (lead < 0xF0) {
            do {
                const unsigned unit = ((*at & 0xFU) << 12) | ((at[1] & 0x3FU) << 6) | (at[2] & 0x3FU);
                if (!isTrail(at[1]) || !isTrail(at[2]) || unit < 0x800 || (unit & 0xF800) == 0xD800) return stop();
                *out++ = static_cast<char16_t>(unit);
                at += 3;
            } while (roomy() && (*at & 0xF0) == 0xE0);
        } else {
            if (lead > 0xF4 || !isSecond(lead, at[1]) || !isTrail(at[2]) || !isTrail(at[3])) return stop();
            writePair(out, ((lead & 7U) << 18) | ((at[1] & 0x3FU) << 12) | ((at[2] & 0x3FU) << 6) | (at[3] & 0x3FU));
            out += 2;
            at += 4;
        }
    }
    stop();
}

/// Decodes one sequence, with every check.
DecodeStatus decodeOne(Position& position) noexcept {
    const unsigned char* at = position.at;
    const std::size_t length = lengthFor(*at);
    if (length == 0) return DecodeStatus::malformed;
    const auto left = static_cast<std::size_t>(position.end - at);
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= left) return DecodeStatus::partial;
        if (i == 1 ? !isSecond(*at, at[1]) : !isTrail(at[i])) return DecodeStatus::malformed;
    }
    const std::size_t units = length == 4 ? 2 : 1;
    if (static_cast<std::size_t>(position.outEnd - position.out) < units) return DecodeStatus::outputFull;
    char32_t codePoint = length == 1 ? *at : *at & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
        codePoint = (codePoint << 6) | (at[i] & 0x3F);
    if (units == 2) {
        writePair(position.out, codePoint);
    } else {
        *position.out = static_cast<char16_t>(codePoint);
    }
    position.at += length;
    position.out += units;
    return DecodeStatus::complete;
}

}  // namespace

DecodeStep Utf8Codec::decode(std::string_view bytes, std::span<char16_t> out) const {
    const auto* start = reinterpret_cast<const unsigned char*>(bytes.data());
    Position position{start, start + bytes.size(), out.data(), out.data() + out.size()};
    decodeBulk(position);
    DecodeStep step;
    while (position.at != position.end && step.status == DecodeStatus::complete)
        step.status = decodeOne(position);
    step.bytesRead = static_cast<std::size_t>(position.at - start);
    step.unitsWritten = static_cast<std::size_t>(position.out - out.data());
    return step;
}

std::optional<std::string> Utf8Codec::encode(std::u16string_view text) const {
    return strictUtf8FromUtf16(text);
}

}  // namespace halden
