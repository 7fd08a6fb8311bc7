// What is read of a shared object before it is loaded.
#include "platform/bundles/SharedObject.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    halden::SharedObject object;
    std::string reason;
    const bool isLoadable = halden::readSharedObject(halden::Data::copying({bytes, size}), object, reason);
    if (isLoadable != reason.empty()) std::abort();
    return 0;
}
