// quarry page: what a page says of itself, in this process.
#include "foundation/DateText.h"
#include "foundation/Json.h"
#include "foundation/StringTrimming.h"
#include "foundation/Unicode.h"
#include "markup/BaseElement.h"
#include "markup/Entities.h"
#include "markup/ErrorPages.h"
#include "markup/Html2Text.h"
#include "markup/LinkCleaning.h"
#include "markup/PageFrames.h"
#include "markup/PageLinks.h"
#include "markup/PageMetaData.h"
#include "markup/PageResources.h"
#include "markup/PageTags.h"
#include "markup/Reader.h"
#include "markup/UniqueStrings.h"
#include "tools/Commands.h"
#include "tools/MarkupInput.h"

namespace quarry::tools {
namespace {

using halden::Dictionary;
using halden::Value;
using MaybeString = std::optional<std::u16string>;
using MaybeUrl = std::optional<halden::Url>;

Value valueOf(const MaybeString& string) {
    return string && !string->empty() ? Value(*string) : Value();
}

MaybeString textOf(MaybeString source) {
    if (!source) return std::nullopt;
    return halden::stringByTrimmingSpacesAndFeeds(halden::stringByConvertingEntitiesToCharacters(*std::move(source)),
                                                  halden::TrimmedSet::white);
}

/// A point in time where the date can be read, else what the page says.
Value dateOf(std::u16string_view html) {
    const MaybeString string = textOf(halden::htmlDate(html));
    const auto date = string ? halden::dateFromString(*string) : std::nullopt;
    return date ? Value(*date) : valueOf(string);
}

/// The addresses as the page writes them, or, where there is a base, what they mean.
class Addresses {
public:
    explicit Addresses(MaybeUrl base) : base_(std::move(base)) {}
    [[nodiscard]] std::u16string resolved(const std::u16string& address) const {
        const auto url = base_ ? halden::URLRelativeTo(address, *base_) : std::nullopt;
        return url ? url->absoluteString() : address;
    }
    [[nodiscard]] Value value(const MaybeString& address) const {
        return address ? Value(resolved(*address)) : Value();
    }
    [[nodiscard]] Value value(const std::vector<std::u16string>& addresses) const {
        halden::UniqueStrings unique;
        for (const std::u16string& address : addresses)
            unique.insert(resolved(address));
        halden::Array array;
        for (std::u16string& address : unique.take())
            array.emplace_back(std::move(address));
        return Value(std::move(array));
    }

private:
    MaybeUrl base_;
};

bool takeFeedLink(const halden::Tag& tag, void* context) {
    using namespace halden;
    if (keyOfTag(tag) != "link"_tag || !isOpeningTag(tag)) return false;
    const MaybeString type = attributeOf(tag, "TYPE");
    if (!type || !(equalsNoCase(*type, "application/rss+xml") || equalsNoCase(*type, "application/atom+xml"))) {
        return false;
    }
    const MaybeString relation = attributeOf(tag, "REL");
    if (!relation || !containsNoCase(*relation, "alternate")) return false;
    const MaybeString address = attributeOf(tag, "HREF");
    MaybeString link = address ? normalizedStringURL(*address) : std::nullopt;
    if (link) static_cast<UniqueStrings*>(context)->insert(*std::move(link));
    return false;
}

/// The feeds that a page offers.
std::vector<std::u16string> feedLinks(std::u16string_view html) {
    halden::UniqueStrings links;
    halden::GetTagsOfString(html, takeFeedLink, &links);
    return links.take();
}

bool isErrorPage(std::u16string_view html, std::u16string_view url, std::u16string_view title) {
    constexpr halden::PlainTextOptions kBody{.entities = true, .stdEntities = true, .onlyBody = true};
    const std::u16string page(html);
    std::u16string text = halden::stringByConvertingHtml2PlainText(page, kBody);
    if (text == page && page.find(u'<') != std::u16string::npos) text.clear();  // a page without content
    text = halden::stringByTrimmingSpacesAndFeeds(std::move(text), halden::TrimmedSet::white);
    return halden::isErrorPage(url, title, text) || halden::exceededPageLoadFrequency({}, text);
}

/// What relative addresses are relative to, when the page's own address is known.
MaybeUrl baseOf(const MaybeUrl& ownBase, const MaybeUrl& url) {
    if (!url || !ownBase) return url;
    return ownBase;
}

Dictionary descriptionOf(std::u16string_view html, const std::string& address) {
    const MaybeUrl url = halden::URLWithNormalizedStringURL(halden::utf16FromUtf8(address));
    const MaybeUrl base = halden::htmlBaseURL(html);
    const Addresses addresses(baseOf(base, url));
    const std::u16string title = halden::normalizedHtmlTitle(html);
    bool isFeed = false;
    static_cast<void>(halden::getHtmlFrames(html, {.isFeed = &isFeed}));
    return {{u"title", valueOf(title)},
            {u"description", valueOf(textOf(halden::htmlMetaDescription(html)))},
            {u"date", dateOf(html)},
            {u"canonicalURL", addresses.value(halden::htmlCanonicalURL(html))},
            {u"baseURL", base ? Value(base->absoluteString()) : Value()},
            {u"favIcon", addresses.value(halden::htmlFavIcon(html))},
            {u"links", addresses.value(halden::htmlLinksBaseURL(html))},
            {u"images", addresses.value(halden::htmlImages(html))},
            {u"feeds", addresses.value(feedLinks(html))},
            {u"isFeed", Value(isFeed)},
            {u"isArticle", Value(halden::possibleArticle(html))},
            {u"isErrorPage", Value(isErrorPage(html, halden::utf16FromUtf8(address), title))}};
}

}  // namespace

Status pageCommand(const Invocation& invocation) {
    const auto html = markupOfFile(invocation.files.front());
    if (!html || html->empty()) {
        print("null\n");
        return Status::none;
    }
    print(halden::jsonFromValue(Value(descriptionOf(*html, invocation.markup.url)), {.indent = 2}) + "\n");
    return Status::result;
}

}  // namespace quarry::tools
