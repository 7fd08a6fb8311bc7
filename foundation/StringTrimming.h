// Taking characters off the ends of strings.
//
// Unit by unit, with the sets of Characters.h. Those that return a string give it back untouched, without a copy, when
// there is nothing to take off, and the empty string when nothing else is left. Any thread may call them.
#pragma once

#include "foundation/Range.h"

#include <string>
#include <string_view>

namespace halden {

/// What counts as a space at the ends.
enum class TrimmedSet : bool {
    spaces,  ///< the space bitmap: no line ends
    white,   ///< the white bitmap: line ends, too
};

// --- Spaces and line ends ------------------------------------------------------------------------------------------

/// Without the members of `set` at both ends.
[[nodiscard]] std::u16string stringByTrimmingSpacesAndFeeds(std::u16string string, TrimmedSet set);
/// The same at the start only.
[[nodiscard]] std::u16string stringByTrimmingLeftSpacesAndFeeds(std::u16string string, TrimmedSet set);
/// The same at the end only.
[[nodiscard]] std::u16string stringByTrimmingRightSpacesAndFeeds(std::u16string string, TrimmedSet set);

/// The part of `string` that `stringByTrimmingSpacesAndFeeds` keeps, as a view into it.
[[nodiscard]] std::u16string_view trimmedOfSpacesAndFeeds(std::u16string_view string, TrimmedSet set);

/// Deletes the members of `set` at both ends of `range` from the string, and gives the range of what is left of it. A
/// range that reaches beyond the string is cut to it.
Range trimSpacesInRange(std::u16string& string, Range range, TrimmedSet set);

/// Without white space and line ends at both ends as Unicode has them (categories Z, U+0009 to U+000D and U+0085). This
/// is not the white bitmap: U+0000, U+0003, U+FEFF and U+FFFC stay.
[[nodiscard]] std::u16string stringByTrimmingWhiteSpaces(std::u16string string);

/// Deletes the feeds (see StringWhiteSpace.h) at both ends.
void trimFeeds(std::u16string& string);

// --- Other characters ----------------------------------------------------------------------------------------------

/// Without the straight double and single quotes at both ends, in any mixture.
[[nodiscard]] std::u16string stringByTrimmingQuotes(std::u16string string);

/// Without every `character` at both ends.
[[nodiscard]] std::u16string stringByTrimmingCharacter(std::u16string string, char16_t character);
/// Without every `character` at the start.
[[nodiscard]] std::u16string stringByTrimmingPrefixCharacter(std::u16string string, char16_t character);
/// Without every `character` at the end.
[[nodiscard]] std::u16string stringByTrimmingSuffixCharacter(std::u16string string, char16_t character);

/// Without `character` where it encloses the string: as long as it is both the first and the last of two units or more,
/// one is taken off either end. A `character` at one end only stays.
[[nodiscard]] std::u16string stringByTrimmingEnclosingCharacter(std::u16string string, char16_t character);

/// Without ellipses at both ends. An ellipsis is U+2026, or three full stops or more; one full stop or two stay.
[[nodiscard]] std::u16string stringByTrimmingEllipsis(std::u16string string);

/// Without the members of the digit bitmap at both ends.
[[nodiscard]] std::u16string stringByTrimmingDigits(std::u16string string);

}  // namespace halden
