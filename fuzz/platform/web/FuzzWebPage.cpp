// What comes back from the web engine: the JSON of a page, and the snapshot with its images.

#include "platform/web/Mhtml.h"
#include "platform/web/PageReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    // A zero divides the two.
    const std::size_t end = bytes.find('\0');
    halden::web::PageContents page{std::string(bytes.substr(0, end)), {}};
    if (end != std::string_view::npos) {
        for (halden::web::MhtmlPart& part : halden::web::partsOfMhtml(bytes.substr(end + 1))) {
            if (part.address.empty()) std::abort();
            page.images.push_back({part.address, part.mediaType, halden::Data::copying(part.data)});
        }
    }
    const auto text = halden::web::attributedStringOfPage(page);
    if (!text) return 0;
    const auto runs = text->characterRuns();
    if ((runs.empty() ? 0 : runs.back().end) != text->length()) std::abort();
    for (const auto& place : text->attachments()) {
        if (text->string()[place.position] != u'\uFFFC') std::abort();
    }
    return 0;
}
