// Attributes, read straight from the tag's characters: nothing is made but the value that is asked for, and nothing at
// all by the forms that give ranges.
//
// In all forms: names are given in upper case, and compared through the upper-case table. Quoted values are passed over
// while the name is looked for, and a quote without a partner ends the search. The first place where the name stands
// before a "=" counts: when the value there is empty, there is none. White space around the "=" and after the value
// does not count. A quoted value goes up to the same quote, but not past the ">" of the tag; any other up to white
// space or
// ">".
#pragma once

#include "foundation/Range.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

// --- Of a buffer ---------------------------------------------------------------------------------------------------
// `name` is ASCII, and shorter than the tag by more than 5 units. It must not follow a letter, a digit, "-" or "_"; any
// number of "=" may follow it.

/// The value in the tag that `tag` holds, or in `range` of `characters`; nullopt when absent or empty.
[[nodiscard]] std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view tag, std::string_view name);
[[nodiscard]] std::optional<std::u16string> attributeOfTagCharacters(std::u16string_view characters, Range range,
                                                                     std::string_view name);

/// Where the value stands in the buffer; {kNotFound, 0} when absent or empty.
[[nodiscard]] Range rangeOfAttributeOfTagCharacters(std::u16string_view tag, std::string_view name);
[[nodiscard]] Range rangeOfAttributeOfTagCharacters(std::u16string_view characters, Range range, std::string_view name);

enum class AttributeValue : bool {
    plain,
    /// The "content" of a meta tag, which may carry markup: a quoted value may hold tags, and ends at a ">" that closes
    /// none of them, or before "<meta". When its quote comes with one tag left open, a "<" or "</" just before the
    /// quote does not count.
    metaContent,
};

/// The form under the others. With `valueRange`, stores where the value is, and returns nullopt.
std::optional<std::u16string> _attributeOfTagCharactersWithName(std::u16string_view characters, Range range,
                                                                std::string_view name, AttributeValue value,
                                                                Range* valueRange = nullptr);

// --- Of a string ---------------------------------------------------------------------------------------------------
// `name` may be any string. "_" may stand before it, and one "=" only belongs to it.

[[nodiscard]] std::optional<std::u16string> attributeOfTagWithName(std::u16string_view tag, std::u16string_view name);
[[nodiscard]] std::optional<std::u16string> attributeOfTagInRange(std::u16string_view string, Range range,
                                                                  std::u16string_view withName);

/// A property of declarations such as "width: 20px; height: 10px", where ":" stands for "=" and ";" for ">". The name
/// is shorter than the text by more than 1 unit.
[[nodiscard]] std::optional<std::u16string> attributeOfStyleWithName(std::u16string_view style,
                                                                     std::u16string_view name);
[[nodiscard]] std::optional<std::u16string> attributeOfStyleInRange(std::u16string_view string, Range range,
                                                                    std::u16string_view withName);

// --- Width and height ----------------------------------------------------------------------------------------------

/// The size of an image, a frame or a table cell: leading integers of WIDTH and HEIGHT (HEIGH also does, some pages
/// have it), else those of its style. The height is only read when there is a width. Below 10 units both are 0. Returns
/// whether the width is greater than 0. Neither pointer may be null.
bool getTagWidthCharacters(std::u16string_view tag, std::int64_t* width, std::int64_t* height);
bool getTagWidthCharacters(std::u16string_view characters, Range range, std::int64_t* width, std::int64_t* height);
/// The same with the attribute forms for strings.
bool getTagWidth(std::u16string_view tag, std::int64_t* width, std::int64_t* height);
bool getTagWidth(std::u16string_view string, Range range, std::int64_t* width, std::int64_t* height);

// --- Background ----------------------------------------------------------------------------------------------------

/// The URL of the background image in the tag's style, when that has "background:" or "background-image:" and also
/// "no-repeat": the text within the first "url(" and ")", without the single quotes around it (double quotes stay).
/// nullopt for no buffer, an end tag or an empty URL.
[[nodiscard]] std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view tag);
[[nodiscard]] std::optional<std::u16string> backgroundStyleURLOfTagCharacters(std::u16string_view characters,
                                                                              Range range);

}  // namespace halden
