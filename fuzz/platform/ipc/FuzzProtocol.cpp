// A peer describes its protocol in a text of its own making: it must give a protocol whose methods can be called and
// found, or none.
#include "platform/ipc/Protocol.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), length);
    for (const char* name : {"", "org.quarry.EchoService1"}) {
        const auto protocol = halden::Protocol::fromIntrospection(text, name);
        if (!protocol) continue;
        for (const auto& method : protocol->methods()) {
            if (protocol->methodForMember(method.member) == nullptr) std::abort();
            if (protocol->methodForSelector(method.selector) == nullptr) std::abort();
            if (method.argumentSignature.size() < 2 + method.arguments.size()) std::abort();
        }
    }
    return 0;
}
