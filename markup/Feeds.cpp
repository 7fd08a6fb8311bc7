#include "markup/Feeds.h"

#include "foundation/DateText.h"
#include "foundation/FilteredComparison.h"
#include "foundation/StringTrimming.h"
#include "markup/Entities.h"
#include "markup/PageTags.h"
#include "markup/Stripping.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace halden {
namespace {

using Field = std::optional<std::u16string>;

bool is(const Tag& tag, std::string_view name) {
    return equalsNoCase(tag.name(), name);
}

bool isRoot(const Tag& tag) {
    return is(tag, "rss") || is(tag, "feed") || is(tag, "rdf:rdf");
}

/// End tags and self-closing tags, of four units or more.
bool isClosing(const Tag& tag) {
    const std::u16string_view text = tag.tag();
    return text.size() >= 4 && (text[1] == u'/' || text[text.size() - 2] == u'/');
}

// --- Detection -----------------------------------------------------------------------------------------------------

struct Detection {
    bool isFeed = false;
    bool isComplete = false;
};

bool isRootOfPage(const Tag& tag) {
    const TagNameKey key = keyOfTag(tag);
    return key == "html"_tag || key == "head"_tag || key == "body"_tag;
}

bool RetrieveFeedHandler(const Tag& tag, void* context) {
    if (!isRoot(tag)) return isRootOfPage(tag);
    static_cast<Detection*>(context)->isFeed = true;
    return true;
}

bool RetrieveCompleteFeedHandler(const Tag& tag, void* context) {
    auto& detection = *static_cast<Detection*>(context);
    if (!isRoot(tag)) return isRootOfPage(tag);
    detection.isFeed = true;
    detection.isComplete = isClosing(tag);
    return detection.isComplete;
}

// --- Links ---------------------------------------------------------------------------------------------------------

/// An aggregator's redirection, from which the address of the page itself is taken.
constexpr std::string_view kRedirection = "http://news.google.com/news/url?";

std::u16string unwrappedLink(std::u16string link) {
    constexpr std::string_view kQuotedAnchor = "<a href=\"";
    constexpr std::string_view kAnchor = "<a href=";
    const auto upTo = [&](std::size_t start, std::size_t end) {
        return link.substr(start, end == std::u16string::npos ? end : end - start);
    };
    if (beginsNoCase(link, kRedirection)) {
        constexpr std::u16string_view kTarget = u"&url=http";
        const std::size_t target = link.find(kTarget);
        if (target == std::u16string::npos) return link;
        const std::size_t start = target + kTarget.size() - 4;
        return upTo(start, link.find(u"&cid=", start));
    }
    if (beginsNoCase(link, kQuotedAnchor)) return upTo(kQuotedAnchor.size(), link.find(u'"', kQuotedAnchor.size()));
    if (beginsNoCase(link, kAnchor)) {
        std::size_t end = link.find(u' ', kAnchor.size());
        if (end == std::u16string::npos) end = link.find(u'>', kAnchor.size());
        if (end != std::u16string::npos) return upTo(kAnchor.size(), end);
    }
    return link;
}

// --- The scan ------------------------------------------------------------------------------------------------------

struct FeedScan {
    const Url* feedURL = nullptr;
    std::size_t contentStart = kNotFound;
    std::size_t descriptionStart = kNotFound;
    std::u16string* output = nullptr;          ///< a null pointer when items are extracted
    std::vector<Dictionary>* items = nullptr;  ///< a null pointer when the feed is rendered
    Array tags{};
    Array enclosures{};
    Field title{};
    Field date{};
    Field link{};
    Field description{};
    Field pending{};  ///< the text of a CDATA section
    Field content{};
    Field author{};
    bool inItem = false;
    bool headClosed = false;
    bool rootSeen = false;
    bool inAuthor = false;
    bool contentIsHtml = false;

    void write(std::u16string_view text) {
        if (output != nullptr) output->append(text);
    }
    void closeHead() {
        if (!headClosed) write(u"</head>\n<body>\n");
        headClosed = true;
    }
    /// The pending text, else that of the range, becomes the field's, if it has none.
    void fill(Field& field, std::u16string_view range, FeedEntities entities) {
        if (!field) field = pending ? pending : GetFeedContent(range, entities);
    }
    void fillFrom(Field& field, std::size_t start, const Tag& tag) {
        if (start == kNotFound && !pending) return;
        const std::size_t from = start == kNotFound ? tag.tagLocation : start;
        const std::size_t length = from < tag.tagLocation ? tag.tagLocation - from : 0;
        fill(field, tag.characters.substr(from, length), FeedEntities::all);
    }
    void release();
};

/// `ReleaseFeedContext`: the next item begins with nothing, and inside the items still.
void FeedScan::release() {
    for (Field* field : {&title, &date, &link, &description, &pending, &content, &author})
        field->reset();
    tags.clear();
    enclosures.clear();
    contentStart = kNotFound;
    descriptionStart = kNotFound;
    inAuthor = false;
    contentIsHtml = false;
}

Field standardAttribute(const Tag& tag, std::string_view name) {
    Field value = attributeOf(tag, name);
    if (value) value = stringByConvertingStandardEntitiesToCharacters(*std::move(value));
    return value;
}

// --- Outside items -------------------------------------------------------------------------------------------------

void takePageTitle(FeedScan& scan, const Tag& tag) {
    const Field title = GetFeedContent(tag.text(), FeedEntities::all);
    if (title) {
        scan.write(u"<title>" + *title +
                   u"</title>\n</head>\n<body><div class=\"page_header\"><div class=\"page_title\"><nobr>" + *title +
                   u"</nobr></div></div>\n");
    } else {
        scan.write(u"</head>\n<body>\n");
    }
    scan.headClosed = true;
}

/// Returns whether the scan ends.
bool takeTagOutsideItems(FeedScan& scan, const Tag& tag) {
    if (!scan.rootSeen) {
        scan.rootSeen = isRoot(tag);
        return is(tag, "html") || is(tag, "body");
    }
    if (is(tag, "item") || is(tag, "entry")) {
        scan.inItem = true;
    } else if (!scan.headClosed && isClosingTitle(tag)) {
        takePageTitle(scan, tag);
    }
    return false;
}

// --- Inside items --------------------------------------------------------------------------------------------------

/// The text of a section: behind its keyword and "[", up to "]]>".
void takeSection(FeedScan& scan, const Tag& tag) {
    std::u16string_view text = tag.tag();
    constexpr std::size_t kStart = 3;  // <![
    const std::size_t open = text.find(u'[', kStart);
    if (open == std::u16string_view::npos) return;
    text.remove_prefix(open + 1);
    for (const std::u16string_view end : {u"]]>", u"]>"}) {
        if (!text.ends_with(end)) continue;
        text.remove_suffix(end.size());
        break;
    }
    scan.pending = GetFeedContent(text, scan.contentIsHtml ? FeedEntities::none : FeedEntities::standard);
}

void takeLinkAddress(FeedScan& scan, const Tag& tag) {
    if (scan.link) return;
    const Field relation = attributeOf(tag, "REL");
    if (relation &&
        (beginsNoCase(*relation, "service.") || equalsNoCase(*relation, "edit") || equalsNoCase(*relation, "self"))) {
        return;
    }
    scan.link = standardAttribute(tag, "HREF");
}

void takeGuid(FeedScan& scan, const Tag& tag) {
    const Field isPermaLink = attributeOf(tag, "ISPERMALINK");
    if (isPermaLink && equalsNoCase(*isPermaLink, "false")) return;
    Field guid = GetFeedContent(tag.text(), FeedEntities::standard);
    if (guid && isRemoteWebKitStringURL(*guid)) scan.link = std::move(guid);
}

void takeCategory(FeedScan& scan, const Tag& tag) {
    Field category = standardAttribute(tag, "TERM");
    if (!category) scan.fill(category, tag.text(), FeedEntities::all);
    if (category) scan.tags.emplace_back(*std::move(category));
}

void takeEnclosure(FeedScan& scan, const Tag& tag) {
    Field url = standardAttribute(tag, "URL");
    if (!url) return;
    Dictionary enclosure{{u"url", Value(*std::move(url))}};
    if (Field length = attributeOf(tag, "LENGTH")) enclosure.set(u"length", Value(*std::move(length)));
    scan.enclosures.emplace_back(std::move(enclosure));
}

Dictionary itemOf(FeedScan& scan) {
    const auto valueOf = [](Field& field) { return Value(std::move(field).value_or(u"")); };
    const std::optional<Date> date = scan.date ? dateFromString(*scan.date) : std::nullopt;
    Dictionary item{{u"title", valueOf(scan.title)},
                    {u"description", valueOf(scan.description)},
                    {u"content", valueOf(scan.content)},
                    {u"author", valueOf(scan.author)},
                    {u"date", valueOf(scan.date)}};
    if (date) item.set(u"calendarDate", Value(*date));
    item.set(u"link", valueOf(scan.link));
    if (!scan.tags.empty()) item.set(u"tags", Value(std::move(scan.tags)));
    if (!scan.enclosures.empty()) item.set(u"enclosures", Value(std::move(scan.enclosures)));
    return item;
}

void completeItem(FeedScan& scan) {
    // What a careless template writes in place of a description.
    if (scan.description == u"Array") {
        scan.release();
        return;
    }
    if (scan.link && scan.link->starts_with(u'/') && scan.feedURL != nullptr) {
        if (const auto url = URLRelativeTo(*scan.link, *scan.feedURL)) scan.link = url->absoluteString();
    }
    if (scan.link) scan.link = unwrappedLink(*std::move(scan.link));
    const auto viewOf = [](const Field& field) { return field ? std::u16string_view(*field) : std::u16string_view(); };
    if (scan.output != nullptr) {
        AppendItem2Feed(*scan.output, {.title = viewOf(scan.title),
                                       .content = viewOf(scan.content),
                                       .description = viewOf(scan.description),
                                       .link = viewOf(scan.link),
                                       .date = viewOf(scan.date),
                                       .author = viewOf(scan.author),
                                       .enclosures = scan.enclosures});
    } else {
        scan.items->push_back(itemOf(scan));
    }
    scan.release();
}

void takeAuthor(FeedScan& scan, const Tag& tag) {
    if (!scan.inAuthor) return;
    scan.inAuthor = false;
    scan.fill(scan.author, tag.text(), FeedEntities::all);
}

void takeClosingTag(FeedScan& scan, const Tag& tag) {
    static constexpr std::string_view kDates[] = {"ISSUED", "DC:DATE", "PUBDATE", "UPDATED", "PUBLISHED"};
    scan.closeHead();
    if (is(tag, "ITEM") || is(tag, "ENTRY")) {
        completeItem(scan);
    } else if (is(tag, "TITLE")) {
        scan.fill(scan.title, tag.text(), FeedEntities::all);
    } else if (is(tag, "SUMMARY")) {
        scan.fill(scan.description, tag.text(), FeedEntities::all);
    } else if (is(tag, "DC:CREATOR")) {
        scan.fill(scan.author, tag.text(), FeedEntities::all);
    } else if (is(tag, "CONTENT:ENCODED")) {
        scan.fill(scan.content, tag.text(), FeedEntities::all);
    } else if (is(tag, "AUTHOR") || is(tag, "NAME")) {
        takeAuthor(scan, tag);
    } else if (std::ranges::any_of(kDates, [&](std::string_view name) { return is(tag, name); })) {
        scan.fill(scan.date, tag.text(), FeedEntities::standard);
    } else if (is(tag, "CONTENT")) {
        scan.fillFrom(scan.content, scan.contentStart, tag);
    } else if (is(tag, "DESCRIPTION")) {
        scan.fillFrom(scan.description, scan.descriptionStart, tag);
    } else if (is(tag, "CATEGORY")) {
        takeCategory(scan, tag);
    } else if (is(tag, "ENCLOSURE")) {
        takeEnclosure(scan, tag);
    } else if (is(tag, "LINK") && formOfTag(tag.tag()) == TagForm::end) {
        scan.fill(scan.link, tag.text(), FeedEntities::standard);
    }
    scan.pending.reset();
}

void takeOpeningTag(FeedScan& scan, const Tag& tag) {
    const std::size_t behind = tag.tagLocation + tag.tag().size();
    if (is(tag, "AUTHOR")) {
        scan.inAuthor = formOfTag(tag.tag()) == TagForm::start;
    } else if (is(tag, "CONTENT")) {
        scan.contentStart = behind;
        const Field type = attributeOf(tag, "TYPE");
        if (type && equalsNoCase(*type, "html")) scan.contentIsHtml = true;
    } else if (is(tag, "DESCRIPTION")) {
        scan.descriptionStart = behind;
    }
}

bool Feed2HTMLHandler(const Tag& tag, void* context) {
    auto& scan = *static_cast<FeedScan*>(context);
    if (tag.kind == TagKind::end) return false;
    if (!scan.inItem) return takeTagOutsideItems(scan, tag);
    if (tag.kind == TagKind::meta) takeSection(scan, tag);
    if (tag.nameLength == 0) return false;
    if (is(tag, "link")) takeLinkAddress(scan, tag);
    if (is(tag, "guid")) takeGuid(scan, tag);
    if (isClosing(tag)) takeClosingTag(scan, tag);
    if (isOpeningTag(tag)) takeOpeningTag(scan, tag);
    return false;
}

}  // namespace

std::optional<std::u16string> GetFeedContent(std::u16string_view range, FeedEntities entities) {
    constexpr std::size_t kShortestDecoded = 4;
    std::u16string text(range);
    if (range.size() >= kShortestDecoded && entities == FeedEntities::all) {
        text = stringByConvertingEntitiesToCharacters(std::move(text));
    } else if (range.size() >= kShortestDecoded && entities == FeedEntities::standard) {
        text = stringByConvertingStandardEntitiesToCharacters(std::move(text));
    }
    text = stringByTrimmingSpacesAndFeeds(std::move(text), TrimmedSet::white);
    if (text.empty()) return std::nullopt;
    return text;
}

bool isFeed(std::u16string_view document) {
    Detection detection;
    GetTagsOfString(document, RetrieveFeedHandler, &detection);
    return detection.isFeed;
}

bool isFeedComplete(std::u16string_view document, bool* complete) {
    Detection detection;
    GetTagsOfString(document, RetrieveCompleteFeedHandler, &detection);
    if (complete != nullptr) *complete = detection.isComplete;
    return detection.isFeed;
}

std::vector<Dictionary> getItemsOfFeed(std::u16string_view document, const std::optional<Url>& feedURL) {
    std::vector<Dictionary> items;
    FeedScan scan{.feedURL = feedURL ? &*feedURL : nullptr, .items = &items};
    GetTagsOfString(document, Feed2HTMLHandler, &scan);
    return items;
}

std::u16string stringByConvertingFeedToDisplayHTML(std::u16string document, const std::optional<Url>& feedURL,
                                                   StyleSheet styleSheet) {
    std::u16string page;
    page.reserve(document.size());
    CreateFeedHead(page, styleSheet, HeadStyle::styled);
    FeedScan scan{.feedURL = feedURL ? &*feedURL : nullptr, .output = &page};
    GetTagsOfString(document, Feed2HTMLHandler, &scan);
    if (!scan.rootSeen) return document;
    return page.append(scan.headClosed ? u"\n</body>\n</html>" : u"\n</head>\n</html>");
}

bool isEmptyFeedItem(const Dictionary& item) {
    const auto stringOf = [&](std::u16string_view key) {
        const Value* value = item.find(key);
        const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
        return string != nullptr ? *string : std::u16string();
    };
    const std::u16string content = stringOf(u"content");
    const std::u16string text = content.empty() ? stringOf(u"description") : content;
    const std::u16string title = stringOf(u"title");
    const auto isTitle = [&](std::u16string_view string) {
        return fastCaseInsensitiveCompareUnichars(string, title) == 0;
    };
    return onlyWhiteCharacters(text) || isTitle(text) ||
           equalStringsNoCaseUsingCharacterSetRep(text, title, alphaCharacterSetRep()) ||
           isTitle(stripTag(text, "IFRAME"));
}

}  // namespace halden
