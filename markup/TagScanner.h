// The tag scanner: one forgiving pass over markup that cuts it into tokens and calls a handler for each.
//
// Nothing is built and nothing is validated. Every token (a tag, a comment, a marked section) is handed over together
// with the run of text before it, so that one call a token shows the whole document; a last call of kind
// `TagKindEnd` brings the text after the last token.
//
//     a<b>c        call 1   kind Tag, text "a", tag "<b>", name "b"
//                  call 2   kind End, text "c"
//
// How tokens are cut:
//   - "<" opens a token wherever it stands in text: no letter need follow. ">" ends a tag unless it stands in a quoted
//     value. Only a quote that follows a "=" (with anything between, up to the quote) opens a quoted value.
//   - A script or style element is one token from its start tag to the ">" of its end tag, also named "script" or
//     "style". An end tag inside a comment in the script does not end it. Without an end tag the start tag stands
//     alone. When the ">" of the end tag is missing, the token claims one unit beyond the end of the text: documented,
//     and kept, so that whoever indexes by `tagLength` must clamp. `Tag::tag()` does.
//   - "<!-" opens a comment, "<![" a marked section. They end as `TagKind` says. One that is still open at the end is
//     delivered as it is; a tag that is still open is part of the last text.
#pragma once

#include "foundation/Range.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace halden {

enum class TagKind : std::uint8_t {
    end = 0,     ///< after the last character; only the text run has contents
    tag = 1,     ///< "<...>", whatever follows the "<"; or a whole script or style element
    remark = 2,  ///< "<!--...-->", "<!--...--!>", or "<!-...->" when no second hyphen follows
    meta = 3,    ///< "<![...]>" or "<![...]-->"
};

/// What a handler is told at each call: the arguments of the protocol, in their documented order. All locations are
/// indices into `characters`.
struct Tag {
    /// The string being scanned, which the handler may change, in mutable mode; a null pointer otherwise. Changes do
    /// not reach `characters`: a handler that edits keeps the running difference between the two.
    std::u16string* string = nullptr;
    /// The units being scanned, all of them. Valid until the scan returns, not longer.
    std::u16string_view characters;
    /// The first unit of the tag's name; kNotFound when the token has none (comments, marked sections, the end, a tag
    /// without a letter).
    std::size_t nameLocation = kNotFound;
    std::size_t nameLength = 0;
    /// The token's "<"; at the end, the length of the text.
    std::size_t tagLocation = 0;
    /// With "<" and ">"; 0 at the end. May claim one unit too many (see above).
    std::size_t tagLength = 0;
    /// Where the text run before the token starts. It goes up to `tagLocation`, and is empty when that is not greater.
    std::size_t textLocation = 0;
    TagKind kind = TagKind::end;

    /// The name as it is written, "" when there is none.
    [[nodiscard]] std::u16string_view name() const noexcept {
        return nameLength == 0 ? std::u16string_view() : slice(nameLocation, nameLength);
    }
    /// The token from "<" to ">", or to the end of the text.
    [[nodiscard]] std::u16string_view tag() const noexcept { return slice(tagLocation, tagLength); }
    /// The text before the token.
    [[nodiscard]] std::u16string_view text() const noexcept {
        return textLocation < tagLocation ? slice(textLocation, tagLocation - textLocation) : std::u16string_view();
    }
    [[nodiscard]] Range nameRange() const noexcept { return {nameLocation, nameLength}; }
    /// With the one unit too many, when the token claims it.
    [[nodiscard]] Range tagRange() const noexcept { return {tagLocation, tagLength}; }

private:
    [[nodiscard]] std::u16string_view slice(std::size_t location, std::size_t length) const noexcept {
        const std::size_t rest = characters.size() - location;
        return {characters.data() + location, length < rest ? length : rest};
    }
};

/// Called once a token. `context` is the caller's record, passed through. Returns true to stop the scan; what the last
/// calls return, after the end of the text, does not matter. There is no way to skip: a handler that wants to pass over
/// a region sets a flag in its record and looks away until the token that ends it.
///
/// A handler may throw: the scan ends and the exception leaves `GetTagsOfString`.
///
///     bool countLinks(const Tag& tag, void* context) {
///         if (tag.kind == TagKind::tag && tag.name() == u"a") ++*static_cast<int*>(context);
///         return false;
///     }
///     int links = 0;
///     GetTagsOfString(page, countLinks, &links);
using TagHandler = bool (*)(const Tag& tag, void* context);

/// Scans `string` as it stands: nothing is copied or allocated, and the units must not change until the scan returns.
/// False when there is nothing to scan (no call is made), else true, whether or not a handler stopped.
bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context);

/// Mutable mode: scans a private copy of `*string`, so that handlers may edit the string meanwhile. False, without a
/// call, also for a null pointer and when there is no memory for the copy.
bool GetTagsOfString(std::u16string* string, TagHandler handler, void* context);

}  // namespace halden
