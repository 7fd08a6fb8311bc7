// The calling side of a connection.
#pragma once

#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/Protocol.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// Stands for the root object of another process.
///
/// Every call blocks the calling thread until the reply, an error or a time-out; the caller's run loop does not run
/// meanwhile. A call that has no result throws `ConnectionException`. Safe to use from several threads at once. The
/// connection is closed with the last reference.
class RootProxy {
public:
    /// How long connecting may take unless told, in seconds.
    static constexpr double kConnectLimit = 2.0;

    /// Connects to the process that has registered `name` in `registryFolder` (by default the one that the environment
    /// says). One attempt; null when nobody listens, when it is not a process of this user, or when connecting takes
    /// longer than `connectLimit` seconds.
    [[nodiscard]] static std::shared_ptr<RootProxy> rootProxyForConnectionWithRegisteredName(
        std::u16string_view name, const std::string& registryFolder, double connectLimit = kConnectLimit);
    [[nodiscard]] static std::shared_ptr<RootProxy> rootProxyForConnectionWithRegisteredName(std::u16string_view name);

    RootProxy(const RootProxy&) = delete;
    RootProxy& operator=(const RootProxy&) = delete;
    virtual ~RootProxy() = default;

    /// How long a call may take until it is sent, and until its reply is there, both in seconds from its start. 0, the
    /// default, means for ever.
    virtual void setRequestTimeout(double seconds) = 0;
    virtual void setReplyTimeout(double seconds) = 0;
    [[nodiscard]] virtual double requestTimeout() const = 0;
    [[nodiscard]] virtual double replyTimeout() const = 0;

    /// Tells which methods the root object has, so that argument and result types are known without asking it. The
    /// protocol must outlive the proxy. With a null pointer the peer is asked at the next `invoke`.
    virtual void setProtocolForProxy(const Protocol* protocol) = 0;

    /// Calls the method of this wire name or selector. nullopt, as an argument or as the result, is nil. Arguments of
    /// the wrong number or type are `badMessage`; a method that the protocol lacks is `unknownMethod`.
    virtual std::optional<Value> invoke(std::string_view memberOrSelector, const Arguments& arguments) = 0;

    /// Calls a method of `protocol`, whatever `setProtocolForProxy` said.
    virtual std::optional<Value> invoke(const Protocol& protocol, const ProtocolMethod& method,
                                        const Arguments& arguments) = 0;

    /// Whether the root object understands `selector` ("metaDataForFile:", "stillBusy").
    [[nodiscard]] virtual bool respondsToSelector(std::string_view selector) = 0;

    /// The root object's own answer; throws `unknownMethod` when it does not respond to stillBusy.
    [[nodiscard]] virtual bool stillBusy() = 0;

    /// The version of the peer.
    [[nodiscard]] virtual std::string version() = 0;

    /// Whether the peer is still there. A peer that ended is seen at once.
    [[nodiscard]] virtual bool isValid() const = 0;

    /// Process identifier of the peer, as the system told when the connection was made.
    [[nodiscard]] virtual int processIdentifier() const = 0;

protected:
    RootProxy() = default;
};

}  // namespace halden
