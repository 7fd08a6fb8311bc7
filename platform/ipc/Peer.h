// One connected client, on the serving side. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"
#include "platform/ipc/Timeouts.h"

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace halden {

/// Registers objects on a new connection and returns the registrations' numbers. Called on the listener's thread while
/// it has no thread-default context.
using Vend = std::function<std::vector<guint>(GDBusConnection*)>;

/// What all peers of a listener share. Outlives them, since the transport may still hold one.
struct PeerSurroundings {
    explicit PeerSurroundings(Vend vendObjects, std::shared_ptr<const Timeouts> limits)
        : vend(std::move(vendObjects)), timeouts(std::move(limits)), context(g_main_context_new()) {}

    Vend vend;
    std::shared_ptr<const Timeouts> timeouts;
    GPointer<GMainContext> context;  ///< the listener's
    /// Descriptors that came with requests which still exist.
    std::atomic<int> descriptors = 0;
};

/// Watches what goes to and fro, and disconnects a client that does not read its replies in time or has too many
/// requests or descriptors waiting. Used on the listener's thread.
class Peer : public std::enable_shared_from_this<Peer> {
public:
    Peer(std::shared_ptr<PeerSurroundings> surroundings, GPointer<GDBusConnection> connection);

    /// Vends the objects and lets messages in; `closed` is called once when the client has gone.
    void begin(std::function<void()> closed);
    /// Begins to disconnect; `closed` is called when that is done.
    void disconnect();
    /// Lets go of a client that has gone.
    void end();
    [[nodiscard]] bool isClosed() const;

private:
    static void handleClosed(GDBusConnection*, gboolean, GError*, gpointer self);
    static GDBusMessage* watchMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self);

    [[nodiscard]] bool admit(GDBusMessage* request);
    void watchReply();
    void scheduleCheck();
    void checkReplies();
    void repliesTaken();

    std::shared_ptr<PeerSurroundings> surroundings_;
    GPointer<GDBusConnection> connection_;
    std::function<void()> closed_;
    gulong closedHandler_ = 0;
    guint filter_ = 0;
    std::vector<guint> registrations_;
    GPointer<GSource> deadline_;

    // Also used on the transport's thread.
    std::atomic<int> outstanding_ = 0;
    std::atomic<bool> dirty_ = false;
    std::atomic<bool> watching_ = false;
};

}  // namespace halden
