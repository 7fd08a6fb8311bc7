// Addresses: what is taken for one is whole, stays what it is when read again, and can be resolved against; keys are
// those that the plain steps make.
#include "foundation/Unicode.h"
#include "foundation/Url.h"
#include "foundation/UrlSimplification.h"
#include "tests/foundation/PlainUrlSimplification.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace halden;

void require(bool condition) {
    if (!condition) std::abort();
}

/// The parts of an address put together must be the address; read again they must be the same parts.
void checkParts(const Url& url) {
    std::u16string whole(url.scheme());
    if (!whole.empty()) whole += u':';
    require(url.absoluteString() == whole + std::u16string(url.resourceSpecifier()));
    if (url.authority()) whole += u"//" + std::u16string(*url.authority());
    whole += url.path();
    if (url.query()) whole += u"?" + std::u16string(*url.query());
    if (url.fragment()) whole += u"#" + std::u16string(*url.fragment());
    require(url.absoluteString() == whole);

    const std::optional<Url> again = URLWithString(whole);
    require(again && *again == url && again->scheme() == url.scheme() && again->authority() == url.authority() &&
            again->path() == url.path() && again->query() == url.query() && again->fragment() == url.fragment());
    require(again->host() == url.host());
    for (const char16_t unit : whole)
        require(unit > u' ' && unit < 0x7F);
}

bool hasDotSegment(std::u16string_view path) {
    while (true) {
        const std::size_t slash = path.find(u'/');
        const std::u16string_view segment = path.substr(0, slash);
        if (segment == u"." || segment == u"..") return true;
        if (slash == std::u16string_view::npos) return false;
        path.remove_prefix(slash + 1);
    }
}

void checkResolution(std::u16string_view reference, const Url& base) {
    const std::optional<Url> result = URLRelativeTo(reference, base);
    if (!result) return;
    checkParts(*result);
    require(!result->scheme().empty());
    const bool keepsBasePath = reference.empty() || reference.front() == u'#' || reference.front() == u'?';
    // "/." protects two slashes that are no host's.
    if (!keepsBasePath && !result->path().starts_with(u"/.//")) require(!hasDotSegment(result->path()));
    require(URLRelativeTo({}, *result) == URLWithAnchor(*result, {}));
    if (!keepsBasePath) require(URLRelativeTo(result->absoluteString(), base) == result);
}

void checkUrl(const std::u16string& text, const std::u16string& base) {
    const std::optional<Url> url = URLWithNormalizedStringURL(text);
    require(isRemoteWebKitStringURL(text) == (url && isRemoteWebKitURL(*url)));
    static_cast<void>(stringURLIsBookmarklet(text));
    if (!url) return;
    checkParts(*url);
    if (const auto path = url->filePath()) {
        const std::optional<Url> file = fileURLWithPath(*path);
        require(file && file->filePath() == path);
    }
    const std::optional<Url> anchored = URLWithAnchor(*url, base);
    if (anchored) checkParts(*anchored);
    if (const std::optional<Url> other = URLWithNormalizedStringURL(base)) checkResolution(text, *other);
}

void checkKeys(const std::u16string& url, const std::u16string& parameter, unsigned flags) {
    require(stringByReplacingStandardPercentEscapesOfURL(url) == plain::decoded(url, PercentEscapeMode::standard));
    std::u16string decoded = url;
    decoded.resize(convertPercentEscapesOfURL(decoded.data(), decoded.size(), PercentEscapeMode::full));
    require(decoded == plain::decoded(url, PercentEscapeMode::full));
    require(stringURLWithoutAnchor(url) == plain::withoutAnchor(url));
    require(standardizedStringURL(url) == plain::standardized(url));
    require(stringURLByRemovingAnalytics(url) == plain::withoutAnalytics(url));
    require(stringURLByRemovingQueryParam(url, parameter) == plain::withoutQueryParam(url, parameter));
    require(stringURLByRemovingEmptyParams(url) == plain::withoutEmptyParams(url));
    require(stringURLByRemovingSessionIDs(url) == plain::withoutSessionIDs(url));
    require(stringURLByRemovingIndexPages(url) == plain::withoutIndexPages(url));

    const auto settled = [](const std::u16string& string, std::u16string (*step)(std::u16string)) {
        return step(step(string)) == step(string);
    };
    require(settled(url, stringURLWithoutAnchor) && settled(url, standardizedStringURL) &&
            settled(url, stringURLByRemovingAnalytics) && settled(url, stringURLByRemovingSessionIDs));

    const UrlSimplification remove{.sessionIDs = (flags & 1) != 0,
                                   .analytics = (flags & 2) != 0,
                                   .indexPages = (flags & 4) != 0,
                                   .emptyParams = (flags & 8) != 0,
                                   .anchors = (flags & 16) != 0};
    require(simplifiedStringURLByRemovingSessionIDs(url, remove) == plain::simplified(url, remove));
}

}  // namespace

// The first byte chooses what is removed; a line feed separates the address from its base, which is also a parameter.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::u16string all = utf16FromUtf8({reinterpret_cast<const char*>(bytes) + 1, size - 1});
    const std::size_t end = std::min(all.find(u'\n'), all.size());
    const std::u16string text = all.substr(0, end);
    const std::u16string base = all.substr(std::min(end + 1, all.size()));
    checkUrl(text, base);
    checkKeys(text, base, bytes[0]);
    return 0;
}
