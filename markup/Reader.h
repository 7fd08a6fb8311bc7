// The main article of a page, found by counting words between headings.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// Whether the page holds one main article: a heading whose section has at least 100 words and a third of the page's
/// (the texts of anchors do not count), a further heading, and an end (a rule, a heading of the same level, comments, a
/// link to the top, to a printable form or to a bookmarklet) or an element named after an article.
[[nodiscard]] bool possibleArticle(std::u16string_view html);

/// The page cut down to what stands before its body's contents, the article, and what follows the body, with line feeds
/// between; nullopt when it holds no article whose end was found.
[[nodiscard]] std::optional<std::u16string> stripToArticle(std::u16string_view html);

}  // namespace halden
