// Every way of stripping, on any document: what is kept is never longer than what was there, but for the separators
// that are documented.
#include "foundation/Unicode.h"
#include "markup/Stripping.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::u16string html = utf16FromUtf8({reinterpret_cast<const char*>(bytes), size});
    const auto tags = static_cast<std::size_t>(std::ranges::count(html, u'<'));
    require(stripTags(html).size() <= html.size() + tags);
    require(stripTag(html, "B").size() <= html.size());
    require(stripLinks(html).size() <= html.size());
    require(stripObjectsAndReplaceImages(html, ImageReplacement::none).size() <= html.size());
    require(stripObjectsAndReplaceImages(html, ImageReplacement::text).size() <= html.size() + tags);
    // An address without quotes gets them, and the "/" that it took from the end of the tag comes back.
    require(stripAttributesOfTag(html, "A").size() <= html.size() + 3 * tags);
    const std::array<std::u16string, 3> prefixes{u"<div", u"<s", u"<script"};
    const auto rest = stripTagBodies(html, prefixes);
    require(rest && rest->size() <= html.size());
    const auto kept = stripTagBodiesExcept(html, prefixes);
    require(!kept || kept->size() <= html.size() + tags);
    static_cast<void>(isHTML(html));
    return 0;
}
