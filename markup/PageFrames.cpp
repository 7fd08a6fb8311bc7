#include "markup/PageFrames.h"

#include "markup/LinkCleaning.h"
#include "markup/PageResources.h"
#include "markup/PageTags.h"
#include "markup/UniqueStrings.h"

namespace halden {
namespace {

struct FrameScan {
    FrameLinks links = FrameLinks::exclude;
    bool isFeed = false;
    bool documentStarted = false;
    UniqueStrings results{};
    FrameQueries queries{};
    std::optional<Url> baseURL{};

    void takeURL(const Tag& tag, std::string_view attribute) {
        if (!isOpeningTag(tag)) return;
        const std::optional<std::u16string> value = attributeOf(tag, attribute);
        if (!value) return;
        if (auto url = normalizedStringURL(*value)) results.insert(*std::move(url));
    }

    void takeRobots(const std::u16string& content) {
        std::u16string& robots = **queries.robots;
        if (fastCaseInsensitiveCompareUnichars(content, robots) == 0) return;
        if (!robots.empty()) robots += u',';
        robots += content;
    }

    void takeMeta(const Tag& tag) {
        if (queries.refresh != nullptr) {
            const std::optional<std::u16string> equivalent = attributeOf(tag, "HTTP-EQUIV");
            if (equivalent && equalsNoCase(*equivalent, "refresh")) {
                *queries.refresh = contentOf(tag);
                return;
            }
        }
        if (queries.robots == nullptr && queries.revisit == nullptr) return;
        const std::optional<std::u16string> name = attributeOf(tag, "NAME");
        if (!name) return;
        if (queries.robots != nullptr && equalsNoCase(*name, "robots")) {
            if (const auto content = contentOf(tag)) takeRobots(*content);
        } else if (queries.revisit != nullptr && equalsNoCase(*name, "revisit-after")) {
            *queries.revisit = contentOf(tag);
        }
    }

    void takeIcon(const Tag& tag) {
        if (queries.favIcon == nullptr) return;
        if (auto icon = getFavIcon(tag)) *queries.favIcon = std::move(icon);
    }
};

bool isFeedTag(const Tag& tag, TagNameKey key) {
    return key == "rss"_tag || key == "feed"_tag || equalsNoCase(tag.name(), "rdf:rdf");
}

bool RetrieveLinksAndFramesHandler(const Tag& tag, void* context) {
    auto& scan = *static_cast<FrameScan*>(context);
    const TagNameKey key = keyOfTag(tag);
    if (key == "body"_tag || key == "html"_tag || key == "head"_tag) scan.documentStarted = true;
    if (!scan.documentStarted && isFeedTag(tag, key)) scan.isFeed = true;
    switch (key) {
        case "a"_tag:
        case "area"_tag:
            if (scan.links == FrameLinks::include) scan.takeURL(tag, "HREF");
            break;
        case "base"_tag:
            if (!isOpeningTag(tag)) break;
            if (const auto href = attributeOf(tag, "HREF")) scan.baseURL = baseURL(*href);
            break;
        case "link"_tag:
            scan.takeIcon(tag);
            break;
        case "meta"_tag:
            scan.takeMeta(tag);
            break;
        case "frame"_tag:
        case "iframe"_tag:
            scan.takeURL(tag, "SRC");
            break;
        case "title"_tag:
            if (scan.queries.title != nullptr && isClosingTitle(tag)) scan.queries.title->emplace(tag.text());
            break;
        default:
            break;
    }
    return false;
}

}  // namespace

std::vector<std::u16string> getHtmlFrames(std::u16string_view html, const FrameQueries& queries, FrameLinks links) {
    for (auto* text : {queries.title, queries.refresh, queries.revisit, queries.favIcon}) {
        if (text != nullptr) text->reset();
    }
    if (queries.robots != nullptr) queries.robots->emplace();
    FrameScan scan{.links = links, .queries = queries};
    GetTagsOfString(html, RetrieveLinksAndFramesHandler, &scan);
    if (queries.set != nullptr) *queries.set = false;
    if (queries.isFeed != nullptr) *queries.isFeed = scan.isFeed;
    if (queries.baseURL != nullptr) *queries.baseURL = std::move(scan.baseURL);
    return scan.results.take();
}

std::vector<std::u16string> htmlFramesBaseURL(std::u16string_view html, std::optional<Url>* baseURL) {
    return getHtmlFrames(html, {.baseURL = baseURL});
}

std::vector<std::u16string> htmlFramesSet(std::u16string_view html, bool* set, std::optional<Url>* baseURL) {
    return getHtmlFrames(html, {.set = set, .baseURL = baseURL});
}

std::vector<std::u16string> htmlFramesSet(std::u16string_view html, const FrameQueries& queries) {
    return getHtmlFrames(html, queries);
}

std::vector<std::u16string> htmlLinksAndFramesBaseURL(std::u16string_view html, std::optional<Url>* baseURL) {
    return getHtmlFrames(html, {.baseURL = baseURL}, FrameLinks::include);
}

std::vector<std::u16string> htmlLinksAndFramesSet(std::u16string_view html, bool* set, std::optional<Url>* baseURL) {
    return getHtmlFrames(html, {.set = set, .baseURL = baseURL}, FrameLinks::include);
}

std::vector<std::u16string> htmlLinksAndFramesSet(std::u16string_view html, const FrameQueries& queries) {
    return getHtmlFrames(html, queries, FrameLinks::include);
}

}  // namespace halden
