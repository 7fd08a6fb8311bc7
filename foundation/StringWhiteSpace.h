// Spaces, tabs and line ends inside strings: collapsing, deleting, and tabs as columns.
//
// Unit by unit, with the space and white bitmaps of Characters.h. The feeds are U+000A, U+000C, U+000D, U+0003, U+FFFC,
// U+FEFF, U+2028 and U+2029. The verbs edit in place and allocate nothing, but for the tabs; the others give the edited
// string, without a copy when it is moved in. Any thread may call them.
#pragma once

#include <cstddef>
#include <string>

namespace halden {

/// Whether `unit` is a feed.
[[nodiscard]] constexpr bool isFeed(char16_t unit) noexcept {
    return unit == u'\n' || unit == u'\f' || unit == u'\r' || unit == 0x03 || unit == 0xFFFC || unit == 0xFEFF ||
           unit == 0x2028 || unit == 0x2029;
}

// --- Collapsing ----------------------------------------------------------------------------------------------------

/// The characters whose runs become one space.
enum class CollapsedSet : bool {
    spaces,  ///< the space bitmap: line ends stay
    white,   ///< the white bitmap: line ends, too
};

/// Makes each run of members of `set` one space (U+0020), also a run of one, and also at the start and at the end;
/// gives the new length.
std::size_t removeMultipleSpacesAndFeeds(std::u16string& string, CollapsedSet set);
[[nodiscard]] std::u16string stringByRemovingMultipleSpacesAndFeeds(std::u16string string, CollapsedSet set);

/// Makes each run of feeds one line feed (U+000A), also a run of one, and also at the start and at the end.
void removeMultipleFeeds(std::u16string& string);
[[nodiscard]] std::u16string stringByRemovingMultipleFeeds(std::u16string string);

// --- Deleting ------------------------------------------------------------------------------------------------------
// Each deletes every unit of its set, wherever it stands.

void removeFeeds(std::u16string& string);
void removeTabs(std::u16string& string);
/// The members of the space bitmap.
void removeSpaces(std::u16string& string);
/// The members of the white bitmap.
void removeWhiteCharacters(std::u16string& string);

[[nodiscard]] std::u16string stringByRemovingFeeds(std::u16string string);
[[nodiscard]] std::u16string stringByRemovingTabs(std::u16string string);
[[nodiscard]] std::u16string stringByRemovingSpaces(std::u16string string);
[[nodiscard]] std::u16string stringByRemovingWhiteCharacters(std::u16string string);

// --- Tabs ----------------------------------------------------------------------------------------------------------
// Tab stops are `width` columns apart. A column is a unit, counted from the last feed. Nothing happens with a width of
// 0 or above kMaximalTabWidth.

inline constexpr std::size_t kMaximalTabWidth = 256;

/// Replaces each tab with the spaces that lead to the next tab stop.
void decodeTabs(std::u16string& string, std::size_t width);

/// Replaces runs of spaces and tabs with tabs up to the last tab stop that the run reaches, and spaces from there. A
/// space that stands alone stays one, so that words are not torn apart where they happen to meet a stop.
/// Decoding gives what decoding the original gives.
void encodeTabs(std::u16string& string, std::size_t width);

}  // namespace halden
