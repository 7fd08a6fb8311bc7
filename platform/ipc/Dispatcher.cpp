#include "platform/ipc/Dispatcher.h"

#include "platform/ipc/DBusErrors.h"
#include "platform/ipc/StandardInterfaces.h"
#include "platform/ipc/WireDecoder.h"
#include "platform/ipc/WireEncoder.h"

#include <cxxabi.h>

#include <string_view>

namespace halden {
namespace {

// Exceptions of the operation, as against those of the connection itself.
struct Raised {
    CaughtException caught;
};

// Runs `body`, which is the vended object's code; what it throws becomes a Raised.
template <class Body>
auto raising(Body&& body) {
    try {
        return body();
    } catch (...) {
        // A forced unwind has no type and must go on.
        if (abi::__cxa_current_exception_type() == nullptr) throw;
        throw Raised{describeCaughtException()};
    }
}

void returnFlag(GDBusMethodInvocation* invocation, bool flag) {
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", flag ? TRUE : FALSE));
}

void serveProtocol(RootObject& root, GDBusMethodInvocation* invocation) {
    const auto& methods = root.protocol().methods();
    const ProtocolMethod* const method =
        root.protocol().methodForMember(g_dbus_method_invocation_get_method_name(invocation));
    if (method == nullptr) throw ConnectionException(ConnectionFailure::unknownMethod, "No such method");

    GUnixFDList* const descriptors = g_dbus_message_get_unix_fd_list(g_dbus_method_invocation_get_message(invocation));
    const Arguments arguments =
        decodeMessage(method->arguments, g_dbus_method_invocation_get_parameters(invocation), descriptors);
    const auto result =
        raising([&] { return root.invoke(static_cast<std::size_t>(method - methods.data()), arguments); });
    WireMessage message;
    try {
        message = encodeMessage({&method->result, 1}, {&result, 1});
    } catch (const ConnectionException& exception) {
        // Whatever is wrong with a result, it is not the sender's message.
        throw ConnectionException(ConnectionFailure::tooLarge, exception.reason());
    }
    g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, message.body.get(), message.descriptors.get());
}

void serveInterface(RootObject& root, GDBusMethodInvocation* invocation) {
    const std::string_view interface = g_dbus_method_invocation_get_interface_name(invocation);
    if (interface == kRootObjectInterface) {
        const char* selector = nullptr;
        g_variant_get(g_dbus_method_invocation_get_parameters(invocation), "(&s)", &selector);
        returnFlag(invocation, raising([&] { return root.respondsToSelector(selector); }));
    } else if (interface == kBusyInterface) {
        returnFlag(invocation, raising([&] { return root.stillBusy()(); }));
    } else {
        serveProtocol(root, invocation);
    }
}

}  // namespace

// What a connection's registered interfaces refer to.
struct Dispatcher::Registration {
    std::shared_ptr<Dispatcher> dispatcher;
    std::shared_ptr<RootObject> root;
};

void Dispatcher::setRootObject(std::shared_ptr<RootObject> rootObject) {
    const std::lock_guard lock(rootMutex_);
    root_ = std::move(rootObject);
}

std::vector<guint> Dispatcher::vend(GDBusConnection* connection) {
    static const GDBusInterfaceVTable kTable = {handleCall, handleProperty, nullptr, {}};
    std::shared_ptr<RootObject> root;
    {
        const std::lock_guard lock(rootMutex_);
        root = root_;
    }
    if (!root) return {};
    std::vector<GDBusInterfaceInfo*> interfaces = {root->protocol().interfaceInfo(), rootObjectInterfaceInfo()};
    if (root->stillBusy()) interfaces.push_back(busyInterfaceInfo());
    std::vector<guint> numbers;
    for (GDBusInterfaceInfo* interface : interfaces) {
        auto* const registration = new Registration{shared_from_this(), root};
        const auto release = [](gpointer pointer) { delete static_cast<Registration*>(pointer); };
        const guint number = g_dbus_connection_register_object(connection, kRootObjectPath, interface, &kTable,
                                                               registration, release, nullptr);
        if (number != 0) numbers.push_back(number);
    }
    return numbers;
}

void Dispatcher::close() {
    closed_ = true;
    for (const auto& request : waiting_)
        g_object_unref(request.invocation);
    waiting_.clear();
    setRootObject(nullptr);
}

void Dispatcher::handleCall(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                            GDBusMethodInvocation* invocation, gpointer registration) {
    // The registration may end with the connection while the request is being served.
    const auto dispatcher = static_cast<Registration*>(registration)->dispatcher;
    dispatcher->receive({static_cast<Registration*>(registration)->root, invocation});
}

GVariant* Dispatcher::handleProperty(GDBusConnection*, const char*, const char*, const char*, const char*,
                                     GError** error, gpointer registration) {
    const auto root = static_cast<Registration*>(registration)->root;
    try {
        return g_variant_new_string(raising([&] { return root->version(); }).c_str());
    } catch (const Raised& raised) {
        g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_FAILED, "%s", raised.caught.name.c_str());
        return nullptr;
    }
}

void Dispatcher::receive(Request request) {
    if (closed_) {
        g_object_unref(request.invocation);
        return;
    }
    if (queueing_ && depth_ > 0) {
        waiting_.push_back(std::move(request));
        return;
    }
    serve(request);
    while (depth_ == 0 && !waiting_.empty()) {
        const Request next = std::move(waiting_.front());
        waiting_.pop_front();
        serve(next);
    }
}

void Dispatcher::serve(const Request& request) {
    GDBusMethodInvocation* const invocation = request.invocation;
    // Nobody waits for the answer of a client that has gone.
    if (g_dbus_connection_is_closed(g_dbus_method_invocation_get_connection(invocation))) {
        g_object_unref(invocation);
        return;
    }
    struct Level {
        explicit Level(int& depth) : depth_(depth) { ++depth_; }
        ~Level() { --depth_; }
        int& depth_;
    };
    const Level level(depth_);
    try {
        serveInterface(*request.root, invocation);
    } catch (const ConnectionException& exception) {
        returnFailure(invocation, exception);
    } catch (const Raised& raised) {
        returnRaised(invocation, raised.caught.name, raised.caught.reason);
    } catch (const std::exception& exception) {
        // Not the operation's: there was no memory for the arguments or the result.
        returnFailure(invocation, ConnectionException(ConnectionFailure::tooLarge, exception.what()));
    }
}

}  // namespace halden
