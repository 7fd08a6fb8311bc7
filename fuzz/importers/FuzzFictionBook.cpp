// FictionBooks: whatever the bytes are, the reading ends and text and annotation stay within their bound.
#include "importers/system/FictionBook/Book.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto book = quarry::fictionbook::bookFromXml({reinterpret_cast<const char*>(bytes), size});
    // Every byte of text comes from one of the document; a byte of a one-byte encoding becomes three of UTF-8 at most.
    if (book && book->text.size() + book->annotation.size() > 4 * size) std::abort();
    return 0;
}
