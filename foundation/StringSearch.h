// Where characters and strings stand in a string: unit by unit, without normalization.
//
// Ignoring case means that both sides are passed through the upper-case table of Characters.h, one unit at a time: it
// makes ä and Ä equal, but never ß and SS. Nothing is allocated, and every function may be called from any thread.
#pragma once

#include "foundation/CharacterComparison.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace halden {

/// The first and the last unit; 0 when there is none.
[[nodiscard]] char16_t firstCharacter(std::u16string_view string) noexcept;
[[nodiscard]] char16_t lastCharacter(std::u16string_view string) noexcept;

/// Whether any unit is in the white bitmap of Characters.h.
[[nodiscard]] bool containsWhiteCharacter(std::u16string_view string);

/// The index of the first `unit`; nullopt when there is none.
[[nodiscard]] std::optional<std::size_t> findCharacter(std::u16string_view string, char16_t unit);

/// The index of the first of any of `units` at `startAt` or behind it; nullopt when there is none.
[[nodiscard]] std::optional<std::size_t> findOneOf(std::u16string_view string, std::u16string_view units,
                                                   std::size_t startAt = 0,
                                                   CaseSensitivity caseSensitive = CaseSensitivity::sensitive);

/// Whether `string` begins with `prefix`, ignoring case. Every string begins with the empty one.
[[nodiscard]] bool hasPrefixNoCase(std::u16string_view string, std::u16string_view prefix);

/// Whether `string` ends with `suffix`, ignoring case. Every string ends with the empty one.
[[nodiscard]] bool hasSuffixNoCase(std::u16string_view string, std::u16string_view suffix);

/// Whether `substring` occurs in `string`. As in all searches an empty substring occurs nowhere.
[[nodiscard]] bool containsSubstring(std::u16string_view string, std::u16string_view substring,
                                     CaseSensitivity caseSensitive);

}  // namespace halden
