#include "platform/ipc/RootObject.h"

namespace halden {

bool RootObject::respondsToSelector(std::string_view selector) const {
    if (selector == "respondsToSelector:") return true;
    if (selector == "stillBusy" && stillBusy_) return true;
    return protocol_.methodForSelector(selector) != nullptr;
}

std::string RootObject::version() const {
    return QUARRY_VERSION;
}

}  // namespace halden
