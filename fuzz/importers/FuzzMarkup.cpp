// Markup and XML as importers read them: no bytes lead out of bounds.
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/XmlEvents.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    if (auto markup = quarry::support::markupFromBytes(input)) {
        const std::string text = quarry::support::cleanText(quarry::support::textOfMarkup(*std::move(markup)));
        if (text != quarry::support::cleanText(text)) std::abort();
    }
    int depth = 0;
    quarry::support::readXml(input, {.start =
                                         [&](const quarry::support::XmlElement& element) {
                                             if (++depth > quarry::support::kMaxXmlDepth) std::abort();
                                             return !element.localName().empty();
                                         },
                                     .end = [&](std::string_view) { return --depth >= 0; }});
    for (const std::string& line : quarry::support::cleanList(input)) {
        if (line.empty() || line.find('\n') != std::string::npos) std::abort();
    }
    return 0;
}
