#include "markup/TagScanner.h"

#include "markup/TagScannerPaths.h"
#include "markup/TagWalk.h"

#include <algorithm>
#include <memory>
#include <new>

namespace halden {
namespace {

using Scanner = void (*)(const TagScan&);

Scanner fastestScanner() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return scanTagsAvx2;
#endif
    return scanTagsWide;
}

void scanTags(const TagScan& scan) {
    static const Scanner scanner = fastestScanner();
    scanner(scan);
}

}  // namespace

void scanTagsPortably(const TagScan& scan) {
    TagWalk<PortableUnitBlock>(scan).run();
}

void scanTagsWide(const TagScan& scan) {
    TagWalk<UnitBlock>(scan).run();
}

bool GetTagsOfString(std::u16string_view string, TagHandler handler, void* context) {
    if (string.empty()) return false;
    scanTags({.units = string.data(), .length = string.size(), .handler = handler, .context = context});
    return true;
}

bool GetTagsOfString(std::u16string* string, TagHandler handler, void* context) {
    if (string == nullptr || string->empty()) return false;
    const std::size_t length = string->size();
    const std::unique_ptr<char16_t[]> copy(new (std::nothrow) char16_t[length]);
    if (copy == nullptr) return false;
    std::copy_n(string->data(), length, copy.get());
    scanTags({.units = copy.get(), .length = length, .string = string, .handler = handler, .context = context});
    return true;
}

}  // namespace halden
