#include "platform/ipc/Authentication.h"

#include <unistd.h>

#include <string_view>

namespace halden {

GPointer<GIOStream> streamFromSocket(int descriptor) {
    const GPointer<GSocket> socket(g_socket_new_from_fd(descriptor, nullptr));
    if (!socket) {
        close(descriptor);
        return nullptr;
    }
    return GPointer<GIOStream>(G_IO_STREAM(g_socket_connection_factory_create_connection(socket.get())));
}

GPointer<GDBusAuthObserver> newAuthObserver() {
    GPointer<GDBusAuthObserver> observer(g_dbus_auth_observer_new());
    const auto allow = +[](GDBusAuthObserver*, const char* mechanism, gpointer) -> gboolean {
        return std::string_view(mechanism) == "EXTERNAL";
    };
    g_signal_connect(observer.get(), "allow-mechanism", G_CALLBACK(allow), nullptr);
    return observer;
}

}  // namespace halden
