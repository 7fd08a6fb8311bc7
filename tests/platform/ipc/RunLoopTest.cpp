#include "platform/ipc/RunLoop.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <limits>
#include <thread>

namespace halden {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Calls `body` on the default context as soon as it is iterated.
void whenIdle(std::function<void()> body) {
    const auto call = [](gpointer pointer) -> gboolean {
        (*static_cast<std::function<void()>*>(pointer))();
        return G_SOURCE_REMOVE;
    };
    const auto release = [](gpointer pointer) { delete static_cast<std::function<void()>*>(pointer); };
    g_idle_add_full(G_PRIORITY_DEFAULT, call, new std::function<void()>(std::move(body)), release);
}

TEST(RunLoopTest, RunsForTheWholeInterval) {
    const auto start = Clock::now();
    int dispatched = 0;
    whenIdle([&] { ++dispatched; });
    RunLoop::currentRunLoop().runForTimeInterval(0.05);
    EXPECT_GE(secondsSince(start), 0.05);
    EXPECT_EQ(dispatched, 1);
}

TEST(RunLoopTest, WithoutTimeDispatchesWhatIsReady) {
    int dispatched = 0;
    whenIdle([&] { ++dispatched; });
    RunLoop::currentRunLoop().runForTimeInterval(0);
    EXPECT_EQ(dispatched, 1);
    RunLoop::currentRunLoop().runForTimeInterval(-5);
}

TEST(RunLoopTest, NestsInsideADispatchedSource) {
    std::vector<int> order;
    whenIdle([&] {
        order.push_back(1);
        whenIdle([&] { order.push_back(2); });
        RunLoop::currentRunLoop().runForTimeInterval(0.02);
        order.push_back(3);
    });
    RunLoop::currentRunLoop().runForTimeInterval(0.1);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(RunLoopTest, StopEndsTheInnermostRun) {
    int inner = 0;
    whenIdle([&] {
        whenIdle([] { RunLoop::currentRunLoop().stop(); });
        RunLoop::currentRunLoop().run();
        ++inner;
        RunLoop::currentRunLoop().stop();
    });
    RunLoop::currentRunLoop().run();
    EXPECT_EQ(inner, 1);
}

TEST(RunLoopTest, StopsFromAnotherThreadAndOnlyWhatRuns) {
    const RunLoop loop = RunLoop::currentRunLoop();
    loop.stop();
    bool began = false;
    whenIdle([&] { began = true; });
    std::thread stopper([loop] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        loop.stop();
    });
    RunLoop::currentRunLoop().run();
    stopper.join();
    EXPECT_TRUE(began);
}

TEST(RunLoopTest, RunsOnceInTheOneMode) {
    int count = 0;
    whenIdle([&] { ++count; });
    EXPECT_TRUE(runMode(u"NSDefaultRunLoopMode", 10));
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(runMode(u"kCFRunLoopDefaultMode", 0.01));  // nothing to do: the limit
    EXPECT_TRUE(runMode(u"NSDefaultRunLoopMode", -1));
    EXPECT_FALSE(runMode(u"SomeOtherMode", 0.01));
    EXPECT_FALSE(runMode(u"NSDefaultRunLoopMode", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(runMode(u"NSDefaultRunLoopMode", std::numeric_limits<double>::infinity()));
    whenIdle([&] { ++count; });
    runForTimeInterval(0.01);
    EXPECT_EQ(count, 2);
}

}  // namespace
}  // namespace halden
