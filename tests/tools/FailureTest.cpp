// What becomes of a command, and of the processes that it started, when a helper or the command itself fails.
#include "tests/tools/CommandRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace quarry::test {
namespace {

class Failure : public ::testing::Test {
protected:
    void SetUp() override {
        surroundings_.addImporter("Good", "good");
        surroundings_.addImporter("Aborts", "aborts");
        surroundings_.addImporter("Hangs", "hangs");
        surroundings_.addImporter("Grows", "grows");
        for (const char* name : {"a.good", "b.good", "c.aborts", "d.hangs", "e.grows"}) {
            surroundings_.write(name, "x");
        }
    }
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }

    /// Starts a command that hangs in an importer, and waits until it does.
    pid_t startHanging(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words{"metadata", "d.hangs", "a.good"};
        words.insert(words.end(), options.begin(), options.end());
        const std::string name = surroundings_.folder() / "output";
        const int output = ::open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        const pid_t command = surroundings_.start(words, output, output);
        ::close(output);
        EXPECT_TRUE(surroundings_.waitForImporter("Hangs"));
        return command;
    }

    Surroundings surroundings_;
};

TEST_F(Failure, ACrashCostsOneFile) {
    const Outcome outcome = surroundings_.run({"metadata", "a.good", "c.aborts", "b.good", "c.aborts"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.error, "quarry: c.aborts: the helper crashed\nquarry: c.aborts: the helper crashed\n");
    EXPECT_EQ(std::ranges::count(outcome.out, '\n'), 4) << outcome.out;
    const std::string good = surroundings_.run({"metadata", "a.good", "b.good"}).out;
    const std::size_t half = good.find('\n') + 1;
    EXPECT_EQ(outcome.out, good.substr(0, half) + "null\n" + good.substr(half) + "null\n");
    EXPECT_NE(good, "null\nnull\n");
}

TEST_F(Failure, ACrashMakesNoSupport) {
    // The abort comes when a file is read, so the importer is fine as far as this goes.
    const Outcome outcome = surroundings_.run({"supports", "c.aborts", "a.good"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
}

TEST_F(Failure, AHangIsEndedAtTheLimit) {
    const Outcome outcome = surroundings_.run({"metadata", "--timeout", "3", "d.hangs", "a.good"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.error, "quarry: d.hangs: no answer within 3 s; the helper was ended\n");
    EXPECT_TRUE(outcome.out.starts_with("null\n{")) << outcome.out;
}

TEST_F(Failure, GrowthIsEndedAtTheLimit) {
    const Outcome outcome = surroundings_.run({"metadata", "--memory", "300M", "e.grows", "a.good"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.error, "quarry: e.grows: the helper grew beyond 300.0M, and was ended\n");
    EXPECT_TRUE(outcome.out.starts_with("null\n{")) << outcome.out;
}

TEST_F(Failure, ASignalLeavesNothingBehind) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        SCOPED_TRACE(signal);
        const pid_t command = startHanging();
        ::kill(command, signal);
        // Whoever waits for the command sees the signal, and everything is gone by then.
        EXPECT_EQ(waitForEnd(command), 128 + signal);
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }
    EXPECT_EQ(std::filesystem::file_size(surroundings_.folder() / "output"), 0u) << "a false alarm was printed";
}

TEST_F(Failure, NotEvenSigkillLeavesAHelper) {
    for (const std::vector<std::string>& options : {std::vector<std::string>{}, {"--shared"}}) {
        const pid_t command = startHanging(options);
        ::kill(command, SIGKILL);
        EXPECT_EQ(waitForEnd(command), 128 + SIGKILL);
        EXPECT_TRUE(surroundings_.waitForImporter(""));
    }
    // What is left is the user's registry folder of --shared.
    std::filesystem::remove_all(surroundings_.runtimeFolder() / "quarry");
    for (int attempt = 0; attempt < 500 && !surroundings_.runtimeFiles().empty(); ++attempt) {
        ::usleep(20000);
    }
}

TEST_F(Failure, SharedHelpersAreReusedAndSpared) {
    const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    const pid_t first = surroundings_.start({"metadata", "--shared", "d.hangs"}, nothing, nothing);
    ::close(nothing);
    ASSERT_TRUE(surroundings_.waitForImporter("Hangs"));
    // The second command waits behind the first one's document, gives up, and ends nobody else's helper.
    const Outcome second = surroundings_.run({"metadata", "--shared", "--timeout", "0.7", "a.good"});
    EXPECT_EQ(second.status, 3);
    EXPECT_EQ(second.error, "quarry: a.good: no answer within 0.7 s\n");
    EXPECT_EQ(surroundings_.processes().size(), 3u);  // the first command, its guardian and its helper
    ::kill(first, SIGTERM);
    EXPECT_EQ(waitForEnd(first), 128 + SIGTERM);
    std::filesystem::remove_all(surroundings_.runtimeFolder() / "quarry");
}

}  // namespace
}  // namespace quarry::test
