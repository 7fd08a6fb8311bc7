// Membership bitmaps and conversion tables over the 65,536 UTF-16 code units.
//
// Units are looked up one by one: surrogate halves belong to no class and convert to themselves. Every bitmap (8 KB)
// and table (128 KB) is built on its first use, once for the process, also when threads come first at once; afterwards
// it is read-only. The classes, case mappings and decompositions are those of the ICU that is linked.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace halden {

/// One bit a code unit: unit c is a member when bit (c mod 8) of byte (c div 8) is set, least significant bit first.
struct CharacterBitmap {
    std::array<std::uint8_t, 8192> bytes{};

    [[nodiscard]] bool contains(char16_t unit) const noexcept { return ((bytes[unit >> 3] >> (unit & 7)) & 1) != 0; }
    void insert(char16_t unit) noexcept {
        bytes[unit >> 3] = static_cast<std::uint8_t>(bytes[unit >> 3] | (1U << (unit & 7)));
    }
};

/// What each code unit is converted to.
struct ConversionTable {
    std::array<char16_t, 65536> units;

    [[nodiscard]] char16_t operator[](char16_t unit) const noexcept { return units[unit]; }
};

/// The predefined sets from which the bitmaps are made, by Unicode general category.
enum class CharacterSet {
    whitespace,            ///< Zs and U+0009
    whitespaceAndNewline,  ///< Z, U+0009 to U+000D and U+0085
    letter,                ///< L and M
    alphanumeric,          ///< L, M and N
    decimalDigit,          ///< Nd
    lowercaseLetter,       ///< Ll
    uppercaseLetter,       ///< Lu and Lt
};

/// The bitmap representation of `set`: 8192 bytes for the Basic Multilingual Plane, then for each further plane that
/// has members the number of the plane, one byte, and its 8192 bytes.
[[nodiscard]] std::vector<std::uint8_t> bitmap(CharacterSet set);

// --- Bitmaps -------------------------------------------------------------------------------------------------------

/// No members.
[[nodiscard]] const CharacterBitmap& emptyCharacterSetRep();
/// White space without line ends; also U+0000 and U+0009.
[[nodiscard]] const CharacterBitmap& spaceCharacterSetRep();
/// White space and line ends; also U+0000, U+0003, U+0009, U+000A, U+000C, U+000D, U+00A0, U+2028, U+2029, U+FEFF and
/// U+FFFC.
[[nodiscard]] const CharacterBitmap& whiteCharacterSetRep();
[[nodiscard]] const CharacterBitmap& alphaCharacterSetRep();
[[nodiscard]] const CharacterBitmap& alphaNumCharacterSetRep();
[[nodiscard]] const CharacterBitmap& digitCharacterSetRep();
[[nodiscard]] const CharacterBitmap& lowerCharacterSetRep();
[[nodiscard]] const CharacterBitmap& upperCharacterSetRep();

/// The lowest and the highest unit of the letter bitmap; 0 when it has none.
[[nodiscard]] char16_t firstAlphaCharacter();
[[nodiscard]] char16_t lastAlphaCharacter();

// --- Conversion tables ---------------------------------------------------------------------------------------------
// Entries not named by the rule are the identity, and so is entry 0xFFFF, on which nobody relies.

/// Uppercase letters to lower case, where that is one unit long (root locale).
[[nodiscard]] const ConversionTable& initLowerCharsTable();
/// Lowercase letters to upper case, where that is one unit long: U+00DF stays itself.
[[nodiscard]] const ConversionTable& initUpperCharsTable();
/// Letters without their diacritics, case kept: the canonical decomposition without its nonspacing marks, where that is
/// one unit long.
[[nodiscard]] const ConversionTable& initUmlautsCharsTable();
/// lower[umlauts[c]]
[[nodiscard]] const ConversionTable& initLowerUmlautsCharsTable();
/// upper[umlauts[c]]
[[nodiscard]] const ConversionTable& initUpperUmlautsCharsTable();

// --- One unit ------------------------------------------------------------------------------------------------------

[[nodiscard]] char16_t toLower(char16_t unit);
[[nodiscard]] char16_t toUpper(char16_t unit);
/// Without diacritics, or a space when that is no ASCII character.
[[nodiscard]] char16_t toAscii(char16_t unit);
[[nodiscard]] char16_t toUpperAscii(char16_t unit);
[[nodiscard]] char16_t toLowerAscii(char16_t unit);
/// Without diacritics, whatever that is: in spite of the name the result is not limited to ASCII.
[[nodiscard]] char16_t umlautsToAscii(char16_t unit);
[[nodiscard]] char16_t umlautsToUpperAscii(char16_t unit);
[[nodiscard]] char16_t umlautsToLowerAscii(char16_t unit);

// --- Tests ---------------------------------------------------------------------------------------------------------

/// Whether any unit of `string` is in `bitmap`; false without a bitmap.
[[nodiscard]] bool characterPartOfSet(std::u16string_view string, const CharacterBitmap* bitmap);

/// Whether every unit is in the white bitmap; true for no units.
[[nodiscard]] bool onlyWhiteCharacters(std::u16string_view units);

}  // namespace halden
