// Streams of binary office documents: whatever the bytes are, the readers end, and the text stays within its bound. The
// first byte says how the others are shared out.
#include "importers/system/OfficeLegacy/BinaryBytes.h"
#include "importers/system/OfficeLegacy/BinaryText.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view input(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    const std::size_t cut = input.size() * bytes[0] / 256;
    const std::string_view first = input.substr(0, cut);
    const std::string_view second = input.substr(cut);
    for (const auto& result :
         {quarry::legacy::textOfWord({first, second, second}), quarry::legacy::textOfWorkbook(input),
          quarry::legacy::textOfPresentation(first, second)}) {
        if (result.text.size() > 4 * quarry::legacy::kMaxText) std::abort();
        if (result.isEncrypted && !result.text.empty()) std::abort();
    }
    return 0;
}
