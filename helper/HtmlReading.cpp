#include "helper/HtmlReading.h"

#include "foundation/Path.h"

#include <sys/stat.h>

#include <algorithm>

namespace quarry {
namespace {

using halden::Url;

constexpr double kTimeout = 15;

bool isThere(const Url& url) {
    const auto path = url.filePath();
    const auto bytes = path ? halden::pathBytesFromString(*path) : std::nullopt;
    struct stat status {};
    return bytes && stat(bytes->c_str(), &status) == 0;
}

bool beginsWithHttp(std::u16string_view specifier) {
    constexpr std::u16string_view kPrefix = u"http:";
    return specifier.size() >= kPrefix.size() &&
           std::equal(kPrefix.begin(), kPrefix.end(), specifier.begin(),
                      [](char16_t a, char16_t b) { return a == (b >= u'A' && b <= u'Z' ? b + 32 : b); });
}

}  // namespace

halden::HtmlReadingOptions htmlReadingOptions(const std::optional<Url>& base, std::u16string_view charset,
                                              halden::ResourceLoadDelegate* delegate) {
    halden::HtmlReadingOptions options{.timeout = kTimeout, .delegate = delegate};
    if (base) options.baseURL = baseURLForWebKit(*base);
    options.textEncodingName = charset;
    return options;
}

std::optional<Url> baseURLForWebKit(const Url& url) {
    if (url.isFileURL()) return isThere(url) ? std::optional(url) : std::nullopt;
    if (url.hasScheme(u"feed")) {
        const std::u16string_view specifier = url.resourceSpecifier();
        if (beginsWithHttp(specifier)) return halden::URLWithString(specifier);
        return halden::URLWithString(u"http:" + std::u16string(specifier));
    }
    if (url.hasScheme(u"http") || url.hasScheme(u"https")) return url;
    return std::nullopt;
}

std::optional<Url> baseURLForWebKitUsingAnchor(const Url& url, std::u16string_view anchor) {
    const auto base = baseURLForWebKit(url);
    return base ? halden::URLWithAnchor(*base, anchor) : std::nullopt;
}

}  // namespace quarry
