#include "platform/ipc/RootProxy.h"

#include "platform/ipc/Authentication.h"
#include "platform/ipc/DBusErrors.h"
#include "platform/ipc/Registry.h"
#include "platform/ipc/RootObject.h"
#include "platform/ipc/Timeouts.h"
#include "platform/ipc/WireDecoder.h"
#include "platform/ipc/WireEncoder.h"

#include <poll.h>

#include <chrono>
#include <functional>
#include <limits>
#include <mutex>

namespace halden {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double kForever = std::numeric_limits<double>::infinity();

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A main context of our own, to block in. The callbacks of what is begun while it is the Default come to it, whatever
// the calling thread does otherwise. Everything begun must have ended before it goes.
class PrivateContext {
public:
    PrivateContext() : context_(g_main_context_new()) {}

    /// While it exists, what this thread begins calls back on the context.
    class Default {
    public:
        explicit Default(PrivateContext& context) : context_(context.context_.get()) {
            g_main_context_push_thread_default(context_);
        }
        Default(const Default&) = delete;
        Default& operator=(const Default&) = delete;
        ~Default() { g_main_context_pop_thread_default(context_); }

    private:
        GMainContext* context_;
    };

    /// Iterates until `done`, or until `seconds` have passed: then false.
    bool runUntil(const bool& done, double seconds) {
        const auto start = Clock::now();
        while (!done) {
            const double left = seconds - secondsSince(start);
            if (left <= 0) return false;
            iterate(left);
        }
        return true;
    }

    /// Dispatches what is ready.
    void drain() {
        while (g_main_context_iteration(context_.get(), FALSE) != FALSE) {
        }
    }

private:
    void iterate(double limit) {
        GPointer<GSource> alarm;
        if (limit != kForever) {
            alarm.reset(g_timeout_source_new(G_MAXUINT));
            g_source_set_ready_time(alarm.get(),
                                    g_get_monotonic_time() + static_cast<gint64>(limit * G_USEC_PER_SEC) + 1);
            g_source_set_callback(
                alarm.get(), [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
            g_source_attach(alarm.get(), context_.get());
        }
        g_main_context_iteration(context_.get(), TRUE);
    }

    GPointer<GMainContext> context_;
};

// The result of something begun.
struct Pending {
    GPointer<GAsyncResult> result;
    bool done = false;

    static void finish(GObject*, GAsyncResult* result, gpointer self) {
        auto* const pending = static_cast<Pending*>(self);
        pending->result.reset(static_cast<GAsyncResult*>(g_object_ref(result)));
        pending->done = true;
    }
};

// A connection over `stream`, or null. `context` must be iterated until the connection has told it that it is closed.
GPointer<GDBusConnection> authenticated(GIOStream* stream, double limit, PrivateContext& context) {
    const PrivateContext::Default asDefault(context);
    Pending pending;
    const GPointer<GCancellable> cancellable(g_cancellable_new());
    const GPointer<GDBusAuthObserver> observer = newAuthObserver();
    g_dbus_connection_new(stream, nullptr, G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, observer.get(),
                          cancellable.get(), Pending::finish, &pending);
    if (!context.runUntil(pending.done, limit)) g_cancellable_cancel(cancellable.get());
    context.runUntil(pending.done, kForever);
    return GPointer<GDBusConnection>(g_dbus_connection_new_finish(pending.result.get(), nullptr));
}

// Asks whether all that was sent over a connection has left this process. The transport can be asked only in a way that
// blocks until then and cannot be called off, so there is at most one such question at a time.
class Flushing {
public:
    /// Waits for a moment, no more.
    bool isFlushed(GDBusConnection* connection) {
        constexpr double kMoment = 0.1;
        const std::lock_guard lock(mutex_);
        const PrivateContext::Default asDefault(context_);
        // What has waited since an earlier request waits before this one.
        if (pending_ && !context_.runUntil(pending_->done, kMoment)) return false;
        pending_ = std::make_unique<Pending>();
        g_dbus_connection_flush(connection, nullptr, Pending::finish, pending_.get());
        if (!context_.runUntil(pending_->done, kMoment)) return false;
        pending_.reset();
        return true;
    }

    /// For a connection that has been closed, which ends the waiting.
    void finish() {
        if (pending_) context_.runUntil(pending_->done, kForever);
    }

private:
    std::mutex mutex_;
    PrivateContext context_;
    std::unique_ptr<Pending> pending_;
};

class SocketRootProxy final : public RootProxy {
public:
    SocketRootProxy(std::unique_ptr<PrivateContext> context, GPointer<GDBusConnection> connection,
                    int processIdentifier)
        : context_(std::move(context)), connection_(std::move(connection)), processIdentifier_(processIdentifier) {
        const auto closed = +[](GDBusConnection*, gboolean, GError*, gpointer self) {
            static_cast<SocketRootProxy*>(self)->closed_ = true;
        };
        g_signal_connect(connection_.get(), "closed", G_CALLBACK(closed), this);
        if (g_dbus_connection_is_closed(connection_.get()) != FALSE) closed_ = true;
    }

    ~SocketRootProxy() override {
        const PrivateContext::Default asDefault(*context_);
        Pending closing;
        g_dbus_connection_close(connection_.get(), nullptr, Pending::finish, &closing);
        flushing_.finish();
        // What the connection has to tell keeps it, and the context, until it is told.
        context_->runUntil(closing.done, kForever);
        context_->runUntil(closed_, kForever);
        context_->drain();
    }

    void setRequestTimeout(double seconds) override { timeouts_.request = checkedTimeout(seconds); }
    void setReplyTimeout(double seconds) override { timeouts_.reply = checkedTimeout(seconds); }
    [[nodiscard]] double requestTimeout() const override { return timeouts_.request; }
    [[nodiscard]] double replyTimeout() const override { return timeouts_.reply; }

    void setProtocolForProxy(const Protocol* protocol) override {
        const std::lock_guard lock(protocolMutex_);
        if (protocol != nullptr) {
            protocol_ = *protocol;
        } else {
            protocol_.reset();
        }
    }

    std::optional<Value> invoke(std::string_view memberOrSelector, const Arguments& arguments) override {
        const Protocol known = protocol();
        const ProtocolMethod* method = known.methodForMember(memberOrSelector);
        if (method == nullptr) method = known.methodForSelector(memberOrSelector);
        if (method == nullptr) {
            throw ConnectionException(ConnectionFailure::unknownMethod,
                                      known.name() + " has no \"" + std::string(memberOrSelector) + "\"");
        }
        return invoke(known, *method, arguments);
    }

    std::optional<Value> invoke(const Protocol& protocol, const ProtocolMethod& method,
                                const Arguments& arguments) override {
        const WireMessage message = encodeMessage(method.arguments, arguments);
        const auto reply = call(protocol.interfaceName().c_str(), method.member.c_str(), message.body.get(),
                                message.descriptors.get());
        return std::move(decodeMessage({&method.result, 1}, g_dbus_message_get_body(reply.get()),
                                       g_dbus_message_get_unix_fd_list(reply.get()))[0]);
    }

    [[nodiscard]] bool respondsToSelector(std::string_view selector) override {
        // No selector holds what the transport's strings cannot.
        const std::string text(selector);
        if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return false;
        return flag(call(kRootObjectInterface, "RespondsToSelector", g_variant_new("(s)", text.c_str())).get());
    }

    [[nodiscard]] bool stillBusy() override { return flag(call(kBusyInterface, "StillBusy", nullptr).get()); }

    [[nodiscard]] std::string version() override {
        const auto reply =
            call("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kRootObjectInterface, "Version"));
        const GPointer<GVariant> boxed(content(reply.get(), "(v)"));
        const GPointer<GVariant> text(g_variant_get_variant(boxed.get()));
        if (!g_variant_is_of_type(text.get(), G_VARIANT_TYPE_STRING)) throwBadReply();
        return g_variant_get_string(text.get(), nullptr);
    }

    [[nodiscard]] bool isValid() const override {
        if (g_dbus_connection_is_closed(connection_.get())) return false;
        // The transport's thread may not have run since the peer ended.
        auto* const stream = G_SOCKET_CONNECTION(g_dbus_connection_get_stream(connection_.get()));
        pollfd state{g_socket_get_fd(g_socket_connection_get_socket(stream)), POLLRDHUP, 0};
        return state.fd >= 0 && poll(&state, 1, 0) == 0;
    }

    [[nodiscard]] int processIdentifier() const override { return processIdentifier_; }

private:
    [[noreturn]] static void throwBadReply() {
        throw ConnectionException(ConnectionFailure::badMessage, "The reply has the wrong type");
    }

    // The one value of a reply whose body is of `type`.
    static GVariant* content(GDBusMessage* reply, const char* type) {
        GVariant* const body = g_dbus_message_get_body(reply);
        if (body == nullptr || !g_variant_is_of_type(body, G_VARIANT_TYPE(type))) throwBadReply();
        return g_variant_get_child_value(body, 0);
    }

    static bool flag(GDBusMessage* reply) {
        const GPointer<GVariant> value(content(reply, "(b)"));
        return g_variant_get_boolean(value.get()) != FALSE;
    }

    // The protocol that was set, else the one that the peer says it has.
    Protocol protocol() {
        {
            const std::lock_guard lock(protocolMutex_);
            if (protocol_) return *protocol_;
        }
        const auto reply = call("org.freedesktop.DBus.Introspectable", "Introspect", nullptr);
        const GPointer<GVariant> text(content(reply.get(), "(s)"));
        auto learned = Protocol::fromIntrospection(g_variant_get_string(text.get(), nullptr), {});
        if (!learned) throw ConnectionException(ConnectionFailure::badMessage, "The peer describes no protocol");
        const std::lock_guard lock(protocolMutex_);
        if (!protocol_) protocol_ = std::move(learned);
        return *protocol_;
    }

    GPointer<GDBusMessage> call(const char* interface, const char* member, GVariant* body,
                                GUnixFDList* descriptors = nullptr) {
        const GPointer<GDBusMessage> message(
            g_dbus_message_new_method_call(nullptr, kRootObjectPath, interface, member));
        if (body != nullptr) g_dbus_message_set_body(message.get(), body);
        if (descriptors != nullptr) g_dbus_message_set_unix_fd_list(message.get(), descriptors);
        auto reply = send(message.get());
        if (g_dbus_message_get_message_type(reply.get()) == G_DBUS_MESSAGE_TYPE_ERROR)
            throw exceptionFromReply(reply.get());
        return reply;
    }

    GPointer<GDBusMessage> send(GDBusMessage* message) {
        PrivateContext context;
        const PrivateContext::Default asDefault(context);
        Pending pending;
        const GPointer<GCancellable> cancellable(g_cancellable_new());
        g_dbus_connection_send_message_with_reply(connection_.get(), message, G_DBUS_SEND_MESSAGE_FLAGS_NONE, G_MAXINT,
                                                  nullptr, cancellable.get(), Pending::finish, &pending);
        const bool timedOut = !awaitReply(context, pending.done);
        if (timedOut) g_cancellable_cancel(cancellable.get());
        context.runUntil(pending.done, kForever);
        GErrorSlot error;
        GPointer<GDBusMessage> reply(
            g_dbus_connection_send_message_with_reply_finish(connection_.get(), pending.result.get(), &error));
        if (reply) return reply;
        if (timedOut) throw ConnectionException(ConnectionFailure::timedOut, "No reply in time");
        throw exceptionFromError(error.get());
    }

    // False when a time-out passes first. Nearly every reply comes before the shorter one, so whether the request has
    // been sent is asked only then.
    bool awaitReply(PrivateContext& context, const bool& done) {
        const auto start = Clock::now();
        const double requestLimit = timeouts_.request > 0 ? timeouts_.request.load() : kForever;
        const double replyLimit = timeouts_.reply > 0 ? timeouts_.reply.load() : kForever;
        if (context.runUntil(done, std::min(requestLimit, replyLimit))) return true;
        if (replyLimit <= requestLimit || !flushing_.isFlushed(connection_.get())) return false;
        return context.runUntil(done, replyLimit - secondsSince(start));
    }

    std::unique_ptr<PrivateContext> context_;
    bool closed_ = false;  // told in the destructor: the context is not iterated before
    GPointer<GDBusConnection> connection_;
    int processIdentifier_;
    Flushing flushing_;
    Timeouts timeouts_{0.0, 0.0};
    std::mutex protocolMutex_;
    std::optional<Protocol> protocol_;
};

}  // namespace

std::shared_ptr<RootProxy> RootProxy::rootProxyForConnectionWithRegisteredName(std::u16string_view name,
                                                                               const std::string& registryFolder,
                                                                               double connectLimit) {
    const auto start = Clock::now();
    FileDescriptor socket = connectToName(name, registryFolder, connectLimit);
    if (!socket) return nullptr;
    const auto credentials = peerCredentials(socket.get());
    if (!credentials) return nullptr;
    const GPointer<GIOStream> stream = streamFromSocket(socket.release());
    if (!stream) return nullptr;
    auto context = std::make_unique<PrivateContext>();
    GPointer<GDBusConnection> connection = authenticated(stream.get(), connectLimit - secondsSince(start), *context);
    if (!connection) return nullptr;
    return std::make_shared<SocketRootProxy>(std::move(context), std::move(connection), credentials->pid);
}

std::shared_ptr<RootProxy> RootProxy::rootProxyForConnectionWithRegisteredName(std::u16string_view name) {
    return rootProxyForConnectionWithRegisteredName(name, registryFolder());
}

}  // namespace halden
