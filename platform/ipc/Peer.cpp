#include "platform/ipc/Peer.h"

#include "foundation/Log.h"
#include "platform/ipc/StandardInterfaces.h"
#include "platform/ipc/Timer.h"

#include <gio/gunixfdlist.h>

#include <algorithm>

namespace halden {
namespace {

// A client awaits the answer of each thread's request before the next, so this is a number of threads.
constexpr int kMaxOutstandingRequests = 256;
// The transport ends the process when it gets no descriptor for its own needs.
constexpr int kMaxWaitingDescriptors = 128;
constexpr double kReplyCheckInterval = 1.0;

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

// Counts a message's descriptor as long as the message exists. False when there are too many.
bool countDescriptor(GDBusMessage* message, const std::shared_ptr<PeerSurroundings>& surroundings) {
    GUnixFDList* const descriptors = g_dbus_message_get_unix_fd_list(message);
    if (descriptors == nullptr) return true;
    if (g_unix_fd_list_get_length(descriptors) > 1) {
        // No honest message has more than one; a value that refers to them is refused when it is decoded.
        g_dbus_message_set_unix_fd_list(message, nullptr);
        return true;
    }
    if (++surroundings->descriptors > kMaxWaitingDescriptors) {
        --surroundings->descriptors;
        return false;
    }
    using Held = std::shared_ptr<PeerSurroundings>;
    const auto release = [](gpointer pointer) {
        const std::unique_ptr<Held> held(static_cast<Held*>(pointer));
        --(*held)->descriptors;
    };
    g_object_set_data_full(G_OBJECT(message), "quarry-descriptor", new Held(surroundings), release);
    return true;
}

}  // namespace

Peer::Peer(std::shared_ptr<PeerSurroundings> surroundings, GPointer<GDBusConnection> connection)
    : surroundings_(std::move(surroundings)), connection_(std::move(connection)) {}

void Peer::begin(std::function<void()> closed) {
    closed_ = std::move(closed);
    closedHandler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(handleClosed), this);
    const auto release = [](gpointer pointer) { delete static_cast<std::weak_ptr<Peer>*>(pointer); };
    filter_ = g_dbus_connection_add_filter(connection_.get(), watchMessage, new std::weak_ptr<Peer>(weak_from_this()),
                                           release);
    registrations_.push_back(registerBusStandIn(connection_.get()));
    const auto vended = [this] {
        // Requests go to the context that is the default when their object is registered: here to the main one.
        const WithoutThreadDefault main(surroundings_->context.get());
        return surroundings_->vend(connection_.get());
    }();
    registrations_.insert(registrations_.end(), vended.begin(), vended.end());
    g_dbus_connection_start_message_processing(connection_.get());
}

void Peer::end() {
    g_signal_handler_disconnect(connection_.get(), closedHandler_);
    g_dbus_connection_remove_filter(connection_.get(), filter_);
    for (const guint number : registrations_)
        g_dbus_connection_unregister_object(connection_.get(), number);
    deadline_.reset();
}

bool Peer::isClosed() const {
    return g_dbus_connection_is_closed(connection_.get()) != FALSE;
}

void Peer::handleClosed(GDBusConnection*, gboolean, GError*, gpointer self) {
    // The call may end the peer and what the function refers to with it.
    const auto closed = static_cast<Peer*>(self)->closed_;
    closed();
}

// Sees every message, on the transport's thread.
GDBusMessage* Peer::watchMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self) {
    const auto peer = static_cast<std::weak_ptr<Peer>*>(self)->lock();
    if (!peer) return message;
    if (incoming == FALSE) {
        --peer->outstanding_;
        peer->watchReply();
        return message;
    }
    if (peer->admit(message)) return message;
    g_object_unref(message);
    return nullptr;
}

bool Peer::admit(GDBusMessage* request) {
    // Every operation is there for its result: what asks for none is no request.
    if (g_dbus_message_get_message_type(request) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return false;
    if ((g_dbus_message_get_flags(request) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) != 0) return false;
    if (++outstanding_ <= kMaxOutstandingRequests && countDescriptor(request, surroundings_)) return true;
    logInfo("A client that sends too much at a time is disconnected.");
    disconnect();
    return false;
}

// A reply that the client does not take must not be kept for ever. Whether replies have been taken is looked at once in
// a while, not for each, since looking costs more than a reply.
void Peer::watchReply() {
    dirty_ = true;
    if (surroundings_->timeouts->reply > 0 && !watching_.exchange(true)) scheduleCheck();
}

void Peer::scheduleCheck() {
    const double pause = std::min(kReplyCheckInterval, surroundings_->timeouts->reply / 2);
    auto source = timer(surroundings_->context.get(), pause, [weak = weak_from_this()] {
        if (const auto peer = weak.lock()) peer->checkReplies();
    });
    // The context keeps it until it has fired.
    g_source_unref(source.release());
}

void Peer::checkReplies() {
    dirty_ = false;
    if (const double limit = surroundings_->timeouts->reply; limit > 0) {
        deadline_ = timer(surroundings_->context.get(), limit, [weak = weak_from_this()] {
            const auto peer = weak.lock();
            if (!peer) return;
            logInfo("A client that reads no replies is disconnected.");
            peer->disconnect();
        });
    }
    const auto finish = [](GObject*, GAsyncResult*, gpointer pointer) {
        const std::unique_ptr<std::weak_ptr<Peer>> weak(static_cast<std::weak_ptr<Peer>*>(pointer));
        if (const auto peer = weak->lock()) peer->repliesTaken();
    };
    g_dbus_connection_flush(connection_.get(), nullptr, finish, new std::weak_ptr<Peer>(weak_from_this()));
}

void Peer::repliesTaken() {
    deadline_.reset();
    watching_ = false;
    // A reply that went out meanwhile has seen that somebody watches, and relied on it.
    if (dirty_ && !watching_.exchange(true)) scheduleCheck();
}

void Peer::disconnect() {
    g_dbus_connection_close(connection_.get(), nullptr, nullptr, nullptr);
}

}  // namespace halden
