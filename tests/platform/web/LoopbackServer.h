// A server on the loopback address that counts who comes.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace halden::test {

class LoopbackServer {
public:
    LoopbackServer() {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(listener_, 64) == 0)
            getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~LoopbackServer() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        for (const int connection : kept_)
            close(connection);
        close(listener_);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    [[nodiscard]] std::string address(const std::string& host = "127.0.0.1") const {
        return "http://" + host + ":" + std::to_string(port_);
    }
    [[nodiscard]] std::string port() const { return std::to_string(port_); }
    /// Connections so far.
    [[nodiscard]] int visits() const { return visits_; }

    /// Answers requests for `path` with this; everything else is not found. "" as an answer: none ever comes.
    void answer(const std::string& path, std::string response) {
        const std::lock_guard lock(mutex_);
        answers_[path] = std::move(response);
    }
    static std::string ok(const std::string& type, const std::string& body) {
        return "HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\nAccess-Control-Allow-Origin: *\r\nConnection: close\r\n\r\n" + body;
    }
    static std::string redirect(const std::string& target) {
        return "HTTP/1.1 302 Found\r\nLocation: " + target + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    }

private:
    void serve() {
        for (int connection = 0; (connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            ++visits_;
            const timeval limit{2, 0};
            setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            std::string request;
            char buffer[4096];
            while (request.find("\r\n\r\n") == std::string::npos) {
                const ssize_t count = recv(connection, buffer, sizeof buffer, 0);
                if (count <= 0) break;
                request.append(buffer, static_cast<std::size_t>(count));
            }
            const std::size_t start = request.find(' ') + 1;
            const std::string path = request.substr(start, request.find(' ', start) - start);
            std::string response = "HTTP/1.1 404 No\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
            {
                const std::lock_guard lock(mutex_);
                if (const auto found = answers_.find(path); found != answers_.end()) response = found->second;
            }
            if (response.empty()) {
                kept_.push_back(connection);
                continue;
            }
            (void)send(connection, response.data(), response.size(), MSG_NOSIGNAL);
            shutdown(connection, SHUT_WR);
            close(connection);
        }
    }

    int listener_ = -1;
    int port_ = 0;
    std::atomic<int> visits_ = 0;
    std::mutex mutex_;
    std::map<std::string, std::string> answers_;
    std::vector<int> kept_;
    std::thread thread_;
};

/// An image of one grey pixel.
inline const std::string& greyDot() {
    static const std::string dot("GIF89a\1\0\1\0\x80\0\0\x80\x80\x80\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35);
    return dot;
}

}  // namespace halden::test
