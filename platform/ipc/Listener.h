// Accepts clients on a thread of its own. Private to platform/ipc.
#pragma once

#include "platform/ipc/Peer.h"
#include "platform/ipc/Registry.h"

#include <memory>
#include <set>
#include <string>

namespace halden {

/// Accepts clients of a claimed name and authenticates them. Turns away other users, clients that do not authenticate
/// in time, and those that are too many.
class Listener {
public:
    Listener(ClaimedName name, Vend vend, std::shared_ptr<const Timeouts> timeouts);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    /// Disconnects everybody, ends the thread and gives the name up.
    ~Listener();

    [[nodiscard]] const std::string& socketPath() const noexcept { return name_.socketPath(); }

private:
    struct Handshake;

    void run();
    void watchSocket();
    void pauseAccepting();
    void acceptClients();
    void beginHandshake(int descriptor);
    void endHandshake(Handshake& handshake, GAsyncResult* result);
    void remove(Peer* peer);
    [[nodiscard]] GMainContext* context() const noexcept { return surroundings_->context.get(); }

    ClaimedName name_;
    std::shared_ptr<PeerSurroundings> surroundings_;

    // Listener's thread only.
    bool stopping_ = false;
    GPointer<GSource> acceptSource_;
    std::set<Handshake*> handshakes_;
    std::set<std::shared_ptr<Peer>> peers_;

    GPointer<GThread> thread_;
};

}  // namespace halden
