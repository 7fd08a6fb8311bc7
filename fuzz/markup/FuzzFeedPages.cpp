// Any document as a page: one that is no feed comes back as it is; the page of a feed ends with its items, each as it
// is rendered by itself.
#include "foundation/Unicode.h"
#include "markup/Feeds.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::u16string document = utf16FromUtf8({reinterpret_cast<const char*>(bytes), size});
    static const auto kAddress = URLWithNormalizedStringURL(u"http://host.org/folder/feed?x=1");
    const std::u16string page = stringByConvertingFeedToDisplayHTML(document, kAddress, StyleSheet::linked);
    const std::vector<Dictionary> items = getItemsOfFeed(document, kAddress);
    if (page == document) {
        require(items.empty() && !isFeed(document));
        return 0;
    }
    std::u16string head;
    CreateFeedHead(head, StyleSheet::linked, HeadStyle::styled);
    require(page.starts_with(head));
    std::u16string body;
    for (const Dictionary& item : items)
        AppendDictionary2Feed(body, item, ItemForm::display);
    require(items.empty() ? page.ends_with(u"</html>") : page.ends_with(body + u"\n</body>\n</html>"));
    require(stringByReplacingLinkedStyleSheet(page).size() <= page.size());  // there is no style sheet
    const std::u16string display = stringByConvertingItemsToDisplayHTML(items);
    require(display.ends_with(body + u"\n</body>\n</html>"));
    for (const Dictionary& item : items)
        require(stringByConvertingItemToSearchableHTML(item).ends_with(u"\n</body>\n</html>"));
    return 0;
}
