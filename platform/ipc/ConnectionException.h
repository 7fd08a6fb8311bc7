// What goes wrong with a call over a connection, as one exception type.
#pragma once

#include "foundation/Exception.h"

#include <string>

namespace halden {

enum class ConnectionFailure {
    unknownMethod,  ///< the peer has no such method
    timedOut,       ///< no reply in time; the connection stays usable
    peerDied,       ///< the peer ended or closed the connection
    refused,        ///< the peer does not let us do this
    tooLarge,       ///< an argument or the result is too large or nested too deeply to travel
    raised,         ///< the operation threw: name() and reason() are those of the peer's exception
    badMessage,     ///< an argument or a reply has the wrong type or contents
};

/// "ConnectionTimedOut" and so on: the name of the exceptions of this kind but `raised`.
[[nodiscard]] const char* nameOfConnectionFailure(ConnectionFailure failure) noexcept;

/// Thrown by a proxy when a call has no result. An operation that fails is no such case: it returns nil or NO.
class ConnectionException : public Exception {
public:
    ConnectionException(ConnectionFailure failure, std::string reason)
        : Exception(nameOfConnectionFailure(failure), std::move(reason)), failure_(failure) {}

    /// An exception of the peer, with the name and the reason it had there.
    [[nodiscard]] static ConnectionException raised(std::string name, std::string reason) {
        return {ConnectionFailure::raised, std::move(name), std::move(reason)};
    }

    [[nodiscard]] ConnectionFailure failure() const noexcept { return failure_; }

private:
    ConnectionException(ConnectionFailure failure, std::string name, std::string reason)
        : Exception(std::move(name), std::move(reason)), failure_(failure) {}

    ConnectionFailure failure_;
};

}  // namespace halden
