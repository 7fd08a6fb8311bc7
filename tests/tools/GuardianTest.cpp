#include "tools/Guardian.h"
#include "tools/ProcessTree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace quarry::tools {
namespace {

/// What a command leaves for the test to look at, through a pipe.
struct Started {
    pid_t command = -1;
    pid_t child = -1;
    char folder[256] = {};
};

pid_t spawnSleeper() {
    pid_t child = -1;
    std::string shell = "/bin/sh";
    std::string option = "-c";
    std::string script = "trap '' TERM HUP INT; sleep 1000 & wait";  // with a child of its own, deaf to requests
    char* const words[] = {shell.data(), option.data(), script.data(), nullptr};
    EXPECT_EQ(::posix_spawn(&child, shell.c_str(), nullptr, nullptr, words, environ), 0);
    return child;
}

/// Runs a command in a process of its own that starts a guardian and a child, and then does `end`.
Started startCommand(bool privateFolder, const std::function<void(Guardian&)>& end) {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    Started started;
    const pid_t command = ::fork();
    if (command == 0) {
        const auto guardian = Guardian::start(privateFolder);
        guardian->folder().copy(started.folder, sizeof started.folder - 1);
        started.child = spawnSleeper();
        if (::write(ends[1], &started, sizeof started) != sizeof started) {
            ::_exit(9);
        }
        end(*guardian);
        ::_exit(0);
    }
    EXPECT_EQ(::read(ends[0], &started, sizeof started), static_cast<ssize_t>(sizeof started));
    ::close(ends[0]);
    ::close(ends[1]);
    started.command = command;
    return started;
}

/// Whether the process has ended, within 10 s.
bool ends(pid_t process) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        ::waitpid(process, nullptr, WNOHANG);  // it may have become ours
        if (::kill(process, 0) != 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

bool disappears(const char* folder) {
    for (int attempt = 0; attempt < 1000 && std::filesystem::exists(folder); ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return !std::filesystem::exists(folder);
}

class GuardianTest : public ::testing::Test {
protected:
    // Orphans come to the test, so that it sees their end.
    void SetUp() override { ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0); }
};

TEST_F(GuardianTest, ThePrivateFolderIsOursAlone) {
    const Started started = startCommand(true, [](Guardian& guardian) {
        struct stat status {};
        ::_exit(::stat(guardian.folder().c_str(), &status) == 0 && (status.st_mode & 07777) == 0700 ? 0 : 1);
    });
    int status = -1;
    ::waitpid(started.command, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(disappears(started.folder));
}

// When the command's process has ended, everything is gone already: nothing is left for later.
TEST_F(GuardianTest, FinishingEndsWhatWasStarted) {
    for (const bool interrupted : {false, true}) {
        const Started started = startCommand(true, [&](Guardian& guardian) {
            std::filesystem::create_directories(guardian.folder() + "/deep/er");
            guardian.finish(interrupted);
            guardian.finish(interrupted);
        });
        ::waitpid(started.command, nullptr, 0);
        EXPECT_FALSE(std::filesystem::exists(started.folder));
        ::waitpid(started.child, nullptr, WNOHANG);
        EXPECT_NE(::kill(started.child, 0), 0);
    }
}

TEST_F(GuardianTest, EvenWhenTheCommandIsKilled) {
    for (const bool privateFolder : {true, false}) {
        const Started started = startCommand(privateFolder, [](Guardian&) { ::pause(); });
        ASSERT_EQ(::kill(started.child, 0), 0);
        ::kill(started.command, SIGKILL);
        ::waitpid(started.command, nullptr, 0);
        EXPECT_TRUE(ends(started.child));
        EXPECT_TRUE(!privateFolder || disappears(started.folder));
    }
}

// What another command started at the same time is none of its business.
TEST_F(GuardianTest, OthersAreLeftAlone) {
    const Started other = startCommand(true, [](Guardian&) { ::pause(); });
    const Started started = startCommand(true, [](Guardian& guardian) { guardian.finish(true); });
    ::waitpid(started.command, nullptr, 0);
    EXPECT_EQ(::kill(other.child, 0), 0);
    EXPECT_TRUE(std::filesystem::exists(other.folder));
    ::kill(other.command, SIGKILL);
    EXPECT_TRUE(ends(other.child));
}

// A parent that has ended may have left its number to others.
TEST_F(GuardianTest, ChildrenOfOthersAreNoSiblings) {
    const Started other = startCommand(false, [](Guardian&) { ::pause(); });
    const pid_t stranger = ::fork();
    if (stranger == 0) {
        killSiblings(other.command);
        ::_exit(0);
    }
    ::waitpid(stranger, nullptr, 0);
    EXPECT_EQ(::kill(other.child, 0), 0);
    ::kill(other.command, SIGKILL);
    EXPECT_TRUE(ends(other.child));
}

}  // namespace
}  // namespace quarry::tools
