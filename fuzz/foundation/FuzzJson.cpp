// Whatever is read as JSON must be written and read again as the same value.
#include "foundation/Json.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    halden::JsonError error;
    const auto value = halden::valueFromJson(text, &error);
    if (!value) {
        if (error.offset > size || error.message.empty()) std::abort();
        return 0;
    }
    const std::string written = halden::jsonFromValue(*value);
    const auto again = halden::valueFromJson(written);
    // An infinity is written as null, so equality is asked of the text that was written.
    if (!again || halden::jsonFromValue(*again) != written) std::abort();
    return 0;
}
