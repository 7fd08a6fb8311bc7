// What a page says of itself: title, meta elements, date.
//
// Each query is one scan. Names of tags and attributes, and the values that are looked for, count in any case. Where a
// query says so, it ends at the first body tag, start or end.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The text before the first closing title tag (from the tag before it on, when there are tags in the title), as it is
/// written; "" when there is none before the body.
[[nodiscard]] std::u16string htmlTitle(std::u16string_view html);
/// With its entities decoded and white space at both ends removed.
[[nodiscard]] std::u16string normalizedHtmlTitle(std::u16string_view html);

/// Every meta element with NAME and CONTENT before the body: the name in lower case, and its contents in their order,
/// joined by spaces.
[[nodiscard]] Dictionary htmlMetaAttributes(std::u16string_view html);
/// The same as text: entities are decoded, contents with markup become plain text, others single lines.
[[nodiscard]] Dictionary htmlMetaAttributesByConvertingEntitiesToCharacters(std::u16string_view html);

// The contents, joined by spaces, of the meta elements before the body whose NAME (or HTTP-EQUIV) is the one asked for;
// nullopt when there is none. Empty contents do not count.

[[nodiscard]] std::optional<std::u16string> htmlMetaAttributeWithName(std::u16string_view html,
                                                                      std::u16string_view name);
[[nodiscard]] std::optional<std::u16string> htmlMetaHTTPEquiv(std::u16string_view html, std::u16string_view value);
[[nodiscard]] std::optional<std::u16string> htmlMetaTitle(std::u16string_view html);       ///< title, dc.title
[[nodiscard]] std::optional<std::u16string> htmlMetaIndexTitle(std::u16string_view html);  ///< IndexTitle
[[nodiscard]] std::optional<std::u16string> htmlMetaKeywords(std::u16string_view html);    ///< keywords, dc.keywords
[[nodiscard]] std::optional<std::u16string> htmlMetaDescription(
    std::u16string_view html);                                                         ///< description, dc.description
[[nodiscard]] std::optional<std::u16string> htmlMetaDate(std::u16string_view html);    ///< date, dc.date
[[nodiscard]] std::optional<std::u16string> htmlMetaAuthor(std::u16string_view html);  ///< author, dc.author
[[nodiscard]] std::optional<std::u16string> htmlMetaCopyright(std::u16string_view html);  ///< copyright, dc.rights
[[nodiscard]] std::optional<std::u16string> htmlMetaRefresh(std::u16string_view html);    ///< HTTP-EQUIV refresh

/// Several of them in one scan, of the whole document. Those of Dublin Core are preferred. The title is the first of a
/// meta title and the title element. Each pointer may be null; without any nothing is scanned.
void htmlMetaKeywords(std::u16string_view html, std::optional<std::u16string>* keywords,
                      std::optional<std::u16string>* description, std::optional<std::u16string>* title,
                      std::optional<std::u16string>* indexTitle);

/// The content, as it is written, of the first meta element before the body that is about a date: by its NAME (date,
/// pdate, updated, dategen, displaydate; date... with a full stop, dc.date...; ..._date, ...pubDate,
/// ...publicationDate,
/// ...publishDate), or by its HTTP-EQUIV, last-modified.
[[nodiscard]] std::optional<std::u16string> htmlDate(std::u16string_view html);

/// Seconds of a revisit-after value such as "7 days": hours, days or weeks, else seconds; 0 when it is not above 0.
[[nodiscard]] double revisitAfter(std::u16string_view value);

}  // namespace halden
