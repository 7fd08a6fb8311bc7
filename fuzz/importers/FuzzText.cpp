// The text of a file: whatever the bytes are, it is well-formed, clean, and stays as it is when read again.
#include "foundation/Unicode.h"
#include "importers/system/Text/Markdown.h"
#include "importers/system/Text/PlainText.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

bool isControl(char16_t unit) {
    return (unit < 0x20 && unit != u'\n' && unit != u'\t') || (unit >= 0x7F && unit < 0xA0);
}

void expect(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using quarry::text::Extent;
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    for (const Extent extent : {Extent::whole, Extent::beginning}) {
        const auto text = quarry::text::cleanTextOfBytes(input, extent);
        if (!text) continue;
        const auto units = halden::strictUtf16FromUtf8(*text);
        expect(units.has_value());
        expect(std::none_of(units->begin(), units->end(), isControl));
        // A byte-order mark inside the text may come to stand at its beginning.
        if (!text->starts_with("\xEF\xBB\xBF")) expect(quarry::text::cleanTextOfBytes(*text) == *text);
        const std::string title = quarry::text::titleOfMarkdown(*text);
        expect(text->find(title) != std::string::npos && title.find('\n') == std::string::npos);
    }
    return 0;
}
