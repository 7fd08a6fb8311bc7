#include "foundation/Characters.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <bit>
#include <optional>

namespace halden {
namespace {

// --- Sets ----------------------------------------------------------------------------------------------------------

std::uint32_t categoriesOf(CharacterSet set) {
    switch (set) {
        case CharacterSet::whitespace:
            return U_GC_ZS_MASK;
        case CharacterSet::whitespaceAndNewline:
            return U_GC_Z_MASK;
        case CharacterSet::letter:
            return U_GC_L_MASK | U_GC_M_MASK;
        case CharacterSet::alphanumeric:
            return U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;
        case CharacterSet::decimalDigit:
            return U_GC_ND_MASK;
        case CharacterSet::lowercaseLetter:
            return U_GC_LL_MASK;
        case CharacterSet::uppercaseLetter:
            return U_GC_LU_MASK | U_GC_LT_MASK;
    }
    return 0;
}

/// The control characters that a set holds besides its categories.
std::u16string_view controlsOf(CharacterSet set) {
    switch (set) {
        case CharacterSet::whitespace:
            return u"\u0009";
        case CharacterSet::whitespaceAndNewline:
            return u"\u0009\u000A\u000B\u000C\u000D\u0085";
        default:
            return {};
    }
}

CharacterBitmap planeOf(CharacterSet set, char32_t plane) {
    CharacterBitmap result;
    const std::uint32_t categories = categoriesOf(set);
    for (char32_t offset = 0; offset <= 0xFFFF; ++offset) {
        const auto codePoint = static_cast<UChar32>((plane << 16) + offset);
        if ((U_GET_GC_MASK(codePoint) & categories) != 0) result.insert(static_cast<char16_t>(offset));
    }
    if (plane == 0) {
        for (const char16_t control : controlsOf(set))
            result.insert(control);
    }
    return result;
}

CharacterBitmap basicPlaneOf(CharacterSet set, std::u16string_view additions = {}) {
    CharacterBitmap result = planeOf(set, 0);
    for (const char16_t unit : additions)
        result.insert(unit);
    return result;
}

// --- Tables --------------------------------------------------------------------------------------------------------

/// The identity, but for the members of `set` that `convert` turns into exactly one unit.
template <class Convert>
ConversionTable tableOf(const CharacterBitmap& set, Convert convert) {
    ConversionTable table;
    for (std::size_t unit = 0; unit < table.units.size(); ++unit) {
        const auto source = static_cast<char16_t>(unit);
        table.units[unit] = source;
        if (!set.contains(source)) continue;
        if (const std::optional<char16_t> converted = convert(source)) table.units[unit] = *converted;
    }
    return table;
}

ConversionTable composed(const ConversionTable& outer, const ConversionTable& inner) {
    ConversionTable table;
    for (std::size_t unit = 0; unit < table.units.size(); ++unit)
        table.units[unit] = outer[inner.units[unit]];
    return table;
}

using CaseMapping = std::int32_t (*)(UChar*, std::int32_t, const UChar*, std::int32_t, const char*, UErrorCode*);

std::optional<char16_t> mappedCase(char16_t unit, CaseMapping mapping) {
    char16_t buffer[8];
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length = mapping(buffer, 8, &unit, 1, "", &status);
    if (U_FAILURE(status) || length != 1) return std::nullopt;
    return buffer[0];
}

std::optional<char16_t> withoutDiacritics(char16_t unit, const icu::Normalizer2& canonical) {
    icu::UnicodeString decomposed;
    if (!canonical.getDecomposition(unit, decomposed)) decomposed = icu::UnicodeString(UChar32{unit});
    std::optional<char16_t> only;
    for (std::int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
        const UChar32 codePoint = decomposed.char32At(i);
        if (u_charType(codePoint) == U_NON_SPACING_MARK) continue;
        if (only || codePoint > 0xFFFF) return std::nullopt;
        only = static_cast<char16_t>(codePoint);
    }
    return only;
}

ConversionTable umlautsTable() {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* canonical = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) return tableOf(CharacterBitmap{}, [](char16_t) { return std::optional<char16_t>(); });
    return tableOf(alphaCharacterSetRep(), [&](char16_t unit) { return withoutDiacritics(unit, *canonical); });
}

// --- ASCII ---------------------------------------------------------------------------------------------------------

constexpr char16_t kSpace = u' ';

constexpr char16_t asciiUpper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
}
constexpr char16_t asciiLower(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

}  // namespace

std::vector<std::uint8_t> bitmap(CharacterSet set) {
    const CharacterBitmap basic = planeOf(set, 0);
    std::vector<std::uint8_t> result(basic.bytes.begin(), basic.bytes.end());
    for (char32_t plane = 1; plane <= 16; ++plane) {
        const CharacterBitmap further = planeOf(set, plane);
        if (further.bytes == emptyCharacterSetRep().bytes) continue;
        result.push_back(static_cast<std::uint8_t>(plane));
        result.insert(result.end(), further.bytes.begin(), further.bytes.end());
    }
    return result;
}

const CharacterBitmap& emptyCharacterSetRep() {
    static constexpr CharacterBitmap kEmpty;
    return kEmpty;
}

const CharacterBitmap& spaceCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::whitespace, std::u16string_view(u"\u0000\u0009", 2));
    return set;
}

const CharacterBitmap& whiteCharacterSetRep() {
    // Documents carry these where a space or a line end is meant: end of text, attachments and byte-order marks in
    // the middle of a text are nothing that a reader sees.
    static constexpr std::u16string_view kAdditions(
        u"\u0000\u000C\u000A\u000D\u2028\u2029\u0003\uFFFC\u0009\uFEFF\u00A0", 11);
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::whitespaceAndNewline, kAdditions);
    return set;
}

const CharacterBitmap& alphaCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::letter);
    return set;
}

const CharacterBitmap& alphaNumCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::alphanumeric);
    return set;
}

const CharacterBitmap& digitCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::decimalDigit);
    return set;
}

const CharacterBitmap& lowerCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::lowercaseLetter);
    return set;
}

const CharacterBitmap& upperCharacterSetRep() {
    static const CharacterBitmap set = basicPlaneOf(CharacterSet::uppercaseLetter);
    return set;
}

char16_t firstAlphaCharacter() {
    static const char16_t first = [] {
        const auto& bytes = alphaCharacterSetRep().bytes;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (bytes[i] != 0) return static_cast<char16_t>(i * 8 + std::countr_zero(bytes[i]));
        }
        return char16_t{0};
    }();
    return first;
}

char16_t lastAlphaCharacter() {
    static const char16_t last = [] {
        const auto& bytes = alphaCharacterSetRep().bytes;
        for (std::size_t i = bytes.size(); i-- > 0;) {
            if (bytes[i] != 0) return static_cast<char16_t>(i * 8 + 7 - std::countl_zero(bytes[i]));
        }
        return char16_t{0};
    }();
    return last;
}

const ConversionTable& initLowerCharsTable() {
    static const ConversionTable table =
        tableOf(upperCharacterSetRep(), [](char16_t unit) { return mappedCase(unit, u_strToLower); });
    return table;
}

const ConversionTable& initUpperCharsTable() {
    static const ConversionTable table =
        tableOf(lowerCharacterSetRep(), [](char16_t unit) { return mappedCase(unit, u_strToUpper); });
    return table;
}

const ConversionTable& initUmlautsCharsTable() {
    static const ConversionTable table = umlautsTable();
    return table;
}

const ConversionTable& initLowerUmlautsCharsTable() {
    static const ConversionTable table = composed(initLowerCharsTable(), initUmlautsCharsTable());
    return table;
}

const ConversionTable& initUpperUmlautsCharsTable() {
    static const ConversionTable table = composed(initUpperCharsTable(), initUmlautsCharsTable());
    return table;
}

char16_t toLower(char16_t unit) {
    return initLowerCharsTable()[unit];
}

char16_t toUpper(char16_t unit) {
    return initUpperCharsTable()[unit];
}

char16_t toAscii(char16_t unit) {
    const char16_t plain = initUmlautsCharsTable()[unit];
    return plain < 128 ? plain : kSpace;
}

char16_t toUpperAscii(char16_t unit) {
    return asciiUpper(toAscii(unit));
}

char16_t toLowerAscii(char16_t unit) {
    return asciiLower(toAscii(unit));
}

char16_t umlautsToAscii(char16_t unit) {
    return initUmlautsCharsTable()[unit];
}

char16_t umlautsToUpperAscii(char16_t unit) {
    return initUpperUmlautsCharsTable()[unit];
}

char16_t umlautsToLowerAscii(char16_t unit) {
    return initLowerUmlautsCharsTable()[unit];
}

bool characterPartOfSet(std::u16string_view string, const CharacterBitmap* bitmap) {
    if (bitmap == nullptr) return false;
    for (const char16_t unit : string) {
        if (bitmap->contains(unit)) return true;
    }
    return false;
}

bool onlyWhiteCharacters(std::u16string_view units) {
    const CharacterBitmap& white = whiteCharacterSetRep();
    for (const char16_t unit : units) {
        if (!white.contains(unit)) return false;
    }
    return true;
}

}  // namespace halden
