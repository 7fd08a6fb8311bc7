#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "platform/process/Task.h"
#include "platform/process/TaskConveniences.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <string>
#include <thread>

namespace halden {
namespace {

using namespace std::chrono_literals;

Task shell(const std::string& script) {
    Task task;
    task.setLaunchPath("/bin/sh");
    task.setArguments({"-c", script});
    return task;
}

std::string outputOf(Task& task) {
    Pipe pipe;
    task.setStandardOutput(pipe);
    task.launch();
    const Data output = pipe.readDataToEndOfFile();
    task.waitUntilExit();
    return std::string(output.view());
}

bool exists(pid_t process) {
    return ::kill(process, 0) == 0;
}

TEST(Task, ArgumentsArePassedAsTheyAre) {
    Task task;
    task.setLaunchPath("/usr/bin/printf");
    task.setArguments({"%s|", "a b", "$HOME", "caf\xE9", "", "*"});
    EXPECT_EQ(outputOf(task), "a b|$HOME|caf\xE9||*|");
    EXPECT_EQ(task.terminationStatus(), 0);
}

TEST(Task, EnvironmentChangesAndFolder) {
    setenv("QUARRY_TEST_KEPT", "kept", 1);
    setenv("QUARRY_TEST_CHANGED", "old", 1);
    Task task = shell("echo $QUARRY_TEST_KEPT $QUARRY_TEST_CHANGED $QUARRY_TEST_NEW; pwd");
    task.setEnvironmentVariable("QUARRY_TEST_CHANGED", "changed");
    task.setEnvironmentVariable("QUARRY_TEST_NEW", "a=b");
    task.setCurrentDirectory("/usr");
    EXPECT_EQ(outputOf(task), "kept changed a=b\n/usr\n");
}

TEST(Task, HowAChildEnded) {
    Task byItself = shell("exit 7");
    EXPECT_EQ(byItself.terminationStatus(), std::nullopt);
    byItself.launch();
    byItself.waitUntilExit();
    EXPECT_EQ(byItself.terminationStatus(), 7);
    EXPECT_FALSE(byItself.wasKilledBySignal());

    Task bySignal = shell("kill -9 $$");
    bySignal.launch();
    bySignal.waitUntilExit();
    EXPECT_EQ(bySignal.terminationStatus(), SIGKILL);
    EXPECT_TRUE(bySignal.wasKilledBySignal());
}

TEST(Task, WhatCannotBeStartedRaises) {
    for (const char* path : {"/nowhere/at/all", "/etc/passwd", "/usr", ""}) {
        Task task;
        task.setLaunchPath(path);
        EXPECT_THROW(task.launch(), Exception) << path;
        EXPECT_FALSE(task.isRunning());
        task.terminate();
    }
    Task twice = shell("exit 0");
    twice.launch();
    EXPECT_THROW(twice.launch(), Exception);
    twice.waitUntilExit();
}

TEST(Task, WaitingWithALimit) {
    Task task = shell("exec sleep 60");
    task.launch();
    EXPECT_FALSE(task.waitUntilExit(20ms));
    EXPECT_TRUE(task.isRunning());
    task.terminate();
    EXPECT_TRUE(task.waitUntilExit(10s));
    EXPECT_EQ(task.terminationStatus(), SIGTERM);
    task.terminate();  // harmless
    task.kill();
}

TEST(Task, TheChildStartsWithDefaultSignalsAndNothingBlocked) {
    std::signal(SIGTERM, SIG_IGN);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_BLOCK, &term, nullptr);
    Task task = shell("exec sleep 60");
    task.launch();
    task.terminate();
    EXPECT_TRUE(task.waitUntilExit(10s));
    sigprocmask(SIG_UNBLOCK, &term, nullptr);
    std::signal(SIGTERM, SIG_DFL);
}

TEST(Task, TheChildInheritsNoDescriptors) {
    const int leak = fcntl(STDERR_FILENO, F_DUPFD, 77);  // without close-on-exec
    Task task = shell("ls /proc/self/fd");
    const std::string listed = outputOf(task);
    close(leak);
    EXPECT_EQ(listed.find(std::to_string(leak) + "\n"), std::string::npos) << listed;
}

TEST(Task, ALongOutputIsReadWholeOrCutAtTheLimit) {
    Task task = shell("head -c 300000 /dev/zero");
    EXPECT_EQ(outputOf(task).size(), 300000U);
    Pipe pipe;
    Task cut = shell("head -c 300000 /dev/zero");
    cut.setStandardOutput(pipe);
    cut.launch();
    EXPECT_EQ(pipe.readDataToEndOfFile(1000).length(), 1000U);
    cut.waitUntilExit();
    EXPECT_EQ(cut.terminationStatus(), 0);  // it could write everything
}

TEST(Task, AChildThatIsLetGoIsNeverAZombieForLong) {
    pid_t child = 0;
    {
        Task task = shell("exit 0");
        task.launch();
        child = task.processIdentifier();
        // Wait for its end without collecting it.
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    }
    EXPECT_FALSE(exists(child));

    pid_t running = 0;
    {
        Task task = shell("exec sleep 60");
        task.launch();
        running = task.processIdentifier();
    }
    EXPECT_TRUE(exists(running));  // destruction ends nothing
    ::kill(running, SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(running), &info, WEXITED | WNOWAIT);
    Task next = shell("exit 0");
    next.launch();  // collects what was let go
    EXPECT_FALSE(exists(running));
    next.waitUntilExit();
}

TEST(TaskConveniences, AnswerWhetherTheStatusWasZero) {
    std::string line;
    setLogSink([&](LogLevel, std::string_view message) { line = message; });
    EXPECT_TRUE(launchTaskAndWaitUntilExitWithLaunchPath("/bin/true", {}));
    EXPECT_FALSE(launchTaskAndWaitUntilExitWithLaunchPath("/bin/false", {}));
    EXPECT_TRUE(line.empty());
    EXPECT_FALSE(launchTaskAndWaitUntilExitWithLaunchPath("/nowhere", {}));
    EXPECT_EQ(line.rfind("launchTaskAndWaitUntilExitWithLaunchPath:arguments: (NSTask):\n", 0), 0U) << line;

    Task killed = shell("kill -9 $$");
    EXPECT_FALSE(launchAndWaitUntilExit(killed));
    Task missing;
    missing.setLaunchPath("/nowhere");
    EXPECT_FALSE(launchAndWaitUntilExit(missing));
    EXPECT_EQ(line.rfind("launchAndWaitUntilExit (NSTask):\n", 0), 0U) << line;
    setLogSink({});
}

}  // namespace
}  // namespace halden
