// Mobipocket books: whatever the bytes are, the reading ends, the text stays within its bound, and an encrypted book
// has none.
#include "importers/system/Mobi/BookInformation.h"
#include "importers/system/Mobi/BookText.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto information = quarry::mobi::informationFromBook({reinterpret_cast<const char*>(bytes), size});
    if (!information) return 0;
    if (information->document.text.size() > 4 * quarry::mobi::kMaxMarkup) std::abort();
    if (information->isEncrypted && !information->document.text.empty()) std::abort();
    return 0;
}
