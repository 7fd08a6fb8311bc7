// A client that speaks the transport's protocol by hand, so that it can break it.
#pragma once

#include "platform/ipc/FileDescriptor.h"
#include "platform/ipc/GPointer.h"

#include <string>

namespace halden::testing {

class RawClient {
public:
    /// Connects to the server in `folder` and sends nothing yet.
    explicit RawClient(const std::string& folder);

    /// Does the handshake.
    void authenticate();
    void send(std::string_view bytes);
    /// Whether the server hangs up within `seconds`. Reads nothing.
    [[nodiscard]] bool isHungUp(double seconds);

private:
    [[nodiscard]] std::string readLine();
    FileDescriptor socket_;
};

/// The bytes of a call of EchoService's `member`.
[[nodiscard]] std::string callBytes(const char* member, GVariant* body, unsigned serial);

}  // namespace halden::testing
