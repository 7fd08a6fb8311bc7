// Workers that lose the network for a while, and come back without being started anew.
#include "tests/queue/QueueFixture.h"
#include "tests/queue/Relay.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

namespace quarry::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class QueueNetwork : public QueueFixture, public ::testing::WithParamInterface<Relay::State> {
protected:
    QueueNetwork() : relay_(port_) { startServer(); }

    [[nodiscard]] std::uint64_t results() const {
        const std::string state = surroundings_.run({"queue"}).out;
        const std::size_t place = state.find("), ");
        return place == state.npos ? 0 : std::stoull(state.substr(place + 3));
    }
    [[nodiscard]] std::uint64_t pending() const {
        const std::string state = surroundings_.run({"queue"}).out;
        return state.empty() ? 0 : std::stoull(state);
    }
    void waitForResults(std::uint64_t count) const {
        for (int attempt = 0; attempt < 300 && results() < count; ++attempt) {
            std::this_thread::sleep_for(50ms);
        }
        EXPECT_GE(results(), count);
    }
    /// A worker at the other side of the relay; other commands go to the server itself.
    [[nodiscard]] pid_t startWorker(const std::vector<std::string>& more) {
        setServer("nats://127.0.0.1:" + std::to_string(relay_.port()));
        std::vector<std::string> words{"worker", "-j", "1", "--until-empty"};
        words.insert(words.end(), more.begin(), more.end());
        const pid_t worker = start(words);
        setServer("nats://127.0.0.1:" + std::to_string(port_));
        return worker;
    }
    /// How long the network is away; a whole minute, or any time, for a longer run.
    [[nodiscard]] static std::chrono::seconds outage() {
        const char* const wanted = std::getenv("QUARRY_QUEUE_OUTAGE");
        return std::chrono::seconds(wanted != nullptr ? std::atoi(wanted) : 2);
    }
    void loseNetwork() {
        relay_.set(GetParam());
        std::this_thread::sleep_for(outage());
        relay_.set(Relay::State::open);
    }

    Relay relay_;
};

TEST_P(QueueNetwork, NothingIsLostOrStuck) {
    constexpr int kCount = 3000;
    documents(kCount);
    // Longer than a message, so that parts of a result get lost, too.
    std::string text;
    std::minstd_rand random(11);
    while (text.size() < 3'000'000) {
        text += std::to_string(random()) + "\n";
    }
    surroundings_.write("documents/long.txt", text);
    ASSERT_EQ(surroundings_.run({"submit", "documents"}).status, 0);
    const pid_t worker = startWorker({});
    waitForResults(200);
    const int connections = relay_.connections();
    loseNetwork();
    const auto back = Clock::now();
    int status = -1;
    while (::waitpid(worker, &status, WNOHANG) == 0) {
        if (Clock::now() - back > 100s) {
            ADD_FAILURE() << "it hangs";
            ::kill(worker, SIGKILL);
        }
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_EQ(status, 0) << contents(surroundings_.folder() / "output");
    EXPECT_GT(relay_.connections(), connections);
    RecordProperty("seconds", static_cast<int>((Clock::now() - back) / 1s));
    EXPECT_EQ(surroundings_.run({"queue"}).out.substr(0, 39), "0 pending, 0 running (0 redelivered), 3");
    EXPECT_EQ(surroundings_.run({"queue", "--output", "results"}).status, 0);
    expectOneResultEach("results", kCount + 1);
}

// The worker that is cut off has documents, of which the others get to know nothing, and keeps its results itself.
TEST_P(QueueNetwork, OthersTakeOverMeanwhile) {
    constexpr int kCount = 1000;
    documents(kCount);
    ASSERT_EQ(surroundings_.run({"submit", "documents"}).status, 0);
    const pid_t cutOff = startWorker({"--output", "far"});
    while (relay_.connections() == 0 || !std::filesystem::exists(surroundings_.folder() / "far/journal")) {
        std::this_thread::sleep_for(20ms);
    }
    std::this_thread::sleep_for(300ms);
    const pid_t other = start({"worker", "-j", "1", "--until-empty", "--output", "near"});
    loseNetwork();
    EXPECT_EQ(waitForEnd(cutOff), 0) << contents(surroundings_.folder() / "output");
    EXPECT_EQ(waitForEnd(other), 0) << contents(surroundings_.folder() / "output");
    EXPECT_TRUE(surroundings_.run({"queue"}).out.starts_with("0 pending, 0 running"));
    // Each worker has one line for each of its documents; what was done and not acknowledged may be done by both.
    auto all = resultsIn("far");
    all.merge(resultsIn("near"));
    EXPECT_EQ(all.size(), static_cast<std::size_t>(kCount));
    for (const std::string folder : {"far", "near"}) {
        for (const auto& [name, statuses] : resultsIn(folder)) {
            EXPECT_EQ(statuses.size(), 1U) << folder << ": " << name;
        }
    }
}

// Requests come slowly enough that the network is lost among them.
TEST_P(QueueNetwork, ASubmitterPublishesAgainWhatNobodyAnswered) {
    constexpr int kCount = 2000;
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    setServer("nats://127.0.0.1:" + std::to_string(relay_.port()));
    const int output = ::open((surroundings_.folder() / "output").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    const pid_t submitter = surroundings_.start({"submit"}, output, output, ends[0]);
    ::close(ends[0]);
    ::close(output);
    std::thread writer([&] {
        for (int i = 0; i < kCount; ++i) {
            const std::string line = "{\"path\": \"/nowhere/" + std::to_string(i) + "\"}\n";
            EXPECT_EQ(::write(ends[1], line.data(), line.size()), static_cast<ssize_t>(line.size()));
            if (i % 10 == 0) {
                std::this_thread::sleep_for(10ms);
            }
        }
        ::close(ends[1]);
    });
    setServer("nats://127.0.0.1:" + std::to_string(port_));
    for (int attempt = 0; attempt < 200 && pending() < 100; ++attempt) {
        std::this_thread::sleep_for(20ms);
    }
    loseNetwork();
    writer.join();
    EXPECT_EQ(waitForEnd(submitter), 0);
    EXPECT_EQ(contents(surroundings_.folder() / "output"), "quarry: 2000 submitted, 0 of them were there before\n");
    EXPECT_EQ(pending(), static_cast<std::uint64_t>(kCount));
}

INSTANTIATE_TEST_SUITE_P(Outages, QueueNetwork, ::testing::Values(Relay::State::severed, Relay::State::silent),
                         [](const auto& outage) {
                             return std::string(outage.param == Relay::State::severed ? "severed" : "silent");
                         });

}  // namespace
}  // namespace quarry::test
