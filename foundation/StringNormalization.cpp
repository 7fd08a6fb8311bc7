#include "foundation/StringNormalization.h"

#include "foundation/Characters.h"
#include "foundation/Strings.h"
#include "foundation/Unicode.h"
#include "foundation/WideUnits.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

// How a string is normalized: nearly all of a text is made of steady units, those that stay what they are wherever they
// stand. They are skipped, and only the stretches between them are given to ICU, each with the steady unit before it,
// onto which a mark may compose. A stretch ends before a steady unit, where nothing ever composes or is reordered.
namespace halden {
namespace {

// --- Forms ---------------------------------------------------------------------------------------------------------

void check(UErrorCode status) {
    if (U_FAILURE(status)) throw std::bad_alloc();  // no other cause is left: arguments and data are right
}

UProperty quickCheckOf(NormalizationForm form) {
    constexpr std::array kProperties{UCHAR_NFD_QUICK_CHECK, UCHAR_NFKD_QUICK_CHECK, UCHAR_NFC_QUICK_CHECK,
                                     UCHAR_NFKC_QUICK_CHECK};
    return kProperties[static_cast<std::size_t>(form)];
}

const UNormalizer2* normalizerOf(NormalizationForm form) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* result = nullptr;
    switch (form) {
        case NormalizationForm::d:
            result = unorm2_getNFDInstance(&status);
            break;
        case NormalizationForm::kd:
            result = unorm2_getNFKDInstance(&status);
            break;
        case NormalizationForm::c:
            result = unorm2_getNFCInstance(&status);
            break;
        case NormalizationForm::kc:
            result = unorm2_getNFKCInstance(&status);
            break;
    }
    check(status);
    return result;
}

/// Every unit below this is steady.
char16_t firstUnsteadyUnit(NormalizationForm form) {
    constexpr std::array<char16_t, 4> kFirst{0xC0, 0xA0, 0x300, 0xA0};
    return kFirst[static_cast<std::size_t>(form)];
}

CharacterBitmap makeSteadyUnits(NormalizationForm form) {
    CharacterBitmap result;
    const UProperty quickCheck = quickCheckOf(form);
    for (UChar32 unit = 0; unit <= 0xFFFF; ++unit) {
        if (!U_IS_SURROGATE(unit) && u_getCombiningClass(unit) == 0 &&
            u_getIntPropertyValue(unit, quickCheck) == UNORM_YES) {
            result.insert(static_cast<char16_t>(unit));
        }
    }
    return result;
}

template <NormalizationForm form>
const CharacterBitmap& steadyUnitsOf() {
    static const CharacterBitmap units = makeSteadyUnits(form);
    return units;
}

const CharacterBitmap& steadyUnits(NormalizationForm form) {
    switch (form) {
        case NormalizationForm::d:
            return steadyUnitsOf<NormalizationForm::d>();
        case NormalizationForm::kd:
            return steadyUnitsOf<NormalizationForm::kd>();
        case NormalizationForm::kc:
            return steadyUnitsOf<NormalizationForm::kc>();
        case NormalizationForm::c:
            break;
    }
    return steadyUnitsOf<NormalizationForm::c>();
}

char32_t codePointAt(std::u16string_view string, std::size_t at) {
    if (isHighSurrogate(string[at]) && at + 1 < string.size() && isLowSurrogate(string[at + 1])) {
        return codePointOfPair(string[at], string[at + 1]);
    }
    return string[at];
}

std::size_t unitsOf(char32_t codePoint) {
    return codePoint > 0xFFFF ? 2 : 1;
}

void append(std::u16string& string, char32_t codePoint) {
    if (codePoint > 0xFFFF) {
        string += U16_LEAD(static_cast<UChar32>(codePoint));
        string += U16_TRAIL(static_cast<UChar32>(codePoint));
    } else {
        string += static_cast<char16_t>(codePoint);
    }
}

// --- Finding what may change ---------------------------------------------------------------------------------------

/// The first unit from `at` on that is not steady; the size when there is none.
std::size_t nextUnsteady(std::u16string_view string, std::size_t at, NormalizationForm form) {
    const char16_t first = firstUnsteadyUnit(form);
    const CharacterBitmap* steady = nullptr;  // not made for texts that do not need it
    const auto isSteady = [&](char16_t unit) {
        if (unit < first) return true;
        if (steady == nullptr) steady = &steadyUnits(form);
        return steady->contains(unit);
    };
    const char16_t* units = string.data();
    for (; at + WideUnits::kCount <= string.size(); at += WideUnits::kCount) {
        if (isBelow(WideUnits::load(units + at), first)) continue;
        const char16_t* blockEnd = units + at + WideUnits::kCount;
        const char16_t* unsteady = std::find_if_not(units + at, blockEnd, isSteady);
        if (unsteady != blockEnd) return static_cast<std::size_t>(unsteady - units);
    }
    for (; at < string.size(); ++at) {
        if (!isSteady(units[at])) return at;
    }
    return string.size();
}

/// Calling ICU costs as much as some steady units do: stretches that are nearer to each other than this are one.
constexpr std::size_t kSmallGap = 16;
/// Longer stretches are cut.
constexpr std::size_t kLongStretch = 1024;

// --- Normalizing a stretch -----------------------------------------------------------------------------------------

/// Decomposes, and puts the marks into their canonical order. ICU does so by insertion, which takes the square of the
/// number of marks when thousands follow one letter; after this it finds them in order.
std::u16string inCanonicalOrder(std::u16string_view piece, const UNormalizer2* icu) {
    struct Mark {
        std::uint8_t combiningClass;
        char32_t codePoint;
    };
    std::vector<Mark> marks;
    std::u16string result;
    const auto flush = [&] {
        std::ranges::stable_sort(marks, {}, &Mark::combiningClass);
        for (const Mark& mark : marks)
            append(result, mark.codePoint);
        marks.clear();
    };
    for (std::size_t at = 0; at < piece.size();) {
        const char32_t codePoint = codePointAt(piece, at);
        UChar decomposed[64];
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t length =
            unorm2_getDecomposition(icu, static_cast<UChar32>(codePoint), decomposed, std::size(decomposed), &status);
        check(status);
        const std::u16string_view parts = length < 0
                                              ? piece.substr(at, unitsOf(codePoint))
                                              : std::u16string_view(decomposed, static_cast<std::size_t>(length));
        for (std::size_t i = 0; i < parts.size();) {
            const char32_t part = codePointAt(parts, i);
            const std::uint8_t combiningClass = u_getCombiningClass(static_cast<UChar32>(part));
            if (combiningClass == 0) flush();
            marks.push_back({combiningClass, part});
            if (combiningClass == 0) flush();
            i += unitsOf(part);
        }
        at += unitsOf(codePoint);
    }
    flush();
    return result;
}

/// Appends to a string what stretches become.
class Normalizer {
public:
    explicit Normalizer(NormalizationForm form) : icu_(normalizerOf(form)) {}

    /// The normalized form; valid until the next call.
    [[nodiscard]] std::u16string_view normalized(std::u16string_view stretch) {
        return stretch.size() <= kLongStretch ? normalizedPiece(stretch) : normalizedInPieces(stretch);
    }

private:
    std::u16string_view normalizedPiece(std::u16string_view piece) {
        if (piece.size() > INT32_MAX / 18) throw std::length_error("more marks than can be normalized");
        const auto length = static_cast<std::int32_t>(piece.size());
        UErrorCode status = U_ZERO_ERROR;
        const auto room = static_cast<std::int32_t>(short_.size());
        const std::int32_t needed = unorm2_normalize(icu_, piece.data(), length, short_.data(), room, &status);
        if (status != U_BUFFER_OVERFLOW_ERROR) {
            check(status);
            return {short_.data(), static_cast<std::size_t>(needed)};
        }
        status = U_ZERO_ERROR;
        long_.resize(static_cast<std::size_t>(needed));
        unorm2_normalize(icu_, piece.data(), length, long_.data(), needed, &status);
        check(status);
        return long_;
    }

    /// Cuts before code points that nothing before them touches.
    std::u16string_view normalizedInPieces(std::u16string_view stretch) {
        pieces_.clear();
        std::size_t start = 0;
        for (std::size_t at = 0; at < stretch.size();) {
            const char32_t codePoint = codePointAt(stretch, at);
            if (at - start >= kLongStretch / 2 && unorm2_hasBoundaryBefore(icu_, static_cast<UChar32>(codePoint))) {
                appendPiece(stretch.substr(start, at - start));
                start = at;
            }
            at += unitsOf(codePoint);
        }
        appendPiece(stretch.substr(start));
        return pieces_;
    }

    void appendPiece(std::u16string_view piece) {
        if (piece.size() <= kLongStretch) {
            pieces_ += normalizedPiece(piece);
        } else {
            pieces_ += normalizedPiece(inCanonicalOrder(piece, icu_));
        }
    }

    const UNormalizer2* icu_;
    std::array<char16_t, 2 * kLongStretch> short_;
    std::u16string long_;
    std::u16string pieces_;
};

/// Where the stretch ends that has its first unsteady unit at `at`: behind its last one.
std::size_t endOfStretch(std::u16string_view string, std::size_t at, std::size_t& next, NormalizationForm form) {
    const std::size_t limit = at + kLongStretch / 2;
    std::size_t end = at + 1;
    for (next = nextUnsteady(string, end, form); next < string.size(); next = nextUnsteady(string, end, form)) {
        const bool isContiguous = next == end;
        if (!isContiguous && (next - end > kSmallGap || next > limit)) break;
        end = next + 1;
    }
    return end;
}

void normalize(std::u16string& string, NormalizationForm form) {
    std::size_t unsteady = nextUnsteady(string, 0, form);
    if (unsteady == string.size()) return;
    const std::u16string_view source = string;
    Normalizer normalizer(form);
    std::u16string result;
    std::size_t copied = 0;  // how much of the source stands in the result
    while (unsteady < source.size()) {
        const std::size_t start = unsteady > copied ? unsteady - 1 : unsteady;
        const std::size_t end = endOfStretch(source, unsteady, unsteady, form);
        const std::u16string_view stretch = source.substr(start, end - start);
        const std::u16string_view normalized = normalizer.normalized(stretch);
        if (normalized == stretch) continue;
        if (result.empty()) result.reserve(source.size());
        result.append(source.substr(copied, start - copied)).append(normalized);
        copied = end;
    }
    if (copied == 0) return;
    result.append(source.substr(copied));
    string = std::move(result);
}

// --- Repair --------------------------------------------------------------------------------------------------------

constexpr char16_t kFirstBlankedPrivate = 0xF400;
constexpr char16_t kLastBlankedPrivate = 0xF8FF;

bool isBlanked(char16_t unit) {
    return unit == 0 || isSurrogate(unit) || (unit >= kFirstBlankedPrivate && unit <= kLastBlankedPrivate);
}

void blankTroublesomeUnits(std::u16string& string) {
    char16_t* units = string.data();
    std::size_t at = 0;
    for (; at + WideUnits::kCount <= string.size(); at += WideUnits::kCount) {
        const WideUnits block = WideUnits::load(units + at);
        const WideUnits blanked = (block == WideUnits::broadcast(0)) | within(block, 0xD800, 0xDFFF) |
                                  within(block, kFirstBlankedPrivate, kLastBlankedPrivate);
        if (blanked.bits() != 0) select(blanked, WideUnits::broadcast(u' '), block).store(units + at);
    }
    for (; at < string.size(); ++at) {
        if (isBlanked(units[at])) units[at] = u' ';
    }
}

}  // namespace

void normalizeString(std::u16string& string, NormalizationForm form) {
    try {
        normalize(string, form);
    } catch (const std::bad_alloc&) {  // the string stays as it is
    } catch (const std::length_error&) {
    }
}

std::u16string normalizedString(std::u16string string, NormalizationForm form) {
    normalizeString(string, form);
    return string;
}

void fixAndNormalizeString(std::u16string& string) {
    blankTroublesomeUnits(string);
    normalizeString(string);
}

std::u16string fixedAndNormalizedString(std::u16string string) {
    fixAndNormalizeString(string);
    return string;
}

void normalizeLowercaseString(std::u16string& string) {
    normalizeString(string);
    try {
        string = lowercaseString(string);
    } catch (const std::bad_alloc&) {  // the string stays normalized
    } catch (const std::length_error&) {
    }
}

std::u16string normalizedLowercaseString(std::u16string string) {
    normalizeLowercaseString(string);
    return string;
}

void normalizeUppercaseString(std::u16string& string) {
    normalizeLowercaseString(string);
}

std::u16string normalizedUppercaseString(std::u16string string) {
    normalizeUppercaseString(string);
    return string;
}

}  // namespace halden
