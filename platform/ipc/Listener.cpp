#include "platform/ipc/Listener.h"

#include "foundation/Log.h"
#include "platform/ipc/Authentication.h"
#include "platform/ipc/StandardInterfaces.h"

#include <glib-unix.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

namespace halden {
namespace {

constexpr std::size_t kMaxClients = 256;
// A client awaits the answer of each thread's request before the next, so this is a number of threads.
constexpr int kMaxOutstandingRequests = 256;
constexpr guint kAcceptPauseMilliseconds = 100;
constexpr double kReplyCheckInterval = 1.0;

guint milliseconds(double seconds) {
    return static_cast<guint>(std::clamp(seconds * 1000.0, 1.0, 4e9));
}

// A one-shot timer on `context` that calls `body`.
template <class Body>
GPointer<GSource> timer(GMainContext* context, double seconds, Body body) {
    GPointer<GSource> source(g_timeout_source_new(milliseconds(seconds)));
    const auto call = [](gpointer pointer) -> gboolean {
        (*static_cast<Body*>(pointer))();
        return G_SOURCE_REMOVE;
    };
    const auto release = [](gpointer pointer) { delete static_cast<Body*>(pointer); };
    g_source_set_callback(source.get(), call, new Body(std::move(body)), release);
    g_source_attach(source.get(), context);
    return source;
}

// Takes a context's place as this thread's default away. It may have been pushed several times: the transport does so
// around its callbacks.
class WithoutThreadDefault {
public:
    explicit WithoutThreadDefault(GMainContext* context) : context_(context) {
        for (; g_main_context_get_thread_default() == context_; ++count_)
            g_main_context_pop_thread_default(context_);
    }
    WithoutThreadDefault(const WithoutThreadDefault&) = delete;
    WithoutThreadDefault& operator=(const WithoutThreadDefault&) = delete;
    ~WithoutThreadDefault() {
        for (; count_ > 0; --count_)
            g_main_context_push_thread_default(context_);
    }

private:
    GMainContext* context_;
    int count_ = 0;
};

}  // namespace

// A connection that is being authenticated.
struct Listener::Handshake {
    Listener& listener;
    GPointer<GCancellable> cancellable;
    GPointer<GSource> limit;
};

// One connected client. Lives as long as the listener or the transport refers to it.
class Listener::Client : public std::enable_shared_from_this<Client> {
public:
    Client(Listener& listener, GPointer<GDBusConnection> connection)
        : listener_(listener),
          timeouts_(listener.timeouts_),
          context_(listener.context_.get()),
          connection_(std::move(connection)) {}

    // Listener's thread.
    void begin() {
        closedHandler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(closed), this);
        const auto release = [](gpointer pointer) { delete static_cast<std::weak_ptr<Client>*>(pointer); };
        filter_ = g_dbus_connection_add_filter(connection_.get(), watchMessage,
                                               new std::weak_ptr<Client>(weak_from_this()), release);
        registrations_.push_back(registerBusStandIn(connection_.get()));
        const auto vended = [this] {
            // Requests go to the context that is the default when their object is registered: here to the main one.
            const WithoutThreadDefault main(context_);
            return listener_.vend_(connection_.get());
        }();
        registrations_.insert(registrations_.end(), vended.begin(), vended.end());
        g_dbus_connection_start_message_processing(connection_.get());
    }

    [[nodiscard]] bool isClosed() const { return g_dbus_connection_is_closed(connection_.get()) != FALSE; }

    // Listener's thread.
    void end() {
        g_signal_handler_disconnect(connection_.get(), closedHandler_);
        g_dbus_connection_remove_filter(connection_.get(), filter_);
        for (const guint number : registrations_)
            g_dbus_connection_unregister_object(connection_.get(), number);
        deadline_.reset();
        disconnect();
    }

private:
    static void closed(GDBusConnection*, gboolean, GError*, gpointer self) {
        auto* const client = static_cast<Client*>(self);
        client->listener_.remove(client);
    }

    // The transport's thread: sees every message.
    static GDBusMessage* watchMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer pointer) {
        const auto client = static_cast<std::weak_ptr<Client>*>(pointer)->lock();
        if (!client) return message;
        if (incoming == FALSE) {
            --client->outstanding_;
            client->watchReply();
            return message;
        }
        const bool request = g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_METHOD_CALL;
        const bool awaited = (g_dbus_message_get_flags(message) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) == 0;
        if (request && awaited) {
            if (++client->outstanding_ > kMaxOutstandingRequests) client->disconnect();
            return message;
        }
        // Every operation is there for its result: what asks for none is no request.
        g_object_unref(message);
        return nullptr;
    }

    // A reply that the client does not take must not be kept for ever. Whether replies have been taken is looked at
    // once in a while, not for each, since looking costs more than a reply.
    void watchReply() {
        dirty_ = true;
        if (timeouts_->reply > 0 && !watching_.exchange(true)) scheduleCheck();
    }

    void scheduleCheck() {
        const double pause = std::min(kReplyCheckInterval, timeouts_->reply / 2);
        auto source = timer(context_, pause, [weak = weak_from_this()] {
            if (const auto client = weak.lock()) client->checkReplies();
        });
        // The context keeps it.
        g_source_unref(source.release());
    }

    // Listener's thread.
    void checkReplies() {
        dirty_ = false;
        const double limit = timeouts_->reply;
        if (limit > 0) {
            deadline_ = timer(context_, limit, [weak = weak_from_this()] {
                const auto client = weak.lock();
                if (!client) return;
                logInfo("A client that reads no replies is disconnected.");
                client->disconnect();
            });
        }
        const auto finish = [](GObject*, GAsyncResult*, gpointer pointer) {
            const std::unique_ptr<std::weak_ptr<Client>> weak(static_cast<std::weak_ptr<Client>*>(pointer));
            if (const auto client = weak->lock()) client->repliesTaken();
        };
        g_dbus_connection_flush(connection_.get(), nullptr, finish, new std::weak_ptr<Client>(weak_from_this()));
    }

    void repliesTaken() {
        deadline_.reset();
        watching_ = false;
        if (dirty_ && !watching_.exchange(true)) scheduleCheck();
    }

    void disconnect() { g_dbus_connection_close(connection_.get(), nullptr, nullptr, nullptr); }

    Listener& listener_;
    std::shared_ptr<const Timeouts> timeouts_;
    GMainContext* context_;
    GPointer<GDBusConnection> connection_;
    gulong closedHandler_ = 0;
    guint filter_ = 0;
    std::vector<guint> registrations_;
    std::atomic<int> outstanding_ = 0;
    std::atomic<bool> dirty_ = false;
    std::atomic<bool> watching_ = false;
    GPointer<GSource> deadline_;
};

Listener::Listener(ClaimedName name, Vend vend, std::shared_ptr<const Timeouts> timeouts)
    : name_(std::move(name)), vend_(std::move(vend)), timeouts_(std::move(timeouts)), context_(g_main_context_new()) {
    const auto body = [](gpointer self) -> gpointer {
        static_cast<Listener*>(self)->run();
        return nullptr;
    };
    thread_.reset(g_thread_new("quarry-listen", body, this));
}

Listener::~Listener() {
    const auto stop = [](gpointer self) -> gboolean {
        static_cast<Listener*>(self)->stopping_ = true;
        return G_SOURCE_REMOVE;
    };
    GPointer<GSource> source(g_idle_source_new());
    g_source_set_callback(source.get(), stop, this, nullptr);
    g_source_attach(source.get(), context_.get());
    thread_.reset();
}

void Listener::run() {
    g_main_context_push_thread_default(context_.get());
    watchSocket();
    while (!stopping_)
        g_main_context_iteration(context_.get(), TRUE);
    acceptSource_.reset();
    for (Handshake* handshake : handshakes_)
        g_cancellable_cancel(handshake->cancellable.get());
    while (!handshakes_.empty())
        g_main_context_iteration(context_.get(), TRUE);
    for (const auto& client : clients_)
        client->end();
    clients_.clear();
    g_main_context_pop_thread_default(context_.get());
}

void Listener::watchSocket() {
    acceptSource_.reset(g_unix_fd_source_new(name_.socket(), G_IO_IN));
    const GUnixFDSourceFunc ready = [](int, GIOCondition, gpointer self) -> gboolean {
        static_cast<Listener*>(self)->acceptClients();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(acceptSource_.get(), G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(acceptSource_.get(), context_.get());
}

// Without descriptors for it, a waiting client keeps the socket ready: look again later instead of spinning.
void Listener::pauseAccepting() {
    acceptSource_ = timer(context_.get(), kAcceptPauseMilliseconds / 1000.0, [this] { watchSocket(); });
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
        if (clients_.size() + handshakes_.size() >= kMaxClients) continue;
        beginHandshake(descriptor.release());
    }
}

void Listener::beginHandshake(int descriptor) {
    const GPointer<GIOStream> stream = streamFromSocket(descriptor);
    if (!stream) return;
    auto* const handshake = new Handshake{*this, GPointer<GCancellable>(g_cancellable_new()), nullptr};
    handshakes_.insert(handshake);
    if (const double limit = timeouts_->request; limit > 0) {
        handshake->limit =
            timer(context_.get(), limit, [handshake] { g_cancellable_cancel(handshake->cancellable.get()); });
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
    const auto client = std::make_shared<Client>(*this, std::move(connection));
    clients_.insert(client);
    client->begin();
    // It may have gone before there was a handler for that.
    if (client->isClosed()) remove(client.get());
}

void Listener::remove(Client* client) {
    const auto found =
        std::find_if(clients_.begin(), clients_.end(), [client](const auto& entry) { return entry.get() == client; });
    if (found == clients_.end()) return;
    const std::shared_ptr<Client> kept = *found;
    clients_.erase(found);
    kept->end();
}

}  // namespace halden
