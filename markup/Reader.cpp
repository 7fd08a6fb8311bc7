#include "markup/Reader.h"

#include "foundation/FilteredComparison.h"
#include "foundation/Url.h"
#include "markup/Entities.h"
#include "markup/PageTags.h"
#include "markup/XmlExtensions.h"

#include <array>

namespace halden {
namespace {

constexpr std::size_t kFewestWords = 100;
constexpr std::size_t kLevels = 7;

struct ArticleScan {
    bool inAnchor = false;
    bool articleMarked = false;
    std::size_t bodyStart = kNotFound;
    std::size_t bodyEnd = kNotFound;
    std::size_t endMarker = kNotFound;
    std::array<std::size_t, kLevels> headingPositions{};
    std::size_t bestLevel = kNotFound;
    std::size_t headingCount = 0;
    std::size_t wordsSinceHeading = 0;
    std::size_t sectionWords = 0;
    std::size_t totalWords = 0;  ///< outside anchors
    std::size_t anchorWords = 0;

    ArticleScan() { headingPositions.fill(kNotFound); }

    [[nodiscard]] bool hasBest() const noexcept { return bestLevel != kNotFound; }
    void endHere(const Tag& tag) {
        if (endMarker == kNotFound) endMarker = tag.tagLocation;
    }
};

void countWords(ArticleScan& scan, std::u16string_view text) {
    if (onlyWhiteCharacters(text)) return;
    const std::size_t words =
        text.find(u'&') == std::u16string_view::npos
            ? numberOfWordsOfCharacters(text)
            : numberOfWordsOfCharacters(stringByConvertingEntitiesToCharacters(std::u16string(text)));
    (scan.inAnchor ? scan.anchorWords : scan.totalWords) += words;
    if (scan.hasBest() && !scan.inAnchor && scan.endMarker == kNotFound) scan.wordsSinceHeading += words;
}

/// A div or a heading may say by its name that it is an article, or that the comments begin.
void checkArticleTag(ArticleScan& scan, const Tag& tag) {
    const std::optional<std::u16string> names[] = {attributeOf(tag, "ID"), attributeOf(tag, "CLASS")};
    const auto anyContains = [&](std::string_view word) {
        for (const auto& name : names) {
            if (name && containsNoCase(*name, word)) return true;
        }
        return false;
    };
    if (anyContains("article") || anyContains("artikel")) {
        scan.articleMarked = true;
    } else if (anyContains("comment")) {
        scan.endHere(tag);
    }
}

bool endsArticle(std::u16string_view href) {
    return stringURLIsBookmarklet(href) || href.ends_with(u"?view=print") || href == u"#top";
}

void takeAnchor(ArticleScan& scan, const Tag& tag) {
    scan.inAnchor = formOfTag(tag.tag()) == TagForm::start;
    if (!scan.hasBest() || !isOpeningTag(tag) || scan.endMarker != kNotFound) return;
    const std::optional<std::u16string> href = attributeOf(tag, "HREF");
    if (href && endsArticle(*href)) scan.endHere(tag);
}

void takeHeading(ArticleScan& scan, const Tag& tag, std::size_t level) {
    scan.sectionWords += scan.wordsSinceHeading;
    const bool isHigher = !scan.hasBest() || level < scan.bestLevel;
    if (isHigher || (level == scan.bestLevel && scan.sectionWords < kFewestWords)) {
        scan.bestLevel = level;
        scan.headingPositions[level] = tag.tagLocation;
        scan.sectionWords = 0;
        scan.endMarker = kNotFound;
    } else if (level > scan.bestLevel) {
        if (scan.headingPositions[level] == kNotFound) scan.headingPositions[level] = tag.tagLocation;
    } else {
        scan.endHere(tag);
    }
    ++scan.headingCount;
    scan.wordsSinceHeading = 0;
    checkArticleTag(scan, tag);
}

void takeBody(ArticleScan& scan, const Tag& tag) {
    if (isOpeningTag(tag)) {
        scan.bodyStart = tag.tagLocation + tag.tag().size();
    } else {
        scan.bodyEnd = tag.tagLocation;
    }
}

/// The level of a heading, 0 for h1 to 6 for h7.
std::optional<std::size_t> levelOfHeading(std::u16string_view name) {
    if (name.size() != 2 || (name[0] | 0x20) != u'h' || name[1] < u'1' || name[1] > u'7') return std::nullopt;
    return static_cast<std::size_t>(name[1] - u'1');
}

bool ArticleHandler(const Tag& tag, void* context) {
    auto& scan = *static_cast<ArticleScan*>(context);
    countWords(scan, tag.text());
    switch (keyOfTag(tag)) {
        case "a"_tag:
            takeAnchor(scan, tag);
            break;
        case "hr"_tag:
            if (scan.hasBest()) scan.endHere(tag);
            break;
        case "div"_tag:
            if (isOpeningTag(tag)) checkArticleTag(scan, tag);
            break;
        case "body"_tag:
            takeBody(scan, tag);
            break;
        default:
            if (const auto level = levelOfHeading(tag.name()); level && isOpeningTag(tag))
                takeHeading(scan, tag, *level);
            break;
    }
    return false;
}

/// The finished scan when the page may hold an article.
std::optional<ArticleScan> candidate(std::u16string_view html) {
    ArticleScan scan;
    if (!parseXmlWithHandler(html, ArticleHandler, &scan)) return std::nullopt;
    if (scan.wordsSinceHeading >= kFewestWords) scan.sectionWords += scan.wordsSinceHeading;
    const bool isCandidate = scan.totalWords >= kFewestWords && scan.bodyStart != kNotFound && scan.hasBest() &&
                             scan.sectionWords >= kFewestWords && scan.sectionWords >= scan.totalWords / 3 &&
                             scan.headingCount >= 2;
    return isCandidate ? std::optional(scan) : std::nullopt;
}

}  // namespace

bool possibleArticle(std::u16string_view html) {
    const std::optional<ArticleScan> scan = candidate(html);
    return scan && (scan->endMarker != kNotFound || scan->articleMarked);
}

std::optional<std::u16string> stripToArticle(std::u16string_view html) {
    const std::optional<ArticleScan> scan = candidate(html);
    if (!scan || scan->endMarker == kNotFound) return std::nullopt;
    const std::size_t start = scan->headingPositions[scan->bestLevel];
    std::u16string article(html.substr(0, scan->bodyStart));
    article += u'\n';
    article += html.substr(start, scan->endMarker - start);
    article += u'\n';
    if (scan->bodyEnd != kNotFound) article += html.substr(scan->bodyEnd);
    return article;
}

}  // namespace halden
