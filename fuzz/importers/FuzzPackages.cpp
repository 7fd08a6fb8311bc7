// Packages of XML: whatever the bytes are, the text stays within its bound.
#include "importers/system/packages/BookText.h"
#include "importers/system/packages/OpenDocumentText.h"
#include "importers/system/packages/OpenXmlText.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    bool isEncrypted = false;
    for (const auto& information : {quarry::packages::informationFromOpenXml(input),
                                    quarry::packages::informationFromOpenDocument(input, isEncrypted),
                                    quarry::packages::informationFromBook(input)}) {
        if (information && information->text.size() > 2 * quarry::packages::kMaxText) std::abort();
    }
    return 0;
}
