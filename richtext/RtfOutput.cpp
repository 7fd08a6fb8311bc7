#include "richtext/RtfOutput.h"

#include "foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace halden {
namespace {

// Windows Latin 1 from 0x80 to 0x9F; 0 where it has no character.
constexpr std::array<char16_t, 32> kLatinExtras = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                   0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                   0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                   0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

/// The byte of a character beyond ASCII, or 0.
unsigned latinByte(char16_t unit) noexcept {
    if (unit >= 0xA0 && unit <= 0xFF) return unit;
    if (unit < 0x152) return 0;
    const auto found = std::ranges::find(kLatinExtras, unit);
    return found == kLatinExtras.end() ? 0 : 0x80 + static_cast<unsigned>(found - kLatinExtras.begin());
}

/// Characters that stand for themselves.
constexpr bool isPlain(char16_t unit) noexcept {
    return (unit >= u' ' && unit < 0x7F && unit != u'\\' && unit != u'{' && unit != u'}') || unit == u'\t';
}

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kBytesInLine = 64;

constexpr double kLargest = 1e8;

}  // namespace

void RtfOutput::word(std::string_view name, std::int64_t parameter) {
    word(name);
    text_ += std::to_string(parameter);
}

void RtfOutput::hexByte(unsigned value) {
    text_ += "\\'";
    text_ += kDigits[value >> 4];
    sign(kDigits[value & 15]);
}

/// A UTF-16 unit as a signed number, without a fallback for readers from before Unicode.
void RtfOutput::unicode(char16_t unit) {
    if (!noFallback_) text_ += "\\uc0";
    word("u", static_cast<std::int16_t>(unit));
    noFallback_ = true;
}

void RtfOutput::unit(char16_t unit, Bytes bytes) {
    switch (unit) {
        case u'\\':
        case u'{':
        case u'}':
            text_ += '\\';
            sign(static_cast<char>(unit));
            return;
        case 0:
            return;
        case u'\f':
            word("page");
            blank();
            return;
        case 0x2028:  // as a word: not every reader breaks the line at the character
            word("line");
            blank();
            return;
        case 0xA0:
            mark("\\~");
            return;
        case 0x2011:
            mark("\\_");
            return;
        default:
            break;
    }
    if (unit < 0x80) {
        hexByte(unit);
    } else if (const unsigned byte = bytes == Bytes::latin ? latinByte(unit) : 0; byte != 0) {
        hexByte(byte);
    } else {
        unicode(unit);
    }
}

void RtfOutput::text(std::u16string_view units, Bytes bytes) {
    std::size_t i = 0;
    while (i < units.size()) {
        std::size_t end = i;
        while (end < units.size() && isPlain(units[end]))
            ++end;
        if (end > i) {
            if (units[i] != u'\t') delimit();
            needsDelimiter_ = false;
            const std::size_t start = text_.size();
            text_.resize(start + (end - i));
            char* const out = text_.data() + start;
            for (std::size_t k = 0; k < end - i; ++k)
                out[k] = static_cast<char>(units[i + k]);
            noFallback_ = false;
            i = end;
            continue;
        }
        const char16_t first = units[i++];
        if (isHighSurrogate(first) && i < units.size() && isLowSurrogate(units[i])) {
            unicode(first);
            unicode(units[i++]);
        } else {
            unit(isSurrogate(first) ? kReplacementCharacter : first, bytes);
        }
    }
    noFallback_ = false;
}

void RtfOutput::hexadecimal(const Data& data) {
    delimit();
    text_.reserve(text_.size() + data.length() * 2 + data.length() / kBytesInLine + 2);
    for (std::size_t i = 0; i < data.length(); ++i) {
        const std::uint8_t byte = data.bytes()[i];
        text_ += kDigits[byte >> 4];
        text_ += kDigits[byte & 15];
        if (i % kBytesInLine == kBytesInLine - 1) text_ += '\n';
    }
}

std::int32_t rtfNumber(double value, double units) noexcept {
    const double number = std::round(value * units);
    if (std::isnan(number)) return 0;
    return static_cast<std::int32_t>(std::clamp(number, -kLargest, kLargest));
}

}  // namespace halden
