#include "foundation/encodings/JohabCodec.h"

#include "foundation/encodings/Ascii.h"
#include "foundation/encodings/IcuCodec.h"
#include "foundation/encodings/SingleByteTables.h"

#include <algorithm>

namespace halden {
namespace {

constexpr const char* kRowsConverter = "windows-949-2000";
/// No such pair of bytes. No encoding has this noncharacter.
constexpr char16_t kMalformedUnit = u'\uFDD1';
constexpr int kNoJamo = -1;
constexpr int kFill = 0;

/// The jamo of a five-bit code, counted from 1; kFill for the filler, kNoJamo for unused codes.
constexpr int initialOf(unsigned code) noexcept {
    return code == 1 ? kFill : code >= 2 && code <= 20 ? static_cast<int>(code) - 1 : kNoJamo;
}
constexpr int medialOf(unsigned code) noexcept {
    if (code == 2) return kFill;
    // The codes run in groups of eight of which the first two are left out, and the first group begins late.
    if (code < 3 || code > 29 || (code > 7 && code % 8 < 2)) return kNoJamo;
    return static_cast<int>(code - 2 - 2 * (code / 8));
}
constexpr int finalOf(unsigned code) noexcept {
    if (code == 1) return kFill;
    if (code < 2 || code > 29 || code == 18) return kNoJamo;
    return static_cast<int>(code < 18 ? code - 1 : code - 2);
}

/// Jamo that stand alone are compatibility jamo, U+3131 on.
constexpr char16_t kInitialJamo[] =
    u"\u3131\u3132\u3134\u3137\u3138\u3139\u3141\u3142\u3143\u3145\u3146\u3147\u3148"
    u"\u3149\u314A\u314B\u314C\u314D\u314E";
constexpr char16_t kFinalJamo[] =
    u"\u3131\u3132\u3133\u3134\u3135\u3136\u3137\u3139\u313A\u313B\u313C\u313D\u313E"
    u"\u313F\u3140\u3141\u3142\u3144\u3145\u3146\u3147\u3148\u314A\u314B\u314C\u314D"
    u"\u314E";

char16_t hangulUnit(unsigned code) noexcept {
    const int initial = initialOf((code >> 10) & 31);
    const int medial = medialOf((code >> 5) & 31);
    const int final = finalOf(code & 31);
    if (initial == kNoJamo || medial == kNoJamo || final == kNoJamo) return kUndefinedUnit;
    if (initial != kFill && medial != kFill)
        return static_cast<char16_t>(0xAC00 + ((initial - 1) * 21 + medial - 1) * 28 + final);
    if (initial != kFill && final == kFill) return kInitialJamo[initial - 1];
    if (initial == kFill && medial != kFill && final == kFill) return static_cast<char16_t>(0x314E + medial);
    if (initial == kFill && medial == kFill && final != kFill) return kFinalJamo[final - 1];
    return kUndefinedUnit;
}

/// The unit at a row and column of KS X 1001, both from 0x21.
char16_t rowUnit(const Codec& rows, unsigned row, unsigned column) {
    const char bytes[] = {static_cast<char>(row | 0x80), static_cast<char>(column | 0x80)};
    char16_t units[2];
    const DecodeStep step = rows.decode({bytes, 2}, units);
    return step.status == DecodeStatus::complete && step.unitsWritten == 1 ? units[0] : kUndefinedUnit;
}

/// The unit of a pair, lead in the high byte.
char16_t pairUnit(const Codec& rows, unsigned code) {
    const unsigned lead = code >> 8;
    const unsigned trail = code & 0xFF;
    if (lead >= 0x84 && lead <= 0xD3) {
        if ((trail >= 0x41 && trail <= 0x7E) || (trail >= 0x81 && trail <= 0xFE)) return hangulUnit(code);
        return kMalformedUnit;
    }
    const bool isSymbol = lead >= 0xD8 && lead <= 0xDE;
    if (!isSymbol && !(lead >= 0xE0 && lead <= 0xF9)) return kMalformedUnit;
    if (!(trail >= 0x31 && trail <= 0x7E) && !(trail >= 0x91 && trail <= 0xFE)) return kMalformedUnit;
    const unsigned index = trail < 0x91 ? trail - 0x31 : trail - 0x43;
    // 0xD8 holds the two rows for the user's own characters.
    if (lead == 0xD8) return kUndefinedUnit;
    const unsigned row = (isSymbol ? 0x21 + 2 * (lead - 0xD9) : 0x4A + 2 * (lead - 0xE0)) + index / 94;
    // The single jamo of row 0x24 are written as syllables with fillers.
    if (row == 0x24 && index % 94 < 51) return kUndefinedUnit;
    return rowUnit(rows, row, 0x21 + index % 94);
}

}  // namespace

bool JohabCodec::isAvailable() {
    return IcuCodec::hasConverter(kRowsConverter);
}

JohabCodec::JohabCodec(char16_t unitOf5C) : units_(0x8000), unitOf5C_(unitOf5C) {
    const IcuCodec rows(kRowsConverter, {});
    for (unsigned code = 0x8000; code <= 0xFFFF; ++code) {
        const char16_t unit = pairUnit(rows, code);
        units_[code - 0x8000] = unit;
        if (unit != kUndefinedUnit && unit != kMalformedUnit)
            reverse_.push_back({unit, static_cast<std::uint16_t>(code)});
    }
    // A jamo that is both initial and final is written as initial, whose code is the greater one.
    std::ranges::stable_sort(reverse_, [](const Reverse& a, const Reverse& b) {
        return a.unit != b.unit ? a.unit < b.unit : a.code > b.code;
    });
    const auto doubles = std::ranges::unique(reverse_, {}, &Reverse::unit);
    reverse_.erase(doubles.begin(), doubles.end());
}

DecodeStep JohabCodec::decode(std::string_view bytes, std::span<char16_t> out) const {
    DecodeStep step;
    while (step.bytesRead < bytes.size()) {
        if (step.unitsWritten == out.size()) {
            step.status = DecodeStatus::outputFull;
            break;
        }
        const auto lead = static_cast<unsigned char>(bytes[step.bytesRead]);
        if (lead < 0x80) {
            out[step.unitsWritten++] = lead == 0x5C ? unitOf5C_ : lead;
            ++step.bytesRead;
            continue;
        }
        const bool isLead =
            (lead >= 0x84 && lead <= 0xD3) || (lead >= 0xD8 && lead <= 0xDE) || (lead >= 0xE0 && lead <= 0xF9);
        if (isLead && step.bytesRead + 1 == bytes.size()) {
            step.status = DecodeStatus::partial;
            break;
        }
        const auto trail = isLead ? static_cast<unsigned char>(bytes[step.bytesRead + 1]) : 0;
        const char16_t unit =
            isLead ? units_[static_cast<std::size_t>(((lead << 8) | trail) - 0x8000)] : kMalformedUnit;
        if (unit == kMalformedUnit) {
            step.status = DecodeStatus::malformed;
            break;
        }
        out[step.unitsWritten++] = unit;
        step.undefined += unit == kUndefinedUnit ? 1 : 0;
        step.bytesRead += 2;
    }
    return step;
}

std::optional<std::string> JohabCodec::encode(std::u16string_view text) const {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        if (unit == unitOf5C_) {
            bytes += '\x5C';
        } else if (unit < 0x80 && unit != 0x5C) {
            bytes += static_cast<char>(unit);
        } else {
            const auto found = std::ranges::lower_bound(reverse_, unit, {}, &Reverse::unit);
            if (found == reverse_.end() || found->unit != unit) return std::nullopt;
            bytes += static_cast<char>(found->code >> 8);
            bytes += static_cast<char>(found->code & 0xFF);
        }
    }
    return bytes;
}

}  // namespace halden
