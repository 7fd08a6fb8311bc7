#include "foundation/StringConversion.h"

#include "foundation/StringNormalization.h"
#include "foundation/WideUnits.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>

namespace halden {
namespace {

constexpr std::size_t kCount = WideUnits::kCount;

// --- Tables --------------------------------------------------------------------------------------------------------

/// What becomes of the letters of ASCII.
enum class AsciiCase { kept, lower, upper };

template <AsciiCase asciiCase>
WideUnits convertedAscii(WideUnits units) {
    const WideUnits distance = WideUnits::broadcast(0x20);
    if constexpr (asciiCase == AsciiCase::lower) return units + (within(units, u'A', u'Z') & distance);
    if constexpr (asciiCase == AsciiCase::upper) return units - (within(units, u'a', u'z') & distance);
    return units;
}

/// Every unit through `convert`. It leaves ASCII within ASCII, so that blocks of it need no table.
template <AsciiCase asciiCase, class Convert>
std::u16string convertedUnits(std::u16string string, Convert convert) {
    char16_t* units = string.data();
    char16_t* const end = units + string.size();
    for (; static_cast<std::size_t>(end - units) >= kCount; units += kCount) {
        const WideUnits block = WideUnits::load(units);
        if (!isBelow(block, 0x80)) {
            std::transform(units, units + kCount, units, convert);
        } else if constexpr (asciiCase != AsciiCase::kept) {
            convertedAscii<asciiCase>(block).store(units);
        }
    }
    std::transform(units, end, units, convert);
    return string;
}

template <AsciiCase asciiCase>
std::u16string throughTable(std::u16string string, const ConversionTable& table) {
    return convertedUnits<asciiCase>(std::move(string), [&table](char16_t unit) { return table[unit]; });
}

template <AsciiCase asciiCase>
char16_t inCase(char16_t unit) {
    if (asciiCase == AsciiCase::lower && unit >= u'A' && unit <= u'Z') return static_cast<char16_t>(unit + 0x20);
    if (asciiCase == AsciiCase::upper && unit >= u'a' && unit <= u'z') return static_cast<char16_t>(unit - 0x20);
    return unit;
}

template <AsciiCase asciiCase>
std::u16string toAsciiInCase(std::u16string string) {
    const ConversionTable& table = initUmlautsCharsTable();
    return convertedUnits<asciiCase>(normalizedString(std::move(string)), [&table](char16_t unit) {
        const char16_t plain = table[unit];
        return plain < 0x80 ? inCase<asciiCase>(plain) : u' ';
    });
}

// --- Ligatures -----------------------------------------------------------------------------------------------------

constexpr char16_t kFirstLatinLigature = 0xFB00;
constexpr char16_t kLastLatinLigature = 0xFB06;
constexpr char16_t kFirstDutchLigature = 0x0132;
constexpr char16_t kLastDutchLigature = 0x0133;

/// The letters of a ligature; empty for any other unit.
std::u16string_view lettersOf(char16_t unit) {
    static constexpr std::u16string_view kLatin[] = {u"ff", u"fi", u"fl", u"ffi", u"ffl", u"ft", u"st"};
    static constexpr std::u16string_view kDutch[] = {u"IJ", u"ij"};
    if (unit >= kFirstLatinLigature && unit <= kLastLatinLigature) return kLatin[unit - kFirstLatinLigature];
    if (unit >= kFirstDutchLigature && unit <= kLastDutchLigature) return kDutch[unit - kFirstDutchLigature];
    return {};
}

/// By how many units the string grows when its ligatures are spelled out.
std::size_t growthOfLigatures(std::u16string_view string) {
    const auto growth = [](char16_t unit) { return std::max<std::size_t>(lettersOf(unit).size(), 1) - 1; };
    std::size_t result = 0;
    std::size_t at = 0;
    for (; at + kCount <= string.size(); at += kCount) {
        const WideUnits units = WideUnits::load(string.data() + at);
        const WideUnits ligatures = within(units, kFirstLatinLigature, kLastLatinLigature) |
                                    within(units, kFirstDutchLigature, kLastDutchLigature);
        if (ligatures.bits() == 0) continue;
        for (const char16_t unit : string.substr(at, kCount))
            result += growth(unit);
    }
    for (const char16_t unit : string.substr(at))
        result += growth(unit);
    return result;
}

void spellOutLigatures(std::u16string& string) {
    const std::size_t growth = growthOfLigatures(string);
    if (growth == 0) return;
    std::size_t from = string.size();
    string.resize(from + growth);
    std::size_t to = string.size();
    // From the end, until what is written meets what is read: before the first ligature nothing moves.
    while (to != from) {
        const char16_t unit = string[--from];
        const std::u16string_view letters = lettersOf(unit);
        if (letters.empty()) {
            string[--to] = unit;
        } else {
            to -= letters.size();
            std::ranges::copy(letters, string.begin() + static_cast<std::ptrdiff_t>(to));
        }
    }
}

}  // namespace

// --- Without diacritics --------------------------------------------------------------------------------------------

std::u16string nonUmlautedString(std::u16string string) {
    return throughTable<AsciiCase::kept>(std::move(string), initUmlautsCharsTable());
}

std::u16string lowercaseNonUmlautedString(std::u16string string) {
    return throughTable<AsciiCase::lower>(std::move(string), initLowerUmlautsCharsTable());
}

std::u16string uppercaseNonUmlautedString(std::u16string string) {
    return throughTable<AsciiCase::upper>(std::move(string), initUpperUmlautsCharsTable());
}

std::u16string nonUmlautedNormalizedString(std::u16string string) {
    return nonUmlautedString(normalizedString(std::move(string)));
}

std::u16string lowercaseNonUmlautedNormalizedString(std::u16string string) {
    return lowercaseNonUmlautedString(normalizedString(std::move(string)));
}

std::u16string uppercaseNonUmlautedNormalizedString(std::u16string string) {
    return uppercaseNonUmlautedString(normalizedString(std::move(string)));
}

std::u16string asciiString(std::u16string string) {
    return toAsciiInCase<AsciiCase::kept>(std::move(string));
}

std::u16string lowercaseAsciiString(std::u16string string) {
    return toAsciiInCase<AsciiCase::lower>(std::move(string));
}

std::u16string uppercaseAsciiString(std::u16string string) {
    return toAsciiInCase<AsciiCase::upper>(std::move(string));
}

// --- Other ---------------------------------------------------------------------------------------------------------

void convertLigaturesToCharacters(std::u16string& string) {
    try {
        spellOutLigatures(string);
    } catch (const std::bad_alloc&) {  // the string stays as it is
    } catch (const std::length_error&) {
    }
}

std::u16string stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(std::u16string_view string,
                                                                                   const ConversionTable* table) {
    const CharacterBitmap& kept = alphaNumCharacterSetRep();
    std::u16string result;
    result.reserve(string.size());
    for (const char16_t unit : string) {
        if (kept.contains(unit)) result += table != nullptr ? (*table)[unit] : unit;
    }
    return result;
}

}  // namespace halden
