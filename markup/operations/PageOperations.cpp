#include "markup/BaseElement.h"
#include "markup/LinkCleaning.h"
#include "markup/MimeTypes.h"
#include "markup/PageFrames.h"
#include "markup/PageLinks.h"
#include "markup/PageMetaData.h"
#include "markup/PageResources.h"
#include "markup/operations/Operations.h"

#include <algorithm>
#include <array>

namespace halden::operations {
namespace {

using Strings = std::vector<std::u16string>;
using MaybeString = std::optional<std::u16string>;
using MaybeUrl = std::optional<Url>;

Value valueOf(const MaybeString& string) {
    return string ? Value(*string) : Value();
}

Value valueOf(const MaybeUrl& url) {
    return url ? Value(url->absoluteString()) : Value();
}

Value arrayOf(Strings strings) {
    return Result<Strings>::value(std::move(strings));
}

/// Unordered results compare when they are sorted.
Strings sorted(Strings strings) {
    std::ranges::sort(strings);
    return strings;
}

// --- Links ---------------------------------------------------------------------------------------------------------

Dictionary withBase(Strings links, const MaybeUrl& base) {
    return {{u"result", arrayOf(std::move(links))}, {u"baseURL", valueOf(base)}};
}

Dictionary links(std::u16string_view html) {
    MaybeUrl base;
    Strings found = htmlLinksBaseURL(html, &base);
    return withBase(std::move(found), base);
}

Dictionary linksContaining(std::u16string_view html, std::optional<std::u16string_view> string, bool useRelNoFollow) {
    MaybeUrl base;
    Strings found = htmlLinksContaining(html, string.value_or(u""),
                                        useRelNoFollow ? RelNoFollow::heed : RelNoFollow::ignore, &base);
    return withBase(std::move(found), base);
}

/// With the handler's name; the only one that can be named is ContainingHandler, whose context is the string.
Dictionary linksMatching(std::u16string_view html, std::optional<std::u16string_view> handler,
                         std::optional<std::u16string_view> context, bool useRelNoFollow) {
    if (handler && *handler != u"ContainingHandler") throw ArgumentError("argument 2 names no handler");
    const std::u16string_view string = context.value_or(u"");
    MaybeUrl base;
    Strings found = htmlLinksMatching(html, handler ? ContainingHandler : nullptr, &string,
                                      useRelNoFollow ? RelNoFollow::heed : RelNoFollow::ignore, &base);
    return withBase(std::move(found), base);
}

Dictionary linksWithHandler(std::u16string_view html, std::optional<std::u16string_view> handler,
                            std::optional<std::u16string_view> context) {
    return linksMatching(html, handler, context, false);
}

// --- Frames --------------------------------------------------------------------------------------------------------

template <FrameLinks included>
Dictionary framesAndBase(std::u16string_view html) {
    MaybeUrl base;
    Strings found = sorted(getHtmlFrames(html, {.baseURL = &base}, included));
    return withBase(std::move(found), base);
}

template <FrameLinks included>
Dictionary framesSetAndBase(std::u16string_view html) {
    bool set = false;
    MaybeUrl base;
    Strings found = sorted(getHtmlFrames(html, {.set = &set, .baseURL = &base}, included));
    return {{u"result", arrayOf(std::move(found))}, {u"set", Value(set)}, {u"baseURL", valueOf(base)}};
}

template <FrameLinks included>
Dictionary framesAndAll(std::u16string_view html) {
    bool set = false;
    bool isFeed = false;
    MaybeUrl base;
    MaybeString favIcon, title, refresh, robots, revisit;
    Strings found = sorted(getHtmlFrames(html,
                                         {.set = &set,
                                          .isFeed = &isFeed,
                                          .baseURL = &base,
                                          .title = &title,
                                          .refresh = &refresh,
                                          .robots = &robots,
                                          .revisit = &revisit,
                                          .favIcon = &favIcon},
                                         included));
    return {{u"result", arrayOf(std::move(found))}, {u"set", Value(set)},           {u"baseURL", valueOf(base)},
            {u"favIcon", valueOf(favIcon)},         {u"title", valueOf(title)},     {u"refresh", valueOf(refresh)},
            {u"robots", valueOf(robots)},           {u"revisit", valueOf(revisit)}, {u"isFeed", Value(isFeed)}};
}

Dictionary frames(std::u16string_view html, bool includeLinks) {
    return includeLinks ? framesAndAll<FrameLinks::include>(html) : framesAndAll<FrameLinks::exclude>(html);
}

Strings sortedImages(std::u16string_view html) {
    return sorted(htmlImages(html));
}

Strings sortedSheets(std::u16string_view html) {
    return sorted(htmlStylesheetsAndScripts(html));
}

Strings sortedObjects(std::u16string_view html) {
    return sorted(htmlEmbeddedObjects(html));
}

// --- Meta data -----------------------------------------------------------------------------------------------------

MaybeString metaWithName(std::u16string_view html, std::optional<std::u16string_view> name) {
    return name ? htmlMetaAttributeWithName(html, *name) : std::nullopt;
}

MaybeString metaHttpEquiv(std::u16string_view html, std::optional<std::u16string_view> value) {
    return value ? htmlMetaHTTPEquiv(html, *value) : std::nullopt;
}

Dictionary metaOfSearch(std::u16string_view html) {
    MaybeString keywords, description, title, indexTitle;
    htmlMetaKeywords(html, &keywords, &description, &title, &indexTitle);
    return {{u"keywords", valueOf(keywords)},
            {u"description", valueOf(description)},
            {u"title", valueOf(title)},
            {u"indexTitle", valueOf(indexTitle)}};
}

// --- Addresses -----------------------------------------------------------------------------------------------------

MaybeString normalized(std::u16string_view value, bool convertPercentEscapes) {
    return normalizedStringURL(value, convertPercentEscapes ? PercentEscapes::decode : PercentEscapes::keep);
}

MaybeString normalizedKeepingEscapes(std::u16string_view value) {
    return normalizedStringURL(value);
}

Value baseOf(std::optional<std::u16string_view> href) {
    return href ? valueOf(baseURL(*href)) : Value();
}

Value baseOfPage(std::u16string_view html) {
    return valueOf(htmlBaseURL(html));
}

bool isMarkupType(std::u16string_view type) {
    return isMarkupMIMEType(type);
}

MaybeString metaKeywords(std::u16string_view html) {
    return htmlMetaKeywords(html);
}

constexpr auto kOperations = std::to_array<Operation>({
    method<links>("htmlLinksBaseURL:", "string"),
    method<linksWithHandler>("htmlLinksBaseURL:handler:context:", "string handler context"),
    method<linksContaining>("htmlLinksContaining:useRelNoFollow:baseURL:", "string containing useRelNoFollow"),
    method<links>("filteredHtmlLinksBaseURL:", "string"),
    method<linksWithHandler>("filteredHtmlLinksBaseURL:handler:context:", "string handler context"),
    method<linksContaining>("filteredHtmlLinksContaining:useRelNoFollow:baseURL:", "string containing useRelNoFollow"),
    method<framesAndBase<FrameLinks::exclude>>("htmlFramesBaseURL:", "string"),
    method<framesSetAndBase<FrameLinks::exclude>>("htmlFramesSet:baseURL:", "string"),
    method<framesAndAll<FrameLinks::exclude>>("htmlFramesSet:baseURL:favIcon:title:refresh:robots:revisit:isFeed:",
                                              "string"),
    method<framesAndBase<FrameLinks::include>>("htmlLinksAndFramesBaseURL:", "string"),
    method<framesSetAndBase<FrameLinks::include>>("htmlLinksAndFramesSet:baseURL:", "string"),
    method<framesAndAll<FrameLinks::include>>(
        "htmlLinksAndFramesSet:baseURL:favIcon:title:refresh:robots:revisit:isFeed:", "string"),
    function<linksMatching>("htmlLinksMatching", "document matchFunction matchContext useRelNoFollow"),
    function<frames>("getHtmlFrames", "document includeLinks"),
    method<htmlFavIcon>("htmlFavIcon", "string"),
    method<sortedImages>("htmlImages", "string"),
    method<sortedSheets>("htmlStylesheetsAndScripts", "string"),
    method<sortedObjects>("htmlEmbeddedObjects", "string"),
    method<htmlTitle>("htmlTitle", "string"),
    method<normalizedHtmlTitle>("normalizedHtmlTitle", "string"),
    method<htmlMetaAttributes>("htmlMetaAttributes", "string"),
    method<htmlMetaAttributesByConvertingEntitiesToCharacters>("htmlMetaAttributesByConvertingEntitiesToCharacters",
                                                               "string"),
    method<metaWithName>("htmlMetaAttributeWithName:", "string name"),
    method<metaHttpEquiv>("htmlMetaHTTPEquiv:", "string value"),
    method<htmlMetaTitle>("htmlMetaTitle", "string"),
    method<htmlMetaIndexTitle>("htmlMetaIndexTitle", "string"),
    method<metaKeywords>("htmlMetaKeywords", "string"),
    method<htmlMetaDescription>("htmlMetaDescription", "string"),
    method<htmlMetaDate>("htmlMetaDate", "string"),
    method<htmlMetaAuthor>("htmlMetaAuthor", "string"),
    method<htmlMetaCopyright>("htmlMetaCopyright", "string"),
    method<htmlMetaRefresh>("htmlMetaRefresh", "string"),
    method<metaOfSearch>("htmlMetaKeywords:description:title:indexTitle:", "string"),
    method<htmlDate>("htmlDate", "string"),
    method<htmlCanonicalURL>("htmlCanonicalURL", "string"),
    method<baseOfPage>("htmlBaseURL", "string"),
    method<stringBySettingBaseURL>("stringBySettingBaseURL:", "string url"),
    method<stringByAddingBaseURL>("stringByAddingBaseURL:", "string url"),
    method<revisitAfter>("revisitAfter", "string"),
    method<normalized>("normalizedStringURL:", "string convertPercentEscapes"),
    method<normalizedKeepingEscapes>("normalizedStringURL", "string"),
    method<normalizedRelLink>("normalizedRelLink", "string"),
    method<filterLink>("filterLink", "string"),
    function<baseOf>("baseURL", "string"),
    method<isMarkupType>("isMarkupMIMEType", "string"),
});

}  // namespace

std::span<const Operation> pageOperations() {
    return kOperations;
}

}  // namespace halden::operations
