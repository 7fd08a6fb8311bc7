#include "foundation/Url.h"
#include "foundation/UrlSimplification.h"
#include "foundation/operations/Operations.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

namespace halden::operations {
namespace {

using MaybeString = std::optional<std::u16string>;

/// URLs come and go as their strings.
Url urlFrom(std::u16string_view string, std::size_t index) {
    std::optional<Url> url = URLWithString(string);
    if (!url) throw ArgumentError("argument " + std::to_string(index + 1) + " is no URL");
    return *std::move(url);
}

MaybeString stringOf(const std::optional<Url>& url) {
    if (!url) return std::nullopt;
    return url->absoluteString();
}

MaybeString make(std::u16string_view string) {
    return stringOf(URLWithNormalizedStringURL(string));
}

MaybeString resolve(std::u16string_view reference, std::optional<std::u16string_view> base) {
    if (!base) return make(reference);
    return stringOf(URLRelativeTo(reference, urlFrom(*base, 1)));
}

MaybeString setAnchor(std::u16string_view url, std::optional<std::u16string_view> anchor) {
    return stringOf(URLWithAnchor(urlFrom(url, 0), anchor.value_or(u"")));
}

bool isRemote(std::u16string_view url) {
    return isRemoteWebKitURL(urlFrom(url, 0));
}

void convertEscapes(std::u16string& url, bool standard) {
    url.resize(convertPercentEscapesOfURL(url.data(), url.size(),
                                          standard ? PercentEscapeMode::standard : PercentEscapeMode::full));
}

std::u16string removeParameter(std::u16string url, std::optional<std::u16string_view> parameter) {
    return stringURLByRemovingQueryParam(std::move(url), parameter.value_or(u""));
}

std::u16string simplify(std::u16string url, bool sessionIDs, bool analytics, bool indexPages, bool emptyParams,
                        bool anchors) {
    return simplifiedStringURLByRemovingSessionIDs(std::move(url), {.sessionIDs = sessionIDs,
                                                                    .analytics = analytics,
                                                                    .indexPages = indexPages,
                                                                    .emptyParams = emptyParams,
                                                                    .anchors = anchors});
}

constexpr auto kOperations = std::to_array<Operation>({
    method<make>("URLWithNormalizedStringURL:", "string"),
    method<resolve>("URLRelativeTo:", "string base"),
    method<setAnchor>("URLWithAnchor:", "url anchor"),
    method<isRemote>("isRemoteWebKitURL", "url"),
    method<isRemoteWebKitStringURL>("isRemoteWebKitStringURL", "string"),
    method<stringURLIsBookmarklet>("stringURLIsBookmarklet", "string"),
    function<convertEscapes>("convertPercentEscapesOfURL", "string standard"),
    method<stringByReplacingStandardPercentEscapesOfURL>("stringByReplacingStandardPercentEscapesOfURL", "string"),
    method<stringURLWithoutAnchor>("stringURLWithoutAnchor", "string"),
    method<standardizedStringURL>("standardizedStringURL", "string"),
    method<stringURLByRemovingAnalytics>("stringURLByRemovingAnalytics", "string"),
    method<removeParameter>("stringURLByRemovingQueryParam:", "string parameter"),
    method<stringURLByRemovingEmptyParams>("stringURLByRemovingEmptyParams", "string"),
    method<stringURLByRemovingSessionIDs>("stringURLByRemovingSessionIDs", "string"),
    method<stringURLByRemovingIndexPages>("stringURLByRemovingIndexPages", "string"),
    method<simplify>("simplifiedStringURLByRemovingSessionIDs:analytics:indexPages:emptyParams:anchors:",
                     "string sessionIDs analytics indexPages emptyParams anchors"),
});

}  // namespace

std::span<const Operation> urlOperations() {
    return kOperations;
}

}  // namespace halden::operations
