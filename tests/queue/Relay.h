// A network between a worker and its server that can be lost.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace quarry::test {

/// Carries connections to a port of the loopback address, in a thread of its own.
class Relay {
public:
    enum class State {
        open,     ///< carries
        severed,  ///< drops its connections and lets nobody connect
        silent,   ///< takes connections and bytes, and carries none
    };

    explicit Relay(int target);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    [[nodiscard]] int port() const noexcept { return port_; }
    /// A connection from which bytes were taken and not carried carries none later either: it stays silent, as one of
    /// which nobody in between knows any more.
    void set(State state) noexcept { state_ = state; }
    [[nodiscard]] int connections() const noexcept { return connections_; }

private:
    struct Pair {
        int near = -1;
        int far = -1;
        bool isLost = false;
    };

    void run();
    void listen();
    void admit();
    [[nodiscard]] bool carry(Pair& pair, int from, int to) const;
    static void close(const Pair& pair);

    int target_;
    int port_;
    int listener_ = -1;
    std::atomic<State> state_ = State::open;
    std::atomic<bool> ended_ = false;
    std::atomic<int> connections_ = 0;
    std::vector<Pair> pairs_;
    std::thread thread_;
};

}  // namespace quarry::test
