#include "platform/ipc/ConnectionException.h"

namespace halden {

const char* nameOfConnectionFailure(ConnectionFailure failure) noexcept {
    switch (failure) {
        case ConnectionFailure::unknownMethod:
            return "ConnectionUnknownMethod";
        case ConnectionFailure::timedOut:
            return "ConnectionTimedOut";
        case ConnectionFailure::peerDied:
            return "ConnectionPeerDied";
        case ConnectionFailure::refused:
            return "ConnectionRefused";
        case ConnectionFailure::tooLarge:
            return "ConnectionTooLarge";
        case ConnectionFailure::raised:
            return "ConnectionRaised";
        case ConnectionFailure::badMessage:
            return "ConnectionBadMessage";
    }
    return "ConnectionException";
}

}  // namespace halden
