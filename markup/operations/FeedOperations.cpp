#include "markup/ErrorPages.h"
#include "markup/Feeds.h"
#include "markup/Reader.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

using MaybeString = std::optional<std::u16string>;

std::optional<Url> urlOf(const std::optional<std::u16string_view>& string) {
    return string ? URLWithNormalizedStringURL(*string) : std::nullopt;
}

StyleSheet styleOf(bool linked) {
    return linked ? StyleSheet::linked : StyleSheet::inlined;
}

Dictionary itemFrom(const Value& value, std::size_t index) {
    const auto* item = value.as<Dictionary>();
    if (item == nullptr) throw ArgumentError("argument " + std::to_string(index + 1) + " is no dictionary");
    return *item;
}

std::vector<Dictionary> itemsFrom(const Value& value) {
    const auto* array = value.as<Array>();
    if (array == nullptr) throw ArgumentError("argument 1 is no array of dictionaries");
    std::vector<Dictionary> items;
    for (const Value& element : *array)
        items.push_back(itemFrom(element, 0));
    return items;
}

Dictionary completeness(std::u16string_view document) {
    bool complete = false;
    const bool result = isFeedComplete(document, &complete);
    return {{u"result", Value(result)}, {u"complete", Value(complete)}};
}

std::vector<Dictionary> items(std::u16string_view document) {
    return getItemsOfFeed(document);
}

std::vector<Dictionary> itemsWithURL(std::u16string_view document, std::optional<std::u16string_view> url) {
    return getItemsOfFeed(document, urlOf(url));
}

std::u16string feedPage(std::u16string document, std::optional<std::u16string_view> url, bool linked) {
    return stringByConvertingFeedToDisplayHTML(std::move(document), urlOf(url), styleOf(linked));
}

std::u16string feedPageWithoutURL(std::u16string document, bool linked) {
    return feedPage(std::move(document), std::nullopt, linked);
}

// Nil items answer nil.

Value isEmptyItem(const Value& item) {
    return Value(!item.isNull() && isEmptyFeedItem(itemFrom(item, 0)));
}

template <std::u16string (*convert)(const Dictionary&)>
Value itemPage(const Value& item) {
    return item.isNull() ? Value() : Value(convert(itemFrom(item, 0)));
}

std::u16string displayed(const Dictionary& item) {
    return stringByConvertingItemToDisplayHTML(item);
}

Value itemPageWithStyle(const Value& item, bool linked) {
    return item.isNull() ? Value() : Value(stringByConvertingItemToDisplayHTML(itemFrom(item, 0), styleOf(linked)));
}

Value itemHTML(const Value& item, bool display, bool linked) {
    const ItemForm form = display ? ItemForm::display : ItemForm::searchable;
    return Value(stringByConvertingItemToHTML(item.isNull() ? Dictionary() : itemFrom(item, 0), form, styleOf(linked)));
}

Value itemsHTML(const Value& list, bool display) {
    const ItemForm form = display ? ItemForm::display : ItemForm::searchable;
    return Value(stringByConvertingItemsToHTML(list.isNull() ? std::vector<Dictionary>() : itemsFrom(list), form));
}

template <bool display>
Value itemsPage(const Value& list) {
    return list.isNull() ? Value() : itemsHTML(list, display);
}

std::u16string head(bool linked, bool withStyleSheet) {
    std::u16string output;
    CreateFeedHead(output, styleOf(linked), withStyleSheet ? HeadStyle::styled : HeadStyle::plain);
    return output;
}

std::u16string appendedItem(std::optional<std::u16string_view> title, std::optional<std::u16string_view> content,
                            std::optional<std::u16string_view> description, std::optional<std::u16string_view> link,
                            std::optional<std::u16string_view> date, std::optional<std::u16string_view> author,
                            const Value& enclosures) {
    static const Array kNone;
    const auto* array = enclosures.as<Array>();
    std::u16string output;
    AppendItem2Feed(output, {.title = title.value_or(u""),
                             .content = content.value_or(u""),
                             .description = description.value_or(u""),
                             .link = link.value_or(u""),
                             .date = date.value_or(u""),
                             .author = author.value_or(u""),
                             .enclosures = array != nullptr ? *array : kNone});
    return output;
}

std::u16string appendedDictionary(const Value& item, bool full) {
    std::u16string output;
    AppendDictionary2Feed(output, itemFrom(item, 0), full ? ItemForm::display : ItemForm::searchable);
    return output;
}

/// The copy flag says whether the text may borrow the scanner's buffer; here it never does.
MaybeString content(std::u16string_view string, std::size_t start, std::size_t length, bool allEntities,
                    bool standardEntities, bool) {
    const FeedEntities entities = allEntities        ? FeedEntities::all
                                  : standardEntities ? FeedEntities::standard
                                                     : FeedEntities::none;
    return GetFeedContent(substringWithRange(string, {start, length}), entities);
}

bool exceeded(std::optional<std::u16string_view>, std::optional<std::u16string_view> text) {
    return exceededPageLoadFrequency({}, text.value_or(u""));
}

bool errorPage(std::optional<std::u16string_view> url, std::optional<std::u16string_view> title,
               std::optional<std::u16string_view> text) {
    return isErrorPage(url.value_or(u""), title.value_or(u""), text.value_or(u""));
}

constexpr auto kOperations = std::to_array<Operation>({
    method<isFeed>("isFeed", "string"),
    method<completeness>("isFeedComplete:", "string"),
    method<items>("getItemsOfFeed", "string"),
    method<itemsWithURL>("getItemsOfFeed:", "string feedURL"),
    method<feedPage>("stringByConvertingFeed:toDisplayHTMLUsingLinkedStyleSheet:", "string feedURL linked"),
    method<feedPageWithoutURL>("stringByConvertingFeedToDisplayHTMLUsingLinkedStyleSheet:", "string linked"),
    method<stringByReplacingLinkedStyleSheet>("stringByReplacingLinkedStyleSheet", "string"),
    function<isEmptyItem>("isEmptyFeedItem", "item"),
    function<itemPage<stringByConvertingItemToSearchableHTML>>("stringByConvertingItemToSearchableHTML", "item"),
    function<itemPage<displayed>>("stringByConvertingItemToDisplayHTML", "item"),
    function<itemPageWithStyle>("stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet:", "item linked"),
    function<itemsPage<false>>("stringByConvertingItemsToSearchableHTML", "items"),
    function<itemsPage<true>>("stringByConvertingItemsToDisplayHTML", "items"),
    function<itemHTML>("stringByConvertingItemToHTML", "item display linked"),
    function<itemsHTML>("stringByConvertingItemsToHTML", "items display"),
    function<head>("CreateFeedHead", "linked withStyleSheet"),
    function<appendedItem>("AppendItem2Feed", "title content description link date author enclosures"),
    function<appendedDictionary>("AppendDictionary2Feed", "item full"),
    function<content>("GetFeedContent", "string start length allEntities standardEntities copy"),
    function<exceeded>("exceededPageLoadFrequency::", "unused text"),
    function<errorPage>("isErrorPage:::", "url title text"),
    method<possibleArticle>("possibleArticle", "string"),
    method<stripToArticle>("stripToArticle", "string"),
});

}  // namespace

std::span<const Operation> feedOperations() {
    return kOperations;
}

}  // namespace halden::operations
