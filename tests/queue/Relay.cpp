#include "tests/queue/Relay.h"

#include "tests/queue/QueueFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace quarry::test {
namespace {

constexpr int kStepMilliseconds = 20;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool sendAll(int socket, const char* bytes, ssize_t count) {
    while (count > 0) {
        const ssize_t sent = ::send(socket, bytes, static_cast<std::size_t>(count), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes += sent;
        count -= sent;
    }
    return true;
}

}  // namespace

Relay::Relay(int target) : target_(target), port_(freePort()) {
    listen();
    thread_ = std::thread([this] { run(); });
}

Relay::~Relay() {
    ended_ = true;
    thread_.join();
    for (const Pair& pair : pairs_) {
        close(pair);
    }
    ::close(listener_);
}

void Relay::listen() {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int yes = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = loopback(port_);
    EXPECT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener_, 16), 0);
}

void Relay::run() {
    while (!ended_) {
        const State state = state_;
        if (state == State::severed) {
            for (const Pair& pair : std::exchange(pairs_, {})) {
                close(pair);
            }
            ::close(std::exchange(listener_, -1));
            ::poll(nullptr, 0, kStepMilliseconds);
            continue;
        }
        if (listener_ < 0) {
            listen();
        }
        std::vector<pollfd> waited{{listener_, POLLIN, 0}};
        for (const Pair& pair : pairs_) {
            waited.push_back({pair.near, POLLIN, 0});
            waited.push_back({pair.far, POLLIN, 0});
        }
        ::poll(waited.data(), waited.size(), kStepMilliseconds);
        std::vector<Pair> kept;
        for (std::size_t i = 0; i < pairs_.size(); ++i) {
            Pair pair = pairs_[i];
            if ((waited[2 * i + 1].revents == 0 || carry(pair, pair.near, pair.far)) &&
                (waited[2 * i + 2].revents == 0 || carry(pair, pair.far, pair.near))) {
                kept.push_back(pair);
            } else {
                close(pair);
            }
        }
        pairs_ = std::move(kept);
        if (waited[0].revents != 0) {
            admit();
        }
    }
}

void Relay::admit() {
    const int near = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (near < 0) {
        return;
    }
    Pair pair{.near = near, .far = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), .isLost = state_ == State::silent};
    const sockaddr_in address = loopback(target_);
    if (::connect(pair.far, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(pair);
        return;
    }
    ++connections_;
    pairs_.push_back(pair);
}

/// False at the end of the connection.
bool Relay::carry(Pair& pair, int from, int to) const {
    std::array<char, 65536> bytes;
    const ssize_t count = ::recv(from, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
        return false;
    }
    pair.isLost = pair.isLost || state_ == State::silent;
    return pair.isLost || sendAll(to, bytes.data(), count);
}

void Relay::close(const Pair& pair) {
    ::close(pair.near);
    ::close(pair.far);
}

}  // namespace quarry::test
