// Web archives of any bytes: whatever is read as one has its text and sources, and looks up its own addresses.
#include "documents/WebArchive.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using quarry::WebArchive;
    const auto archive = WebArchive::archiveWithData(halden::Data::copying({bytes, size}));
    if (!archive) return 0;
    std::optional<std::u16string> source;
    const std::u16string text = archive->searchableTextAndSource(&source);
    if (source && !text.starts_with(u"\n\n")) std::abort();
    for (const auto& resource : archive->subresources()) {
        if (resource.URL && archive->subresourceForURL(*resource.URL) == nullptr) std::abort();
    }
    if (const auto base = archive->baseURL(); base && archive->subArchiveForURL(base) != &*archive) std::abort();
    return 0;
}
