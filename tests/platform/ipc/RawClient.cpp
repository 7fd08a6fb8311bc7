#include "tests/platform/ipc/RawClient.h"

#include "platform/ipc/Registry.h"
#include "platform/ipc/RootObject.h"

#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <thread>

namespace halden::testing {

RawClient::RawClient(const std::string& folder) : socket_(connectToName(u"EchoService", folder, 5)) {}

std::string RawClient::readLine() {
    std::string line;
    char byte = 0;
    pollfd ready{socket_.get(), POLLIN, 0};
    while (poll(&ready, 1, 20000) == 1 && read(socket_.get(), &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

void RawClient::authenticate() {
    std::string user;
    for (const char digit : std::to_string(geteuid()))
        user += std::string("3") + digit;
    send(std::string(1, '\0') + "AUTH EXTERNAL " + user + "\r\n");
    (void)readLine();
    send("NEGOTIATE_UNIX_FD\r\n");
    (void)readLine();
    send("BEGIN\r\n");
}

void RawClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        pollfd ready{socket_.get(), POLLOUT, 0};
        if (poll(&ready, 1, 20000) != 1) return;
        const ssize_t sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool RawClient::isHungUp(double seconds) {
    pollfd state{socket_.get(), 0, 0};
    return poll(&state, 1, static_cast<int>(seconds * 1000)) == 1 && (state.revents & POLLHUP) != 0;
}

std::string callBytes(const char* member, GVariant* body, unsigned serial) {
    const GPointer<GDBusMessage> message(
        g_dbus_message_new_method_call(nullptr, kRootObjectPath, "org.quarry.EchoService1", member));
    g_dbus_message_set_body(message.get(), body);
    g_dbus_message_set_serial(message.get(), serial);
    gsize length = 0;
    char* const bytes = reinterpret_cast<char*>(
        g_dbus_message_to_blob(message.get(), &length, G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, nullptr));
    const GPointer<char> owner(bytes);
    return {bytes, length};
}

}  // namespace halden::testing
