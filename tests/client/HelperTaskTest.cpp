#include "client/HelperTask.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/HaldenImExport.h"
#include "tests/importers/TestBundles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::u16string_view kHelper = u"" QUARRY_BUILD_PREFIX "/libexec/quarry/quarry-helper";
constexpr std::u16string_view kName = u"QuarryHelper64";

class HelperTaskTest : public ::testing::Test {
protected:
    HelperTaskTest() {
        halden::setLogSink([this](halden::LogLevel level, std::string_view line) {
            if (level == halden::LogLevel::error) errors_.emplace_back(line);
        });
    }
    ~HelperTaskTest() override { halden::setLogSink({}); }

    std::unique_ptr<HelperTask> makeTask(std::u16string_view path = kHelper, double timeout = 0) {
        auto task = HelperTask::initWithPath(path, kName, &halden::haldenImExportProtocol(), timeout);
        task->setRegistryFolder(registry_.path());
        return task;
    }
    static bool answers(const std::shared_ptr<halden::RootProxy>& proxy) {
        return proxy && !halden::HaldenImExportProxy(proxy).supportsFile(u"/nowhere");
    }
    std::u16string script(const std::string& text) {
        const fs::path path = registry_.write("script", "#!/bin/sh\n" + text);
        fs::permissions(path, fs::perms::owner_all);
        return halden::stringFromPathBytes(path.string());
    }

    test::TemporaryFolder registry_;
    std::vector<std::string> errors_;
};

TEST_F(HelperTaskTest, AnEmptyPathOrNameGivesNilAndALine) {
    EXPECT_FALSE(HelperTask::initWithPath(u"", kName));
    EXPECT_FALSE(HelperTask::initWithPath(kHelper, u""));
    EXPECT_THAT(errors_, ElementsAre("Helper missing: QuarryHelper64", "Helper missing: "));
}

TEST_F(HelperTaskTest, LaunchesAndIsFoundByOthers) {
    const auto task = makeTask();
    EXPECT_FALSE(task->launchedProxy());
    EXPECT_TRUE(answers(task->proxy()));
    const auto child = task->processIdentifier();
    ASSERT_TRUE(child);

    const auto other = makeTask();
    const auto proxy = other->proxy();
    EXPECT_TRUE(answers(proxy));
    EXPECT_EQ(proxy->processIdentifier(), *child);
    EXPECT_FALSE(other->processIdentifier());  // it has started nothing
    EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(HelperTaskTest, TimeoutsAreSetUnlessZero) {
    const auto task = makeTask();
    const auto untouched = task->launch();
    ASSERT_TRUE(untouched);
    EXPECT_EQ(untouched->requestTimeout(), 0);
    EXPECT_EQ(untouched->replyTimeout(), 0);
    const auto limited = task->launchedProxyUsingTimeout(30);
    EXPECT_EQ(limited->requestTimeout(), 30);
    EXPECT_EQ(limited->replyTimeout(), 30);
    task->setTimeout(7);
    EXPECT_EQ(task->timeout(), 7);
    EXPECT_EQ(task->proxy()->replyTimeout(), 7);
}

TEST_F(HelperTaskTest, ADeadHelperIsSeenAtOnceAndReplaced) {
    const auto task = makeTask();
    const auto stale = task->proxy();
    ASSERT_TRUE(answers(stale));
    const pid_t first = *task->processIdentifier();
    ::kill(first, SIGKILL);
    try {
        (void)halden::HaldenImExportProxy(stale).supportsFile(u"/nowhere");
        FAIL() << "the call reached a dead helper";
    } catch (const halden::ConnectionException& exception) {
        EXPECT_EQ(exception.failure(), halden::ConnectionFailure::peerDied);
    }
    EXPECT_TRUE(answers(task->proxy()));
    EXPECT_NE(*task->processIdentifier(), first);
}

TEST_F(HelperTaskTest, RestartsAHundredTimes) {
    const auto task = makeTask();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(answers(task->proxy())) << i;
        ::kill(*task->processIdentifier(), SIGKILL);
    }
    EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(HelperTaskTest, TerminateEndsTheChildAndIsHarmlessTwice) {
    {
        const auto task = makeTask();
        ASSERT_TRUE(task->launch());
        const auto proxy = task->launchedProxy();
        task->terminate();
        task->terminate();
        EXPECT_FALSE(task->processIdentifier());
        EXPECT_THROW(for (;;) answers(proxy), halden::ConnectionException);
        ASSERT_TRUE(task->launch());
    }
    // Destruction has sent the signal as well.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (makeTask()->launchedProxy() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(makeTask()->launchedProxy());
}

TEST_F(HelperTaskTest, AnExecutableThatCannotBeStartedGivesNilAndTheCommonLine) {
    EXPECT_FALSE(makeTask(u"/nowhere/quarry-helper")->launch());
    ASSERT_EQ(errors_.size(), 1U);
    EXPECT_THAT(errors_[0], StartsWith("launchUsingTimeout: (HelperTask):\nInvalidArgumentException\ncannot launch "));
}

TEST_F(HelperTaskTest, AHelperThatNeverRegistersIsLeftRunningUntilTerminated) {
    const auto task = makeTask(script("exec sleep 60\n"));
    EXPECT_FALSE(task->launch());
    EXPECT_THAT(errors_, ElementsAre("Connection to script failed."));
    ASSERT_TRUE(task->processIdentifier());
    const pid_t child = *task->processIdentifier();
    EXPECT_EQ(::kill(child, 0), 0);
    task->terminate();
}

TEST_F(HelperTaskTest, AHelperThatEndsAtOnceGivesNil) {
    EXPECT_FALSE(makeTask(u"/bin/true")->launch());
    // Seen right after the launch: no line. Else, after the attempts: one.
    EXPECT_LE(errors_.size(), 1U);
}

TEST_F(HelperTaskTest, LoggingActsOnTheNextLaunch) {
    const fs::path output = registry_ / "output";
    const auto task = makeTask(script("echo said; exec sleep 60\n"));
    const int saved = dup(STDOUT_FILENO);
    const auto launchInto = [&](const fs::path& path) {
        fflush(stdout);
        if (freopen(path.c_str(), "w", stdout) == nullptr) return;
        (void)task->launch();
        dup2(saved, STDOUT_FILENO);
    };
    launchInto(output);
    EXPECT_EQ(fs::file_size(output), 0U);
    task->enableLogging();
    launchInto(output);
    EXPECT_EQ(fs::file_size(output), 5U);
    close(saved);
}

TEST_F(HelperTaskTest, TwoClientsThatLaunchAtTheSameMomentBothGetAProxy) {
    std::vector<std::thread> clients;
    std::vector<int> processes(4);
    for (int& process : processes) {
        clients.emplace_back([this, &process] {
            const auto task = makeTask();
            const auto proxy = task->launch();
            try {
                if (answers(proxy)) process = proxy->processIdentifier();
            } catch (const halden::ConnectionException&) {
                // The helper was that of a client which has ended by now.
            }
        });
    }
    // The tasks end with their threads; who holds the name may be gone before the slowest has asked, but nobody hangs
    // and nobody gets a proxy of nothing.
    for (auto& client : clients)
        client.join();
    EXPECT_THAT(processes, ::testing::Contains(::testing::Gt(0)));
}

}  // namespace
}  // namespace quarry
