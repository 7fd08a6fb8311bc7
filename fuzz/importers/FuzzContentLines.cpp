// The lines of calendars and contacts: names have no separators, no line exceeds its bound, escapes only shorten.
#include "importers/system/support/CleanText.h"
#include "importers/system/support/ContentLines.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    const auto expect = [](bool condition) {
        if (!condition) std::abort();
    };
    quarry::support::readContentLines(input, [&](quarry::support::ContentLine&& line) {
        expect(line.name.find_first_of(".;\n") == std::string::npos || line.name.find('"') != std::string::npos);
        expect(line.value.size() <= 2 * quarry::support::kMaxContentLine);
        expect(quarry::support::unescapedText(line.value).size() <= line.value.size());
        std::size_t length = 0;
        for (const std::string& part : quarry::support::unescapedParts(line.value, ';'))
            length += part.size();
        expect(length <= line.value.size());
        return true;
    });
    return 0;
}
