// Comparison of strings by some of their characters only, and the counting of words.
#pragma once

#include "foundation/Characters.h"

#include <cstddef>
#include <string_view>

namespace halden {

// Only units of `set` count; case does not (both sides pass through the upper-case table). "Page not found!" and
// "PAGE-NOT-FOUND" are equal by their letters.

[[nodiscard]] bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view a, std::u16string_view b,
                                                          const CharacterBitmap& set);

/// Whether what counts of `string` begins with what counts of `prefix`.
[[nodiscard]] bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view string, std::u16string_view prefix,
                                                       const CharacterBitmap& set);

/// Words are the longest runs of alphanumeric units.
[[nodiscard]] std::size_t numberOfWordsOfCharacters(std::u16string_view characters);

}  // namespace halden
