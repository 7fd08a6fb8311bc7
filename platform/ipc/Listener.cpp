#include "platform/ipc/Listener.h"

#include "platform/ipc/Authentication.h"
#include "platform/ipc/Timer.h"

#include <glib-unix.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace halden {
namespace {

constexpr std::size_t kMaxPeers = 100;
// Clients' sockets may take up the first quarter of the descriptors. Each client needs some more, and the transport
// ends the process when it gets none.
constexpr rlim_t kSocketShare = 4;
constexpr double kAcceptPause = 0.1;

bool isAmongTheFirst(int descriptor) {
    rlimit limit{};
    return getrlimit(RLIMIT_NOFILE, &limit) != 0 || static_cast<rlim_t>(descriptor) < limit.rlim_cur / kSocketShare;
}

}  // namespace

// A connection that is being authenticated.
struct Listener::Handshake {
    Listener& listener;
    GPointer<GCancellable> cancellable;
    GPointer<GSource> limit;
};

Listener::Listener(ClaimedName name, Vend vend, std::shared_ptr<const Timeouts> timeouts)
    : name_(std::move(name)), surroundings_(std::make_shared<PeerSurroundings>(std::move(vend), std::move(timeouts))) {
    const auto body = [](gpointer self) -> gpointer {
        static_cast<Listener*>(self)->run();
        return nullptr;
    };
    thread_.reset(g_thread_new("quarry-listen", body, this));
}

Listener::~Listener() {
    const auto stop = timer(context(), 0, [this] { stopping_ = true; });
    thread_.reset();
}

void Listener::run() {
    g_main_context_push_thread_default(context());
    watchSocket();
    while (!stopping_)
        g_main_context_iteration(context(), TRUE);
    acceptSource_.reset();
    for (Handshake* handshake : handshakes_)
        g_cancellable_cancel(handshake->cancellable.get());
    while (!handshakes_.empty())
        g_main_context_iteration(context(), TRUE);
    for (const auto& peer : peers_)
        peer->disconnect();
    // What a connection has to tell keeps it, and the context, until it is told.
    while (!peers_.empty() || g_main_context_pending(context()) != FALSE)
        g_main_context_iteration(context(), TRUE);
    g_main_context_pop_thread_default(context());
}

void Listener::watchSocket() {
    acceptSource_.reset(g_unix_fd_source_new(name_.socket(), G_IO_IN));
    const GUnixFDSourceFunc ready = [](int, GIOCondition, gpointer self) -> gboolean {
        static_cast<Listener*>(self)->acceptClients();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(acceptSource_.get(), G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(acceptSource_.get(), context());
}

// Without descriptors for it, a waiting client keeps the socket ready: look again later instead of spinning.
void Listener::pauseAccepting() {
    acceptSource_ = timer(context(), kAcceptPause, [this] { watchSocket(); });
}

void Listener::acceptClients() {
    for (;;) {
        FileDescriptor descriptor(accept4(name_.socket(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!descriptor) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno != EAGAIN) pauseAccepting();
            return;
        }
        const auto credentials = peerCredentials(descriptor.get());
        if (!credentials || credentials->uid != geteuid()) continue;
        if (peers_.size() + handshakes_.size() >= kMaxPeers || !isAmongTheFirst(descriptor.get())) continue;
        beginHandshake(descriptor.release());
    }
}

void Listener::beginHandshake(int descriptor) {
    const GPointer<GIOStream> stream = streamFromSocket(descriptor);
    if (!stream) return;
    auto* const handshake = new Handshake{*this, GPointer<GCancellable>(g_cancellable_new()), nullptr};
    handshakes_.insert(handshake);
    if (const double limit = surroundings_->timeouts->request; limit > 0) {
        handshake->limit = timer(context(), limit, [handshake] { g_cancellable_cancel(handshake->cancellable.get()); });
    }
    const GPointer<char> guid(g_dbus_generate_guid());
    const GPointer<GDBusAuthObserver> observer = newAuthObserver();
    constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER |
                                                              G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_REQUIRE_SAME_USER |
                                                              G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING);
    const auto finish = [](GObject*, GAsyncResult* result, gpointer pointer) {
        const std::unique_ptr<Handshake> ended(static_cast<Handshake*>(pointer));
        ended->listener.endHandshake(*ended, result);
    };
    g_dbus_connection_new(stream.get(), guid.get(), kFlags, observer.get(), handshake->cancellable.get(), finish,
                          handshake);
}

void Listener::endHandshake(Handshake& handshake, GAsyncResult* result) {
    handshakes_.erase(&handshake);
    GPointer<GDBusConnection> connection(g_dbus_connection_new_finish(result, nullptr));
    if (!connection || stopping_) return;
    const auto peer = std::make_shared<Peer>(surroundings_, std::move(connection));
    peers_.insert(peer);
    peer->begin([this, key = peer.get()] { remove(key); });
    // It may have gone before there was a handler for that.
    if (peer->isClosed()) remove(peer.get());
}

void Listener::remove(Peer* peer) {
    const auto found =
        std::find_if(peers_.begin(), peers_.end(), [peer](const auto& entry) { return entry.get() == peer; });
    if (found == peers_.end()) return;
    const auto removed = peers_.extract(found);
    removed.value()->end();
}

}  // namespace halden
