// The serving side of a connection.
#pragma once

#include "platform/ipc/RootObject.h"

#include <memory>
#include <string>
#include <string_view>

namespace halden {

/// Vends one root object under a registered name.
///
/// Clients connect and authenticate on a thread of the connection's own, so connecting never waits for an operation.
/// Their requests are dispatched on the default main context, that is by the thread whose run loop runs (`RunLoop`),
/// one at a time; an operation that itself iterates the run loop sees further requests dispatched inside it.
///
/// Only processes of the same user are let in. Nothing that a client sends ends the process: a request that is no valid
/// one gets an error, and a client that breaks the transport's own rules is disconnected.
///
/// What the transport library has to say of damaged messages goes to the log (for the whole process).
///
/// Create, use and destroy it on the thread that runs the run loop. Not copyable.
class Connection {
public:
    /// A fresh connection: no root object, no name, time-outs of 15 s.
    Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    /// Gives up the name and disconnects all clients. Not to be called from within a request.
    ~Connection();

    /// What clients that connect from now on see. May be null: every request is then an error.
    void setRootObject(std::shared_ptr<RootObject> rootObject);

    /// Claims `name` in the registry folder (see Registry.h) and starts to accept clients. False when another process
    /// holds the name, when there is no safe folder, or when the connection has a name already; the process may then
    /// well go on, unreachable. The reason is logged as info.
    bool registerName(std::u16string_view name);

    /// The same in the folder `registryFolder` instead of the one that the environment says.
    bool registerName(std::u16string_view name, const std::string& registryFolder);

    /// When true, requests that arrive while an operation iterates the run loop wait until it has ended. False at
    /// first: they are dispatched inside it.
    void setIndependentConversationQueueing(bool queueing);

    /// How long, in seconds, a client may take from connecting until it has authenticated. 0 means for ever.
    void setRequestTimeout(double seconds);
    /// How long, in seconds, a client may take to read a reply before it is disconnected. 0 means for ever.
    void setReplyTimeout(double seconds);
    [[nodiscard]] double requestTimeout() const noexcept;
    [[nodiscard]] double replyTimeout() const noexcept;

    /// Path of the socket; empty without a name.
    [[nodiscard]] std::string socketPath() const;

private:
    class Server;
    std::unique_ptr<Server> server_;
};

}  // namespace halden
