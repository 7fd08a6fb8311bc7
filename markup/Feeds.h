// Feeds: RSS, RDF and Atom documents, their items, and their items as pages.
//
// One scan serves everything. Malformed feeds give whatever items are complete; a document that is no feed gives no
// items, or itself where a page was asked for.
#pragma once

#include "foundation/Url.h"
#include "foundation/Value.h"
#include "markup/TagScanner.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

// --- Items ---------------------------------------------------------------------------------------------------------
// An item is a Dictionary:
//
//     title, description, content, author, date, link   strings, "" where the feed has none; the date as it is written
//     calendarDate                                      the date, when it can be read
//     tags                                              an array of strings, when there are any
//     enclosures                                        an array of {url, length}, when there are any; the length, a
//     string
//                                                       as it is written, may be absent

/// Whether the root is that of a feed. `complete`, when given, tells whether its end tag was found, before any tag that
/// begins or ends a page: the document arrived whole.
[[nodiscard]] bool isFeed(std::u16string_view document);
[[nodiscard]] bool isFeedComplete(std::u16string_view document, bool* complete);

/// The items in the order of the document. Links that begin with "/" are resolved against `feedURL`.
[[nodiscard]] std::vector<Dictionary> getItemsOfFeed(std::u16string_view document,
                                                     const std::optional<Url>& feedURL = std::nullopt);

/// Whether an item says nothing beyond its title.
[[nodiscard]] bool isEmptyFeedItem(const Dictionary& item);

// --- Pages ---------------------------------------------------------------------------------------------------------

enum class StyleSheet : bool {
    inlined,  ///< the file's contents, in the page
    linked,
};

/// The feed as a page; the document itself when it is none. Titles and texts are not escaped: they carry decoded HTML.
[[nodiscard]] std::u16string stringByConvertingFeedToDisplayHTML(std::u16string document,
                                                                 const std::optional<Url>& feedURL,
                                                                 StyleSheet styleSheet);

/// The page with the linked style sheet of feeds replaced by a copy of the present one; the page itself without one.
[[nodiscard]] std::u16string stringByReplacingLinkedStyleSheet(std::u16string page);

enum class ItemForm : bool {
    searchable,  ///< title, link and text, without a style sheet
    display,     ///< also date, author and enclosures
};

[[nodiscard]] std::u16string stringByConvertingItemToHTML(const Dictionary& item, ItemForm form, StyleSheet styleSheet);
[[nodiscard]] std::u16string stringByConvertingItemToSearchableHTML(const Dictionary& item);
[[nodiscard]] std::u16string stringByConvertingItemToDisplayHTML(const Dictionary& item,
                                                                 StyleSheet styleSheet = StyleSheet::linked);
[[nodiscard]] std::u16string stringByConvertingItemsToHTML(std::span<const Dictionary> items, ItemForm form);
[[nodiscard]] std::u16string stringByConvertingItemsToSearchableHTML(std::span<const Dictionary> items);
[[nodiscard]] std::u16string stringByConvertingItemsToDisplayHTML(std::span<const Dictionary> items);

/// The file that pages take their style from: its path, empty for none (the default). In memory, for the process; set
/// by the application before pages are made.
void setLinkableFeedStyleSheet(std::u16string path);
[[nodiscard]] std::u16string linkableFeedStyleSheet();

// --- The parts they are made of ------------------------------------------------------------------------------------

enum class HeadStyle : bool { plain, styled };

/// The start of a page, up to what its head holds besides.
void CreateFeedHead(std::u16string& output, StyleSheet linked, HeadStyle style);

struct FeedItemText {
    std::u16string_view title{};
    std::u16string_view content{};  ///< stands before the description
    std::u16string_view description{};
    std::u16string_view link{};
    std::u16string_view date{};  ///< as it is written
    std::u16string_view author{};
    std::span<const Value> enclosures{};  ///< as in an item
};

void AppendItem2Feed(std::u16string& output, const FeedItemText& item);
void AppendDictionary2Feed(std::u16string& output, const Dictionary& item, ItemForm form);

enum class FeedEntities { none, standard, all };

/// The text of a range of units, with entities decoded as asked for (in ranges of four units or more) and white space
/// cut from both ends; nullopt when nothing is left.
[[nodiscard]] std::optional<std::u16string> GetFeedContent(std::u16string_view range, FeedEntities entities);

}  // namespace halden
