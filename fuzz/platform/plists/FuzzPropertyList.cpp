// Whatever is read as a property list, in any form, must be written and read again as the same value.
#include "platform/plists/PropertyList.h"

#include <cstdint>
#include <cstdlib>

using halden::Data;
using halden::Value;

namespace {

void requireRoundTrip(const std::optional<Data>& written, std::optional<Data> (*write)(const Value&)) {
    if (!written) return;
    const auto again = halden::propertyListFromData(*written);
    // NaN equals nothing, so equality is asked of the bytes.
    if (!again || write(*again) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const Data data = Data::copying({bytes, size});
    halden::PropertyListError error;
    const auto value = halden::propertyListFromData(data, &error);
    if (!value) {
        if (error.offset > size || error.message.empty()) std::abort();
        return 0;
    }
    const auto binary = halden::binaryPropertyList(*value);
    if (!binary) std::abort();
    requireRoundTrip(binary, &halden::binaryPropertyList);
    requireRoundTrip(halden::xmlPropertyList(*value), &halden::xmlPropertyList);
    return 0;
}
