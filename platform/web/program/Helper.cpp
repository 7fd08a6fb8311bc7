#include "platform/web/program/Helper.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quarry::web {

Helper::Helper(int socket, Handler handler) : socket_(socket), handler_(std::move(handler)) {
    const auto readable = [](gint, GIOCondition, gpointer self) -> gboolean {
        static_cast<Helper*>(self)->receive();
        return G_SOURCE_CONTINUE;
    };
    g_unix_fd_add(socket_, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), readable, this);
}

void Helper::receive() {
    char buffer[65536];
    const ssize_t count = recv(socket_, buffer, sizeof buffer, MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) _exit(0);
    incoming_.append({buffer, static_cast<std::size_t>(count)});
    while (const auto frame = incoming_.next())
        handler_(*frame);
    if (incoming_.isBad()) _exit(1);
}

void Helper::send(std::string frame) {
    outgoing_.push_back(std::move(frame));
    if (writing_ == 0) write();
}

void Helper::write() {
    while (!outgoing_.empty()) {
        const std::string& first = outgoing_.front();
        const ssize_t count =
            ::send(socket_, first.data() + written_, first.size() - written_, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) break;
        if (count < 0) _exit(0);
        written_ += static_cast<std::size_t>(count);
        if (written_ < first.size()) continue;
        outgoing_.pop_front();
        written_ = 0;
    }
    if (outgoing_.empty() == (writing_ == 0)) return;
    if (writing_ != 0) {
        g_source_remove(writing_);
        writing_ = 0;
        return;
    }
    const auto writable = [](gint, GIOCondition, gpointer self) -> gboolean {
        static_cast<Helper*>(self)->write();
        return G_SOURCE_CONTINUE;
    };
    writing_ = g_unix_fd_add(socket_, G_IO_OUT, writable, this);
}

}  // namespace quarry::web
