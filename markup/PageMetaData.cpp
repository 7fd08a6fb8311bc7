#include "markup/PageMetaData.h"

#include "foundation/StringTrimming.h"
#include "foundation/StringWhiteSpace.h"
#include "foundation/Strings.h"
#include "markup/Entities.h"
#include "markup/Html2Text.h"
#include "markup/PageTags.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

void appendValue(std::optional<std::u16string>& values, std::u16string_view value) {
    if (!values) {
        values.emplace(value);
    } else {
        values->append(u" ").append(value);
    }
}

// --- Title ---------------------------------------------------------------------------------------------------------

bool RetrieveTitleHandler(const Tag& tag, void* context) {
    if (keyOfTag(tag) == "body"_tag) return true;
    if (!isClosingTitle(tag)) return false;
    *static_cast<std::u16string*>(context) = tag.text();
    return true;
}

// --- All meta elements ---------------------------------------------------------------------------------------------

std::u16string cleanedContent(std::u16string content) {
    content = stringByConvertingEntitiesToCharacters(std::move(content));
    const bool hasMarkup = content.find_first_of(u"<>") != std::u16string::npos;
    return hasMarkup ? stringByRemovingMultipleFeeds(stringByConvertingHtml2PlainText(std::move(content)))
                     : stringByRemovingMultipleSpacesAndFeeds(std::move(content), CollapsedSet::white);
}

enum class Contents : bool { raw, converted };

bool retrieveMetaData(const Tag& tag, Dictionary& attributes, Contents contents) {
    const TagNameKey name = keyOfTag(tag);
    if (name == "body"_tag) return true;
    if (name != "meta"_tag) return false;
    const std::optional<std::u16string> attribute = attributeOf(tag, "NAME");
    std::optional<std::u16string> content = contentOf(tag);
    if (!attribute || !content) return false;
    if (contents == Contents::converted) content = cleanedContent(*std::move(content));
    const std::u16string key = lowercaseString(*attribute);
    if (Value* present = attributes.find(key)) {
        present->as<std::u16string>()->append(u" ").append(*content);
    } else {
        attributes.set(key, Value(*std::move(content)));
    }
    return false;
}

bool RetrieveMetaDataHandler(const Tag& tag, void* context) {
    return retrieveMetaData(tag, *static_cast<Dictionary*>(context), Contents::raw);
}

bool RetrieveConvertedMetaDataHandler(const Tag& tag, void* context) {
    return retrieveMetaData(tag, *static_cast<Dictionary*>(context), Contents::converted);
}

// --- One of them ---------------------------------------------------------------------------------------------------

struct MetaAttribute {
    std::string_view attribute;  ///< NAME or HTTP-EQUIV
    std::u16string_view wanted;
    std::u16string_view alternative;
    std::optional<std::u16string> result;
};

bool RetrieveMetaAttributeHandler(const Tag& tag, void* context) {
    auto& meta = *static_cast<MetaAttribute*>(context);
    const TagNameKey name = keyOfTag(tag);
    if (name == "body"_tag) return true;
    if (name != "meta"_tag) return false;
    const std::optional<std::u16string> value = attributeOf(tag, meta.attribute);
    if (!value) return false;
    const auto is = [&](std::u16string_view wanted) {
        return !wanted.empty() && fastCaseInsensitiveCompareUnichars(*value, wanted) == 0;
    };
    if (!is(meta.wanted) && !is(meta.alternative)) return false;
    if (const auto content = contentOf(tag)) appendValue(meta.result, *content);
    return false;
}

std::optional<std::u16string> metaAttribute(std::u16string_view html, std::string_view attribute,
                                            std::u16string_view wanted, std::u16string_view alternative = {}) {
    MetaAttribute meta{.attribute = attribute, .wanted = wanted, .alternative = alternative, .result = std::nullopt};
    GetTagsOfString(html, RetrieveMetaAttributeHandler, &meta);
    return std::move(meta.result);
}

// --- Keywords, description, title ----------------------------------------------------------------------------------

struct KeywordsDescriptionTitle {
    std::optional<std::u16string> keywords, dcKeywords, description, dcDescription, title, dcTitle, indexTitle;
};

void takeMeta(KeywordsDescriptionTitle& found, const Tag& tag) {
    const std::optional<std::u16string> name = attributeOf(tag, "NAME");
    if (!name) return;
    const struct {
        std::string_view name;
        std::optional<std::u16string>& slot;
        bool collects;  // every content, or the first only
    } slots[] = {
        {"keywords", found.keywords, true},
        {"dc.keywords", found.dcKeywords, true},
        {"description", found.description, true},
        {"dc.description", found.dcDescription, true},
        {"title", found.title, false},
        {"dc.title", found.dcTitle, false},
        {"IndexTitle", found.indexTitle, false},
    };
    const auto slot = std::ranges::find_if(slots, [&](const auto& s) { return equalsNoCase(*name, s.name); });
    if (slot == std::end(slots) || (slot->slot && !slot->collects)) return;
    if (const auto content = contentOf(tag)) appendValue(slot->slot, *content);
}

bool RetrieveKeywordsDescriptionTitleHandler(const Tag& tag, void* context) {
    auto& found = *static_cast<KeywordsDescriptionTitle*>(context);
    if (keyOfTag(tag) == "meta"_tag) {
        takeMeta(found, tag);
    } else if (!found.title && isClosingTitle(tag)) {
        found.title.emplace(tag.text());
    }
    return false;
}

// --- Date ----------------------------------------------------------------------------------------------------------

bool isDateName(std::u16string_view name) {
    static constexpr std::string_view kNames[] = {"date", "pdate", "updated", "dategen", "displaydate"};
    static constexpr std::string_view kBeginnings[] = {"date.", "dc.date"};
    static constexpr std::string_view kEndings[] = {"_date", "pubDate", "publicationDate", "publishDate"};
    return std::ranges::any_of(kNames, [&](std::string_view word) { return equalsNoCase(name, word); }) ||
           std::ranges::any_of(kBeginnings, [&](std::string_view word) { return beginsNoCase(name, word); }) ||
           std::ranges::any_of(kEndings, [&](std::string_view word) { return endsNoCase(name, word); });
}

bool RetrieveDateHandler(const Tag& tag, void* context) {
    const TagNameKey key = keyOfTag(tag);
    if (key == "body"_tag) return true;
    if (key != "meta"_tag) return false;
    const std::optional<std::u16string> name = attributeOf(tag, "NAME");
    if (!name || !isDateName(*name)) {
        const std::optional<std::u16string> equivalent = attributeOf(tag, "HTTP-EQUIV");
        if (!equivalent || !equalsNoCase(*equivalent, "last-modified")) return false;
    }
    auto& date = *static_cast<std::optional<std::u16string>*>(context);
    date = contentOf(tag);
    return date.has_value();
}

}  // namespace

std::u16string htmlTitle(std::u16string_view html) {
    std::u16string title;
    GetTagsOfString(html, RetrieveTitleHandler, &title);
    return title;
}

std::u16string normalizedHtmlTitle(std::u16string_view html) {
    std::u16string title = htmlTitle(html);
    if (title.empty()) return title;
    return stringByTrimmingWhiteSpaces(stringByConvertingEntitiesToCharacters(std::move(title)));
}

Dictionary htmlMetaAttributes(std::u16string_view html) {
    Dictionary attributes;
    GetTagsOfString(html, RetrieveMetaDataHandler, &attributes);
    return attributes;
}

Dictionary htmlMetaAttributesByConvertingEntitiesToCharacters(std::u16string_view html) {
    Dictionary attributes;
    GetTagsOfString(html, RetrieveConvertedMetaDataHandler, &attributes);
    return attributes;
}

std::optional<std::u16string> htmlMetaAttributeWithName(std::u16string_view html, std::u16string_view name) {
    return metaAttribute(html, "NAME", name);
}

std::optional<std::u16string> htmlMetaHTTPEquiv(std::u16string_view html, std::u16string_view value) {
    return metaAttribute(html, "HTTP-EQUIV", value);
}

std::optional<std::u16string> htmlMetaTitle(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"title", u"dc.title");
}

std::optional<std::u16string> htmlMetaIndexTitle(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"IndexTitle");
}

std::optional<std::u16string> htmlMetaKeywords(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"keywords", u"dc.keywords");
}

std::optional<std::u16string> htmlMetaDescription(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"description", u"dc.description");
}

std::optional<std::u16string> htmlMetaDate(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"date", u"dc.date");
}

std::optional<std::u16string> htmlMetaAuthor(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"author", u"dc.author");
}

std::optional<std::u16string> htmlMetaCopyright(std::u16string_view html) {
    return metaAttribute(html, "NAME", u"copyright", u"dc.rights");
}

std::optional<std::u16string> htmlMetaRefresh(std::u16string_view html) {
    return metaAttribute(html, "HTTP-EQUIV", u"refresh");
}

void htmlMetaKeywords(std::u16string_view html, std::optional<std::u16string>* keywords,
                      std::optional<std::u16string>* description, std::optional<std::u16string>* title,
                      std::optional<std::u16string>* indexTitle) {
    if (keywords == nullptr && description == nullptr && title == nullptr && indexTitle == nullptr) return;
    KeywordsDescriptionTitle found;
    GetTagsOfString(html, RetrieveKeywordsDescriptionTitleHandler, &found);
    if (keywords != nullptr) *keywords = found.dcKeywords ? found.dcKeywords : found.keywords;
    if (description != nullptr) *description = found.dcDescription ? found.dcDescription : found.description;
    if (title != nullptr) *title = found.dcTitle ? found.dcTitle : found.title;
    if (indexTitle != nullptr) *indexTitle = found.indexTitle;
}

std::optional<std::u16string> htmlDate(std::u16string_view html) {
    std::optional<std::u16string> date;
    GetTagsOfString(html, RetrieveDateHandler, &date);
    return date;
}

double revisitAfter(std::u16string_view value) {
    const double number = floatValue(value);
    if (!(number > 0)) return 0;
    constexpr double kHour = 3600, kDay = 86400, kWeek = 604800;
    if (containsNoCase(value, "hour")) return number * kHour;
    if (containsNoCase(value, "day")) return number * kDay;
    return containsNoCase(value, "week") ? number * kWeek : number;
}

}  // namespace halden
