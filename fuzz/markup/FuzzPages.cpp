// Every query about a page, on any page: links are unique and clean, and a base element is added whole.
#include "foundation/Unicode.h"
#include "markup/BaseElement.h"
#include "markup/LinkCleaning.h"
#include "markup/PageFrames.h"
#include "markup/PageLinks.h"
#include "markup/PageMetaData.h"
#include "markup/PageResources.h"

#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

using namespace halden;

namespace {

void requireUnique(const std::vector<std::u16string>& strings) {
    const std::set<std::u16string> unique(strings.begin(), strings.end());
    if (unique.size() != strings.size() || unique.contains(u"")) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::u16string html = utf16FromUtf8({reinterpret_cast<const char*>(bytes), size});
    std::optional<Url> base;
    std::optional<std::u16string> title, refresh, robots, revisit, icon;
    bool isFeed = false;
    requireUnique(htmlLinksBaseURL(html, &base));
    requireUnique(htmlLinksContaining(html, u"a", RelNoFollow::heed));
    requireUnique(htmlLinksAndFramesSet(html, FrameQueries{.isFeed = &isFeed,
                                                           .baseURL = &base,
                                                           .title = &title,
                                                           .refresh = &refresh,
                                                           .robots = &robots,
                                                           .revisit = &revisit,
                                                           .favIcon = &icon}));
    requireUnique(htmlImages(html));
    requireUnique(htmlStylesheetsAndScripts(html));
    requireUnique(htmlEmbeddedObjects(html));
    static_cast<void>(normalizedHtmlTitle(html));
    static_cast<void>(htmlMetaAttributesByConvertingEntitiesToCharacters(html));
    htmlMetaKeywords(html, &title, &refresh, &robots, &revisit);
    static_cast<void>(htmlDate(html));
    static_cast<void>(htmlCanonicalURL(html));
    static_cast<void>(revisitAfter(html));
    static_cast<void>(filterLink(html));
    const std::u16string added = stringByAddingBaseURL(html, u"http://h/");
    // The element's own quotes may close a value that was open around it, so that a scan need not see it.
    if (added != html && added.find(u"<BASE href=\"http://h/\"/>\n") == std::u16string::npos) std::abort();
    return 0;
}
