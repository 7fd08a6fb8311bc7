// Character references to characters and back.
//
// Decoding forgives a missing ";" and is strict about length: a reference has at most 7 units after its "&", with the
// ";" or whatever ends it. One pass only: "&amp;lt;" gives "&lt;". What is no reference stays as it is.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace halden {

struct EntityDecoding {
    /// Decode references to the double quote, "&", "<" and ">" too. Without it decoded text never makes new markup.
    bool decodesSpecials = false;
    /// Leave all names but the fixed ones (apos, nbsp and, with the specials, quot, amp, lt, gt) alone.
    bool onlyNumeric = false;
    /// Drop diacritics from every unit that is written, decoded or copied.
    bool nonUmlauted = false;
};

/// Decodes `length` units of `source` from `location` on, and writes them to the start of `destination`; returns how
/// many were written, never more than `length`. `destination` may be `source + location`, or lie before it.
std::size_t convertEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                       std::size_t length, EntityDecoding decoding);

/// The same for "&amp;", "&lt;", "&gt;" and "&quot;" only, each with its ";". When the sixth unit from the "&" is a
/// ";", it can only be "&quot;".
std::size_t convertStdEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                          std::size_t length);

// --- Decoded strings -----------------------------------------------------------------------------------------------
// Each gives the string itself, moved through, when nothing was decoded (then diacritics stay too), or when it is
// shorter than 4 units.

[[nodiscard]] std::u16string stringByConvertingEntitiesToCharacters(std::u16string string, EntityDecoding decoding);
/// With the specials.
[[nodiscard]] std::u16string stringByConvertingEntitiesToCharacters(std::u16string string);
enum class Umlauts : bool { keep, drop };
/// With the specials.
[[nodiscard]] std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(std::u16string string, Umlauts umlauts);
[[nodiscard]] std::u16string stringByConvertingStandardEntitiesToCharacters(std::u16string string);

// --- Encoded strings -----------------------------------------------------------------------------------------------

/// Characters that have a name become it, all others beyond ASCII their number, a unit each; the result is ASCII. "&",
/// "<", ">" and quotes are ASCII and stay.
[[nodiscard]] std::u16string stringByConvertingCharactersToEntities(std::u16string string);
/// Everything beyond ASCII becomes its number, a unit each.
[[nodiscard]] std::u16string stringByConvertingHighCharactersToEntities(std::u16string string);
/// The double quote, "&", "<" and ">" become their names.
[[nodiscard]] std::u16string stringByConvertingCharactersToStandardEntities(std::u16string string);

/// Escapes for the body of a JSON string: a backslash before backslash, double quote and slash; \b, \t, \n, \f, \r.
/// Other control characters stay.
[[nodiscard]] std::u16string stringByConvertingCharactersToJSON(std::u16string string);

/// Builds the tables that decoding and encoding use, which otherwise happens at the first use.
void initConversionTables();

}  // namespace halden
