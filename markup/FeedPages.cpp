// Feeds and their items as pages.
#include "foundation/Characters.h"
#include "foundation/Data.h"
#include "foundation/DateText.h"
#include "foundation/Path.h"
#include "foundation/Strings.h"
#include "foundation/Unicode.h"
#include "foundation/UserDefaults.h"
#include "markup/Feeds.h"
#include "markup/Stripping.h"

namespace halden {
namespace {

// --- Style sheets --------------------------------------------------------------------------------------------------

constexpr std::u16string_view kStyleSheetKey = u"linkableFeedStyleSheet";

/// How pages have referred to files since before the host could be left out.
std::u16string localURLOfFile(std::u16string_view path) {
    const std::optional<Url> url = fileURLWithPath(path);
    if (!url) return {};
    constexpr std::u16string_view kLocal = u"file:///";
    std::u16string string = url->absoluteString();
    if (string.starts_with(kLocal)) string.insert(kLocal.size() - 1, u"localhost");
    return string;
}

std::optional<std::u16string> contentsOfStyleSheet() {
    constexpr std::size_t kLargestSheet = std::size_t{16} << 20;
    const std::optional<std::string> path = pathBytesFromString(linkableFeedStyleSheet());
    const std::optional<Data> data = path ? Data::contentsOfFile(*path, kLargestSheet) : std::nullopt;
    return data ? strictUtf16FromUtf8(data->view()) : std::nullopt;
}

std::u16string inlinedStyle(std::u16string_view sheet) {
    return u"<style type=\"text/css\"><!--" + std::u16string(sheet) + u"--></style>\n";
}

// --- Items ---------------------------------------------------------------------------------------------------------

std::u16string_view stringOf(const Dictionary& item, std::u16string_view key) {
    const Value* value = item.find(key);
    const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
    return string != nullptr ? std::u16string_view(*string) : std::u16string_view();
}

std::u16string dateLineOf(const FeedItemText& item) {
    std::u16string line;
    if (!item.date.empty()) {
        const std::optional<Date> date = dateFromString(item.date);
        line = date ? stringFromDate(*date) : std::u16string(item.date);
    }
    if (item.author.empty()) return line;
    return line.empty() ? std::u16string(item.author) : std::u16string(item.author) + u" - " + line;
}

std::u16string articleOf(const FeedItemText& item) {
    std::u16string text(item.content.empty() ? item.description : item.content);
    return stripTag(stripTag(std::move(text), "IFRAME"), "SPAN");
}

void appendEnclosure(std::u16string& output, const Dictionary& enclosure) {
    const std::u16string_view url = stringOf(enclosure, u"url");
    const std::u16string_view length = stringOf(enclosure, u"length");
    output.append(u"<a class=\"feed_enclosure\" href=\"").append(url).append(u"\">");
    output.append(lastPathComponent(url)).append(u"</a>");
    if (integerValue(length) >= 1) {
        output.append(u"&nbsp;(").append(length);
        output.append(characterPartOfSet(length, &alphaCharacterSetRep()) ? u")" : u" bytes)");
    }
    output.append(u"<br/>\n");
}

void appendEnclosures(std::u16string& output, std::span<const Value> enclosures) {
    output.append(u"<div class=\"feed_enclosures\"><p>\n");
    for (const Value& enclosure : enclosures) {
        if (const auto* entries = enclosure.as<Dictionary>()) appendEnclosure(output, *entries);
    }
    output.append(u"</p></div>\n</div>\n");
}

constexpr std::u16string_view kEndOfHead = u"</head>\n<body>\n";
constexpr std::u16string_view kEndOfPage = u"\n</body>\n</html>";

HeadStyle headStyleFor(ItemForm form) {
    return form == ItemForm::display ? HeadStyle::styled : HeadStyle::plain;
}

}  // namespace

void setLinkableFeedStyleSheet(std::u16string path) {
    UserDefaults::standardUserDefaults().setObject(std::u16string(kStyleSheetKey), Value(std::move(path)));
}

std::u16string linkableFeedStyleSheet() {
    const Value* path = UserDefaults::standardUserDefaults().objectForKey(kStyleSheetKey);
    const auto* string = path != nullptr ? path->as<std::u16string>() : nullptr;
    return string != nullptr ? *string : std::u16string();
}

void CreateFeedHead(std::u16string& output, StyleSheet linked, HeadStyle style) {
    output.append(u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n");
    if (style == HeadStyle::plain || linkableFeedStyleSheet().empty()) return;
    if (linked == StyleSheet::linked) {
        const std::u16string url = localURLOfFile(linkableFeedStyleSheet());
        output.append(u"<link rel=\"stylesheet\" type=\"text/css\" href=\"").append(url).append(u"\"/>\n");
    } else if (const auto sheet = contentsOfStyleSheet()) {
        output.append(inlinedStyle(*sheet));
    }
}

void AppendItem2Feed(std::u16string& output, const FeedItemText& item) {
    const std::u16string dateLine = dateLineOf(item);
    output.append(u"\n<div class=\"feed_header\">");
    if (item.link.empty()) {
        output.append(item.title);
    } else {
        output.append(u"<a class=\"feed_link\" href=\"").append(item.link).append(u"\">");
        output.append(item.title).append(u"</a>");
    }
    output.append(u"<br/>");
    if (!dateLine.empty()) output.append(u"<font class=\"feed_date\">").append(dateLine).append(u"</font>");
    output.append(u"</div><div class=\"feed_article\">\n").append(articleOf(item)).append(u"\n");
    if (item.enclosures.empty()) {
        output.append(u"</div>\n");
    } else {
        appendEnclosures(output, item.enclosures);
    }
}

void AppendDictionary2Feed(std::u16string& output, const Dictionary& item, ItemForm form) {
    FeedItemText text{.title = stringOf(item, u"title"),
                      .content = stringOf(item, u"content"),
                      .description = stringOf(item, u"description"),
                      .link = stringOf(item, u"link"),
                      .date = {},
                      .author = {},
                      .enclosures = {}};
    if (form == ItemForm::display) {
        text.date = stringOf(item, u"date");
        text.author = stringOf(item, u"author");
        const Value* enclosures = item.find(u"enclosures");
        if (const auto* array = enclosures != nullptr ? enclosures->as<Array>() : nullptr) text.enclosures = *array;
    }
    AppendItem2Feed(output, text);
}

std::u16string stringByConvertingItemToHTML(const Dictionary& item, ItemForm form, StyleSheet styleSheet) {
    std::u16string page;
    CreateFeedHead(page, styleSheet, headStyleFor(form));
    const std::u16string_view author = stringOf(item, u"author");
    if (!author.empty()) page.append(u"<meta name=\"author\" content=\"").append(author).append(u"\"/>");
    page.append(kEndOfHead);
    AppendDictionary2Feed(page, item, form);
    return page.append(kEndOfPage);
}

std::u16string stringByConvertingItemToSearchableHTML(const Dictionary& item) {
    return stringByConvertingItemToHTML(item, ItemForm::searchable, StyleSheet::inlined);
}

std::u16string stringByConvertingItemToDisplayHTML(const Dictionary& item, StyleSheet styleSheet) {
    return stringByConvertingItemToHTML(item, ItemForm::display, styleSheet);
}

std::u16string stringByConvertingItemsToHTML(std::span<const Dictionary> items, ItemForm form) {
    std::u16string page;
    CreateFeedHead(page, form == ItemForm::display ? StyleSheet::linked : StyleSheet::inlined, headStyleFor(form));
    page.append(kEndOfHead);
    for (const Dictionary& item : items)
        AppendDictionary2Feed(page, item, form);
    return page.append(kEndOfPage);
}

std::u16string stringByConvertingItemsToSearchableHTML(std::span<const Dictionary> items) {
    return stringByConvertingItemsToHTML(items, ItemForm::searchable);
}

std::u16string stringByConvertingItemsToDisplayHTML(std::span<const Dictionary> items) {
    return stringByConvertingItemsToHTML(items, ItemForm::display);
}

std::u16string stringByReplacingLinkedStyleSheet(std::u16string page) {
    constexpr std::u16string_view kStart = u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/";
    constexpr std::u16string_view kEnd = u".feeds.stylesheet.css\"/>";
    const std::size_t start = page.find(kStart);
    if (start == std::u16string::npos) return page;
    const std::size_t end = page.find(kEnd, start + kStart.size());
    if (end == std::u16string::npos) return page;
    page.erase(start, end + kEnd.size() - start);
    if (const auto sheet = contentsOfStyleSheet()) page.insert(start, inlinedStyle(*sheet));
    return page;
}

}  // namespace halden
