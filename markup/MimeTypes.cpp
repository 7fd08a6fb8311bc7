#include "markup/MimeTypes.h"

#include "foundation/StringTrimming.h"
#include "markup/PageTags.h"

#include <algorithm>

namespace halden {

bool isMarkupMIMEType(std::u16string_view type) {
    static constexpr std::string_view kTypes[] = {"text/html", "application/xhtml+xml", "text/xml", "application/xml"};
    const std::u16string_view name = trimmedOfSpacesAndFeeds(type.substr(0, type.find(u';')), TrimmedSet::white);
    return endsNoCase(name, "+xml") ||
           std::ranges::any_of(kTypes, [&](std::string_view known) { return equalsNoCase(name, known); });
}

}  // namespace halden
