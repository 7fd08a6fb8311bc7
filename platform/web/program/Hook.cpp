#include "platform/web/program/Hook.h"

#include "platform/web/program/HookWire.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace quarry::web {

struct Hook::Connection {
    explicit Connection(int descriptor) : socket(descriptor) {}
    ~Connection() { close(socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Hook* hook = nullptr;
    int socket;
    bool isOpen = true;
    std::string received;
};

Hook::Hook(const std::string& path, Handler handler) : handler_(std::move(handler)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0) return;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 16) != 0) {
        close(listener);
        return;
    }
    listener_ = listener;
    const auto ready = [](gint, GIOCondition, gpointer self) -> gboolean {
        static_cast<Hook*>(self)->accept();
        return G_SOURCE_CONTINUE;
    };
    g_unix_fd_add(listener_, G_IO_IN, ready, this);
}

void Hook::accept() {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    auto* held = new std::shared_ptr<Connection>(std::make_shared<Connection>(socket));
    (*held)->hook = this;
    const auto ready = [](gint, GIOCondition, gpointer data) -> gboolean {
        const auto connection = *static_cast<std::shared_ptr<Connection>*>(data);
        connection->hook->receive(connection);
        return connection->isOpen ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    const auto release = [](gpointer data) { delete static_cast<std::shared_ptr<Connection>*>(data); };
    g_unix_fd_add_full(G_PRIORITY_HIGH, socket, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), ready, held,
                       release);
}

void Hook::receive(const std::shared_ptr<Connection>& connection) {
    char buffer[16384];
    const ssize_t count = recv(connection->socket, buffer, sizeof buffer, MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) {
        connection->isOpen = false;
        return;
    }
    std::string& received = connection->received;
    received.append(buffer, static_cast<std::size_t>(count));
    hook::Question head;
    while (received.size() >= sizeof head) {
        std::memcpy(&head, received.data(), sizeof head);
        if (head.addressLength > hook::kLongestAddress || head.redirectLength > hook::kLongestAddress) {
            connection->isOpen = false;
            return;
        }
        const std::size_t length = sizeof head + head.addressLength + head.redirectLength;
        if (received.size() < length) return;
        Question question{head.page, received.substr(sizeof head, head.addressLength),
                          received.substr(sizeof head + head.addressLength, head.redirectLength), nullptr};
        received.erase(0, length);
        question.answer = [connection](bool allowed, const std::string& instead) {
            const hook::Answer answer{allowed ? 1u : 0u, static_cast<std::uint32_t>(instead.size())};
            std::string bytes(reinterpret_cast<const char*>(&answer), sizeof answer);
            bytes += instead;
            // The extension waits for these few bytes and nothing else.
            (void)send(connection->socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        };
        handler_(std::move(question));
    }
}

}  // namespace quarry::web
