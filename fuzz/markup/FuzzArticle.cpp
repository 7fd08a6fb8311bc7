// The article of any page: it is one only where there may be one, and it is cut out of the page as the page is written.
#include "foundation/Unicode.h"
#include "markup/ErrorPages.h"
#include "markup/Reader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

namespace {

/// Whether `article` is a beginning of `page` up to a tag, a middle part from a tag on, and an end, which is nothing or
/// begins with a tag, with line feeds between. Where there are very many places for the line feeds, only some are
/// tried.
bool isCutOutOf(std::u16string_view page, std::u16string_view article) {
    int trials = 1000;
    const auto shared = std::ranges::mismatch(page, article).in2 - article.begin();
    const auto common = static_cast<std::size_t>(shared);
    for (std::size_t first = 1; first <= common && first + 1 < article.size(); ++first) {
        if (article[first] != u'\n' || article[first - 1] != u'>') continue;
        const std::u16string_view rest = article.substr(first + 1);
        for (std::size_t last = rest.size(); last-- > 0;) {
            const std::u16string_view end = rest.substr(last + 1);
            if (end.size() > page.size() || (!end.empty() && end.front() != page[page.size() - end.size()])) break;
            if (rest[last] != u'\n' || (!end.empty() && end.front() != u'<')) continue;
            if (page.find(rest.substr(0, last)) != std::u16string_view::npos || --trials == 0) return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::u16string page;
    // A byte 0x01 stands for twenty words, so that sections are soon long enough.
    for (const char16_t unit : utf16FromUtf8({reinterpret_cast<const char*>(bytes), size})) {
        if (unit != 1) page += unit;
        for (int i = 0; unit == 1 && i < 20; ++i)
            page += u" word";
    }
    const auto article = stripToArticle(page);
    if (article && (!possibleArticle(page) || !isCutOutOf(page, *article))) std::abort();
    const std::size_t half = page.size() / 2;
    const std::u16string_view all = page;
    static_cast<void>(isErrorPage(u"http://h/404.html", all.substr(0, half), all.substr(half)));
    static_cast<void>(exceededPageLoadFrequency({}, all));
    return 0;
}
