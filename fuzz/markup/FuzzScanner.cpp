// Every way of the tag scanner makes the calls that the plain rules ask for, in both modes.
#include "markup/TagCollector.h"
#include "markup/TagScanner.h"
#include "markup/TagScannerPaths.h"
#include "tests/markup/ReferenceScanner.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using Calls = std::vector<halden::reference::Call>;

bool collect(const halden::Tag& tag, void* context) {
    // What a handler may look at has to lie within the text.
    if (tag.text().size() + tag.tag().size() + tag.name().size() > 2 * tag.characters.size()) std::abort();
    static_cast<Calls*>(context)->push_back(
        {tag.kind, tag.nameLocation, tag.nameLength, tag.tagLocation, tag.tagLength, tag.textLocation});
    return false;
}

bool empty(const halden::Tag& tag, void* context) {
    tag.string->clear();
    return collect(tag, context);
}

/// Either one byte a unit, which makes markup likely, or the bytes as units.
std::u16string unitsOf(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return {};
    if (bytes[0] != 1) return {bytes, bytes + size};
    std::u16string units(size / 2, u'\0');
    std::memcpy(units.data(), bytes, units.size() * sizeof(char16_t));
    return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::u16string text = unitsOf(bytes, size);
    const Calls wanted = halden::reference::calls(text);
    if (!text.empty()) {
        // A buffer of the very size, for the sanitizer to see a read past its end.
        const auto exact = std::make_unique<char16_t[]>(text.size());
        text.copy(exact.get(), text.size());
        std::vector<void (*)(const halden::TagScan&)> paths = {halden::scanTagsPortably, halden::scanTagsWide};
#if defined(__x86_64__)
        if (__builtin_cpu_supports("avx2")) paths.push_back(halden::scanTagsAvx2);
#endif
        for (const auto path : paths) {
            Calls calls;
            path({.units = exact.get(), .length = text.size(), .handler = collect, .context = &calls});
            if (calls != wanted) std::abort();
        }
    }
    halden::RangeArray tags;
    halden::RangeArray texts;
    if (halden::getXml(text, &tags, &texts) != wanted.size()) std::abort();
    Calls calls;
    if (halden::GetTagsOfString(&text, empty, &calls) == wanted.empty() || calls != wanted) std::abort();
    return 0;
}
