// What a tag is, and its name.
//
// Every test exists for a buffer with a range, and for a string that holds one tag. Offsets count from the token's "<".
// A range may claim one unit too many, as the scanner's script tokens do; beyond that it is cut to the buffer. Nothing
// here looks further than it has to: whether the first unit is a "<" is not asked.
#pragma once

#include "foundation/Range.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

// --- Shapes --------------------------------------------------------------------------------------------------------
// "<br/>" is both open and closed.

/// At least 3 units, and no "/" after the "<". False without a buffer.
[[nodiscard]] bool isTagOpenCharacters(std::u16string_view characters, Range range) noexcept;
/// At least 4 units, and a "/" after the "<" or before the last unit.
[[nodiscard]] bool isTagClosedCharacters(std::u16string_view characters, Range range) noexcept;

[[nodiscard]] bool isTagOpen(std::u16string_view tag) noexcept;
[[nodiscard]] bool isTagOpenInRange(std::u16string_view string, Range range) noexcept;
[[nodiscard]] bool isTagClosed(std::u16string_view tag) noexcept;
[[nodiscard]] bool isTagClosedInRange(std::u16string_view string, Range range) noexcept;
/// At least 7 units that start with "<![".
[[nodiscard]] bool isMetaTag(std::u16string_view tag) noexcept;
[[nodiscard]] bool isMetaTagInRange(std::u16string_view string, Range range) noexcept;
/// At least 7 units that start with "<!-".
[[nodiscard]] bool isRemarkTag(std::u16string_view tag) noexcept;
[[nodiscard]] bool isRemarkTagInRange(std::u16string_view string, Range range) noexcept;

// --- Names ---------------------------------------------------------------------------------------------------------
// From the first letter of the tag up to white space, "/", ">" or the end; nullopt when there is no letter.

/// Where the name stands in `characters`, for a tag in `range`; {kNotFound, 0} when there is none.
[[nodiscard]] Range rangeOfNameOfTag(std::u16string_view characters, Range range);

[[nodiscard]] std::optional<std::u16string> nameOfTag(std::u16string_view tag);
[[nodiscard]] std::optional<std::u16string> nameOfTagInRange(std::u16string_view string, Range range);
[[nodiscard]] std::optional<std::u16string> nameOfTagInStringRange(std::u16string_view string, std::size_t location,
                                                                   std::size_t length);

/// These also tell whether the tag is open and whether it is closed, by a rule of their own: below 3 units it is
/// neither; with a "/" after the "<" it is closed, at any length; else it is open, and closed when it has at least 4
/// units with a "/" before the last. Either pointer may be null.
[[nodiscard]] std::optional<std::u16string> nameOfTag(std::u16string_view tag, bool* open, bool* closed);
[[nodiscard]] std::optional<std::u16string> nameOfTagInRange(std::u16string_view string, Range range, bool* open,
                                                             bool* closed);

}  // namespace halden
