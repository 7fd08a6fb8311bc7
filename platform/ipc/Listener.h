// Accepts clients on a thread of its own. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"
#include "platform/ipc/Registry.h"
#include "platform/ipc/Timeouts.h"

#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace halden {

/// Accepts clients of a claimed name, authenticates them, and drops those that break a rule: other users, clients that
/// do not authenticate or do not read in time, that send too many requests without awaiting answers, or that are one
/// too many.
class Listener {
public:
    /// Registers objects on a new connection and returns the registrations' numbers. Called on the listener's thread
    /// while it has no thread-default context.
    using Vend = std::function<std::vector<guint>(GDBusConnection*)>;

    Listener(ClaimedName name, Vend vend, std::shared_ptr<const Timeouts> timeouts);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    /// Disconnects everybody, ends the thread and gives the name up.
    ~Listener();

    [[nodiscard]] const std::string& socketPath() const noexcept { return name_.socketPath(); }

private:
    struct Handshake;
    class Client;

    void run();
    void watchSocket();
    void pauseAccepting();
    void acceptClients();
    void beginHandshake(int descriptor);
    void endHandshake(Handshake& handshake, GAsyncResult* result);
    void remove(Client* client);

    ClaimedName name_;
    Vend vend_;
    std::shared_ptr<const Timeouts> timeouts_;
    GPointer<GMainContext> context_;
    bool stopping_ = false;  // listener's thread only, as all that follows
    GPointer<GSource> acceptSource_;
    std::set<Handshake*> handshakes_;
    std::set<std::shared_ptr<Client>> clients_;
    GPointer<GThread> thread_;
};

}  // namespace halden
