// Copies of a document that leave parts of its markup out.
//
// Each is one scan. What is kept are the document's own characters, never encoded anew. Tag names are compared without
// regard to the case of ASCII letters, unless said otherwise. An element that never ends swallows (or keeps) everything
// up to the end of the document.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace halden {

/// The text without any markup. Runs of text that would touch are separated by one space.
[[nodiscard]] std::u16string stripTags(std::u16string_view html);

/// Without every tag of that name: start, end and self-closing tags. `tagName` must be in upper case; the document's
/// names are compared with it through the upper-case table. `html` itself when the name is empty or does not occur.
[[nodiscard]] std::u16string stripTag(std::u16string html, std::string_view tagName);

/// With each tag of that name reduced to its name, in upper case, and its HREF, or else its SRC; a self-closing tag
/// without either is dropped. `html` itself as for `stripTag`.
[[nodiscard]] std::u16string stripAttributesOfTag(std::u16string html, std::string_view tagName);

enum class StrippedBodies : bool {
    listed,          ///< leave the listed elements out
    allButTheListed  ///< keep nothing else
};

/// Elements are listed by how their start tags begin, in any case: "<script", "<style". The first that a tag begins
/// with counts. Nested elements of the same name are counted; a self-closing tag of that name ends one, as an end tag
/// does.
///
/// Leaving listed elements out gives the rest (`html` itself when nothing is listed); keeping only them gives each,
/// with its tags, followed by a line feed, or nullopt when there is none.
[[nodiscard]] std::optional<std::u16string> stripTagBodies(std::u16string html,
                                                           std::span<const std::u16string> prefixes,
                                                           StrippedBodies stripped);
/// Leaves the listed elements out.
[[nodiscard]] std::optional<std::u16string> stripTagBodies(std::u16string html,
                                                           std::span<const std::u16string> prefixes);
/// Keeps the listed elements only.
[[nodiscard]] std::optional<std::u16string> stripTagBodiesExcept(std::u16string html,
                                                                 std::span<const std::u16string> prefixes);

enum class ImageReplacement : bool {
    none,  ///< images stay as they are
    text,  ///< an image becomes its alternative text, or its title, on a line of its own; without both it vanishes
};

/// Without scripts, link tags and the tags and text of embedded objects and media (object, param, applet, embed,
/// iframe, audio, video, canvas). Other tags inside them stay. A nested element of the same name ends the stripping at
/// its own end tag.
[[nodiscard]] std::u16string stripObjectsAndReplaceImages(std::u16string_view html, ImageReplacement images);

/// Without anchors, their text included, and without link tags. Other tags inside anchors stay.
[[nodiscard]] std::u16string stripLinks(std::u16string_view html);

/// Whether the string is an HTML document: from "<" to ">", white space aside, with a document type or an html tag in
/// it, or at least a title tag.
[[nodiscard]] bool isHTML(std::u16string_view string);

}  // namespace halden
