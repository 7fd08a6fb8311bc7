// Strings through the conversion tables of Characters.h, and ligatures spelled out.
//
// Unless said otherwise every unit becomes exactly one unit. The strings are converted in their own storage, so that
// one that is moved in is not copied. Any thread may call them.
#pragma once

#include "foundation/Characters.h"

#include <string>
#include <string_view>

namespace halden {

// --- Without diacritics --------------------------------------------------------------------------------------------

/// Each unit through the umlaut table; no normalization.
[[nodiscard]] std::u16string nonUmlautedString(std::u16string string);
[[nodiscard]] std::u16string lowercaseNonUmlautedString(std::u16string string);
[[nodiscard]] std::u16string uppercaseNonUmlautedString(std::u16string string);

/// Form C, then the same: marks that follow their letter are dropped with it where both compose. The length is that of
/// Form C.
[[nodiscard]] std::u16string nonUmlautedNormalizedString(std::u16string string);
[[nodiscard]] std::u16string lowercaseNonUmlautedNormalizedString(std::u16string string);
[[nodiscard]] std::u16string uppercaseNonUmlautedNormalizedString(std::u16string string);

/// Form C, then the umlaut table; what is beyond ASCII after that becomes a space. The length is that of Form C.
[[nodiscard]] std::u16string asciiString(std::u16string string);
[[nodiscard]] std::u16string lowercaseAsciiString(std::u16string string);
[[nodiscard]] std::u16string uppercaseAsciiString(std::u16string string);

// --- Other ---------------------------------------------------------------------------------------------------------

/// Spells out U+FB00 to U+FB06 (ff, fi, fl, ffi, ffl, ft, st), U+0132 (IJ) and U+0133 (ij). U+FB05 is a long s with t,
/// and becomes ft all the same: that is what readers take it for. A string without them is not touched, nor is one when
/// memory runs out.
void convertLigaturesToCharacters(std::u16string& string);

/// The members of the alphanumeric bitmap, each through `table`; as they are without one.
[[nodiscard]] std::u16string stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(
    std::u16string_view string, const ConversionTable* table);

}  // namespace halden
