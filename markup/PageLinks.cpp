#include "markup/PageLinks.h"

#include "markup/LinkCleaning.h"
#include "markup/PageTags.h"

#include <unordered_set>

namespace halden {
namespace {

struct LinkScan {
    bool filters = false;  ///< every entry point leaves it off
    RelNoFollow relNoFollow = RelNoFollow::ignore;
    std::optional<std::u16string> anchorText{};
    LinkMatch match = nullptr;
    const void* matchContext = nullptr;
    std::optional<std::u16string> currentHref{};
    std::vector<std::u16string> links{};
    std::unordered_set<std::u16string> seen{};
    std::optional<Url> baseURL{};

    void takeCandidate(const std::optional<std::u16string>& href) {
        if (!href || (filters && filterLink(*href))) return;
        std::optional<std::u16string> link = normalizedStringURL(*href);
        if (link && seen.insert(*link).second) links.push_back(*std::move(link));
    }

    [[nodiscard]] bool isSkipped(const Tag& anchor) const {
        if (relNoFollow == RelNoFollow::ignore) return false;
        const std::optional<std::u16string> relation = attributeOf(anchor, "REL");
        return relation && containsNoCase(*relation, "nofollow");
    }

    void closeAnchor() {
        anchorText.reset();
        currentHref.reset();
    }

    void takeAnchorEnd() {
        if (anchorText && currentHref && match(*currentHref, *anchorText, matchContext)) takeCandidate(currentHref);
        closeAnchor();
    }

    void openAnchor(const Tag& anchor) {
        constexpr std::size_t kTypicalLength = 128;
        closeAnchor();
        if (isSkipped(anchor)) return;
        currentHref = attributeOf(anchor, "HREF");
        if (currentHref) anchorText.emplace().reserve(kTypicalLength);
    }

    void takeAnchor(const Tag& anchor) {
        if (match == nullptr) {
            if (isOpeningTag(anchor) && !isSkipped(anchor)) takeCandidate(attributeOf(anchor, "HREF"));
        } else if (isOpeningTag(anchor)) {
            openAnchor(anchor);
        } else {
            takeAnchorEnd();
        }
    }
};

bool RetrieveLinksHandler(const Tag& tag, void* context) {
    auto& scan = *static_cast<LinkScan*>(context);
    if (scan.anchorText) scan.anchorText->append(tag.text());
    switch (keyOfTag(tag)) {
        case "a"_tag:
            scan.takeAnchor(tag);
            break;
        case "area"_tag:
            if (scan.match == nullptr && isOpeningTag(tag)) scan.takeCandidate(attributeOf(tag, "HREF"));
            break;
        case "base"_tag:
            if (!isOpeningTag(tag)) break;
            if (const auto href = attributeOf(tag, "HREF")) scan.baseURL = baseURL(*href);
            break;
        default:
            break;
    }
    return false;
}

}  // namespace

std::vector<std::u16string> htmlLinksMatching(std::u16string_view html, LinkMatch match, const void* context,
                                              RelNoFollow useRelNoFollow, std::optional<Url>* baseURL) {
    LinkScan scan{.relNoFollow = useRelNoFollow, .match = match, .matchContext = context};
    GetTagsOfString(html, RetrieveLinksHandler, &scan);
    if (baseURL != nullptr) *baseURL = std::move(scan.baseURL);
    return std::move(scan.links);
}

bool ContainingHandler(std::u16string_view, std::u16string_view anchorText, const void* string) {
    const std::u16string_view wanted = *static_cast<const std::u16string_view*>(string);
    if (wanted.size() >= anchorText.size()) return !anchorText.empty() && wanted == anchorText;
    return fastContainsUnichars(anchorText, wanted) != nullptr;
}

std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html, std::optional<Url>* baseURL) {
    return htmlLinksMatching(html, nullptr, nullptr, RelNoFollow::ignore, baseURL);
}

std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html, std::optional<Url>* baseURL, LinkMatch handler,
                                             const void* context) {
    return htmlLinksMatching(html, handler, context, RelNoFollow::ignore, baseURL);
}

std::vector<std::u16string> htmlLinksContaining(std::u16string_view html, std::u16string_view string,
                                                RelNoFollow useRelNoFollow, std::optional<Url>* baseURL) {
    const LinkMatch match = string.empty() ? nullptr : ContainingHandler;
    return htmlLinksMatching(html, match, &string, useRelNoFollow, baseURL);
}

std::vector<std::u16string> filteredHtmlLinksBaseURL(std::u16string_view html, std::optional<Url>* baseURL) {
    return htmlLinksBaseURL(html, baseURL);
}

std::vector<std::u16string> filteredHtmlLinksBaseURL(std::u16string_view html, std::optional<Url>* baseURL,
                                                     LinkMatch handler, const void* context) {
    return htmlLinksBaseURL(html, baseURL, handler, context);
}

std::vector<std::u16string> filteredHtmlLinksContaining(std::u16string_view html, std::u16string_view string,
                                                        RelNoFollow useRelNoFollow, std::optional<Url>* baseURL) {
    return htmlLinksContaining(html, string, useRelNoFollow, baseURL);
}

}  // namespace halden
