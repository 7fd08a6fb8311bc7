// The client library of the message server, with owners for what it hands out and exceptions for what fails.
#pragma once

#include <nats/nats.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quarry::queue {

/// Something that the server refused, or that did not reach it.
class QueueError : public std::runtime_error {
public:
    QueueError(const std::string& what, natsStatus status) : std::runtime_error(what), status_(status) {}
    [[nodiscard]] natsStatus status() const noexcept { return status_; }

private:
    natsStatus status_;
};

/// Throws `QueueError` with "WHAT: reason" unless the status is a success. After a request that the server did not
/// permit, and therefore did not answer, the reason is that.
void check(natsStatus status, std::string_view what, jsErrCode code = static_cast<jsErrCode>(0));

template <auto destroy>
struct Destroyer {
    void operator()(auto* object) const noexcept { destroy(object); }
};
using OptionsOwner = std::unique_ptr<natsOptions, Destroyer<natsOptions_Destroy>>;
using ConnectionOwner = std::unique_ptr<natsConnection, Destroyer<natsConnection_Destroy>>;
using ContextOwner = std::unique_ptr<jsCtx, Destroyer<jsCtx_Destroy>>;
using SubscriptionOwner = std::unique_ptr<natsSubscription, Destroyer<natsSubscription_Destroy>>;
using MessageOwner = std::unique_ptr<natsMsg, Destroyer<natsMsg_Destroy>>;
using StreamInfoOwner = std::unique_ptr<jsStreamInfo, Destroyer<jsStreamInfo_Destroy>>;
using ConsumerInfoOwner = std::unique_ptr<jsConsumerInfo, Destroyer<jsConsumerInfo_Destroy>>;
using MetaDataOwner = std::unique_ptr<jsMsgMetaData, Destroyer<jsMsgMetaData_Destroy>>;

/// Where the server is and who asks.
struct ServerOptions {
    std::string url = "nats://127.0.0.1:4222";  ///< several separated by commas; a user and a password may stand in it
    std::string credentials;                    ///< file of a user's token and key; empty: none
    std::string authority;                      ///< file of trusted certificates, for TLS; empty: none
    double patience = 30;                       ///< seconds for which a server that is not there is tried again
};

/// A connection that comes back by itself when it is lost.
class Connection {
public:
    /// Tries a server that is not there again, at growing intervals, and says so. Throws `QueueError` when it stays
    /// away, and at once when it refuses.
    explicit Connection(const ServerOptions& options);

    /// A stream context whose asynchronous publications are answered through `acknowledged` (may be null).
    [[nodiscard]] ContextOwner context(jsPubAckHandler acknowledged = nullptr, void* closure = nullptr) const;

    /// Asks the server something, and asks again while it does not answer, for as long as one that is not there is
    /// tried again. Throws what `question` throws otherwise.
    void ask(const std::function<void()>& question) const;

    /// Throws `QueueError` when the server has said that this user may not do something that was asked, or does not let
    /// us in again. It says so later than the call returns, and answers nothing, so loops look here. From any thread.
    void throwIfRefused() const;

    [[nodiscard]] natsConnection* get() const noexcept { return connection_.get(); }
    /// Bytes that one message may have.
    [[nodiscard]] std::size_t largestMessage() const;

private:
    std::string address_;  // without passwords
    double patience_;      // seconds
    ConnectionOwner connection_;
};

}  // namespace quarry::queue
