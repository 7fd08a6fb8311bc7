#include "tools/MemoryWatch.h"
#include "tools/ProcessTree.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <memory>
#include <thread>

namespace quarry::tools {
namespace {

constexpr std::size_t kMegabyte = 1 << 20;

/// A process that holds that many bytes, in itself or in a child of its own, until it is killed.
pid_t startHolder(std::size_t bytes, bool inWorker) {
    const pid_t holder = ::fork();
    if (holder != 0) {
        return holder;
    }
    if (inWorker && ::fork() != 0) {
        ::pause();
    }
    const auto memory = std::make_unique<char[]>(bytes);
    std::memset(memory.get(), 1, bytes);
    while (true) {
        ::pause();
    }
}

int signalThatEnded(pid_t process) {
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST(MemoryWatch, KillsWhatGrowsBeyondTheLimit) {
    for (const bool inWorker : {false, true}) {
        MemoryWatch watch(100 * kMegabyte);
        const pid_t holder = startHolder(200 * kMegabyte, inWorker);
        watch.watch(holder);
        EXPECT_EQ(signalThatEnded(holder), SIGKILL);
        ASSERT_TRUE(watch.exceeded().has_value());
        EXPECT_GT(*watch.exceeded(), 100 * kMegabyte);
        EXPECT_EQ(residentBytesOfTree(holder), 0u);
        watch.watch(0);
        EXPECT_FALSE(watch.exceeded().has_value());
    }
}

TEST(MemoryWatch, LeavesAloneWhatStaysBelow) {
    const pid_t holder = startHolder(50 * kMegabyte, true);
    while (residentBytesOfTree(holder) < 50 * kMegabyte) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    {
        MemoryWatch watch(residentBytesOfTree(holder) + 200 * kMegabyte);
        watch.watch(holder);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));  // some looks
        EXPECT_FALSE(watch.exceeded().has_value());
    }
    EXPECT_EQ(::waitpid(holder, nullptr, WNOHANG), 0);
    killTree(holder);
    EXPECT_EQ(signalThatEnded(holder), SIGKILL);
}

}  // namespace
}  // namespace quarry::tools
