#include "platform/worker/ExitStatus.h"
#include "platform/worker/WorkFolder.h"
#include "platform/worker/Worker.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace halden {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Kind = WorkerEnding::Kind;

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

WorkerProgram shell(const std::string& script, WorkerChannel channel = WorkerChannel::none) {
    return {.path = "/bin/sh", .arguments = {"-c", script}, .channel = channel};
}

/// A process that has ended and waits to be collected counts as gone.
bool isRunning(pid_t process) {
    const std::string status = contents("/proc/" + std::to_string(process) + "/stat");
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && status.substr(name, 3) != ") Z";
}

template <class Condition>
bool eventually(Condition condition) {
    for (int attempt = 0; attempt < 1500; ++attempt) {
        if (condition()) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

/// Two sleepers that leave the job's group and session, one of them with another environment; their numbers are in the
/// files a and b of the job's folder.
constexpr const char* kRunaways =
    "setsid sh -c 'echo $$ > a; exec sleep 1000' & "
    "(setsid env -i /bin/sh -c 'echo $$ > b; exec /bin/sleep 1000' &); "
    "while [ ! -s a ] || [ ! -s b ]; do sleep 0.01; done; ";

TEST(Worker, TheJobsSurroundingsAreItsOwn) {
    setenv("TZ", "Asia/Tokyo", 1);
    setenv("QUARRY_SOMETHING", "kept", 1);
    setenv("SECRET", "of the helper", 1);
    const auto worker = Worker::make({});
    ASSERT_TRUE(worker);
    EXPECT_EQ(fs::status(worker->folder()).permissions(), fs::perms::owner_all);
    auto program = shell("env > env; pwd > pwd; cat > in; echo lost; ls /proc/$$/fd > fds; umask > umask");
    program.environment = {"ADDED=a b"};
    ASSERT_TRUE(worker->launch(program));
    EXPECT_EQ(worker->waitUntilEnd().kind, Kind::exited);
    const std::string environment = "\n" + contents(worker->folder() + "/env");
    for (const char* name : {"TMPDIR", "HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        EXPECT_NE(environment.find(std::string("\n") + name + "=" + worker->folder() + "\n"), std::string::npos)
            << name;
    for (const char* variable : {"TZ=Asia/Tokyo", "QUARRY_SOMETHING=kept", "ADDED=a b", "LC_ALL=C.UTF-8"})
        EXPECT_NE(environment.find(std::string("\n") + variable + "\n"), std::string::npos) << variable;
    EXPECT_EQ(environment.find("SECRET"), std::string::npos);
    EXPECT_EQ(contents(worker->folder() + "/pwd"), worker->folder() + "\n");
    EXPECT_EQ(contents(worker->folder() + "/in"), "");
    EXPECT_EQ(contents(worker->folder() + "/fds").find("4"), std::string::npos);  // 3 is ls's own
}

struct EndingCase {
    const char* name;
    WorkerProgram program;
    WorkerLimits limits;
    Kind kind;
    int status;
};

class Endings : public ::testing::TestWithParam<EndingCase> {};

TEST_P(Endings, AreTold) {
    const auto worker = Worker::make(GetParam().limits);
    ASSERT_TRUE(worker && worker->launch(GetParam().program));
    const WorkerEnding ending = worker->waitUntilEnd();
    EXPECT_EQ(ending.kind, GetParam().kind);
    EXPECT_EQ(ending.status, GetParam().status);
    EXPECT_FALSE(worker->isRunning());
}

INSTANTIATE_TEST_SUITE_P(
    Worker, Endings,
    ::testing::Values(
        EndingCase{"success", shell("true"), {}, Kind::exited, 0},
        EndingCase{"status", shell("exit 7"), {}, Kind::exited, 7},
        EndingCase{"crash", shell("kill -SEGV $$"), {}, Kind::crashed, SIGSEGV},
        EndingCase{"kill", shell("kill -KILL $$"), {}, Kind::crashed, SIGKILL},
        EndingCase{"noProgram", {.path = "/nowhere/program"}, {}, Kind::notStarted, 0},
        EndingCase{"time", shell("sleep 1000"), {.time = 200ms}, Kind::timeIsUp, 0},
        EndingCase{"stopped", shell("kill -STOP $$"), {.time = 300ms}, Kind::timeIsUp, 0},
        EndingCase{"cpu", shell("while :; do :; done"), {.cpu = 1s}, Kind::crashed, SIGXCPU},
        EndingCase{"cpuThatIsCaught", shell("trap '' XCPU; while :; do :; done"), {.cpu = 1s}, Kind::crashed, SIGKILL},
        EndingCase{"fileSize",
                   {.path = "/bin/dd", .arguments = {"if=/dev/zero", "of=file", "bs=65536", "count=100"}},
                   {.fileSize = 1 << 20},
                   Kind::crashed,
                   SIGXFSZ},
        EndingCase{"addressSpace",
                   {.path = "/bin/dd", .arguments = {"if=/dev/zero", "of=/dev/null", "bs=400M", "count=1"}},
                   {.addressSpace = 200 << 20},
                   Kind::exited,
                   1},
        EndingCase{"addressSpaceEnough",
                   {.path = "/bin/dd", .arguments = {"if=/dev/zero", "of=/dev/null", "bs=40M", "count=1"}},
                   {.addressSpace = 200 << 20},
                   Kind::exited,
                   0}),
    [](const auto& row) { return row.param.name; });

TEST(Worker, AJobHasNoNetwork) {
    if (!jobsCanLeaveNetwork().value()) GTEST_SKIP() << "not permitted here";
    const auto devices = [](WorkerNetwork network) {
        const auto worker = Worker::make({});
        auto program = shell("grep -c : /proc/net/dev > devices; cat /proc/net/route > routes; id -u > user");
        program.network = network;
        EXPECT_TRUE(worker->launch(program));
        (void)worker->waitUntilEnd();
        EXPECT_EQ(contents(worker->folder() + "/user"), std::to_string(geteuid()) + "\n");
        return contents(worker->folder() + "/devices") + contents(worker->folder() + "/routes");
    };
    std::string alone = devices(WorkerNetwork::none);
    EXPECT_TRUE(alone.starts_with("1\n")) << alone;  // the loop device, which is down
    EXPECT_LE(std::count(alone.begin(), alone.end(), '\n'), 2) << alone;
    std::ifstream ours("/proc/net/dev");
    EXPECT_EQ(devices(WorkerNetwork::inherited).substr(0, 1),
              std::to_string(std::count(std::istreambuf_iterator<char>(ours), {}, ':')).substr(0, 1));
}

TEST(Worker, WhatAJobLeavesRunningEndsWithIt) {
    const auto worker = Worker::make({});
    ASSERT_TRUE(worker->launch(shell(std::string(kRunaways) + "exit 3")));
    EXPECT_EQ(worker->waitUntilEnd().status, 3);
    for (const char* name : {"/a", "/b"}) {
        const std::string number = contents(worker->folder() + name);
        ASSERT_FALSE(number.empty());
        EXPECT_FALSE(isRunning(std::stoi(number))) << name;
    }
}

TEST(Worker, DestructionKillsTheJobAndRemovesItsFolder) {
    auto worker = Worker::make({});
    const std::string folder = worker->folder();
    ASSERT_TRUE(worker->launch(
        shell(std::string(kRunaways) + "trap '' TERM INT HUP; mkdir -p closed/in; touch closed/in/f; ln -s /usr link; "
                                       "chmod 0 closed; echo ready; sleep 1000",
              WorkerChannel::socket)));
    EXPECT_EQ(worker->receiveLine(20s), "ready");
    const pid_t runaway = std::stoi(contents(folder + "/b"));
    EXPECT_TRUE(isRunning(runaway));
    worker.reset();
    EXPECT_FALSE(isRunning(runaway));
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_TRUE(fs::exists("/usr/bin"));
}

// Nobody can clean up after itself when it is killed: the kernel and the destruction of the worker do.
TEST(Worker, AKilledSupervisorTakesTheJobAlong) {
    auto worker = Worker::make({});
    const std::string folder = worker->folder();
    ASSERT_TRUE(worker->launch(
        shell("setsid sh -c 'echo $$ > a; exec sleep 1000' & echo $$ > job; while [ ! -s a ]; do sleep 0.01; done; "
              "echo ready; sleep 1000",
              WorkerChannel::socket)));
    EXPECT_EQ(worker->receiveLine(20s), "ready");
    const pid_t job = std::stoi(contents(folder + "/job"));
    const pid_t runaway = std::stoi(contents(folder + "/a"));
    kill(worker->processIdentifier(), SIGKILL);
    EXPECT_EQ(worker->waitUntilEnd().kind, Kind::crashed);
    EXPECT_TRUE(eventually([&] { return !isRunning(job); }));
    worker.reset();
    EXPECT_TRUE(eventually([&] { return !isRunning(runaway); }));
    EXPECT_FALSE(fs::exists(folder));
}

TEST(Worker, LinesGoBothWays) {
    const auto worker = Worker::make({});
    ASSERT_TRUE(worker->launch(
        shell("while read line; do echo \"<$line>\"; done; echo end; exec 1>&-; sleep 1000", WorkerChannel::socket)));
    EXPECT_FALSE(worker->receiveLine(50ms));
    ASSERT_TRUE(worker->send("one\ntwo\nthr", 1s));
    EXPECT_EQ(worker->receiveLine(10s), "<one>");
    EXPECT_EQ(worker->receiveLine(10s), "<two>");
    ASSERT_TRUE(worker->send("ee\n", 1s));
    EXPECT_EQ(worker->receiveLine(10s), "<three>");
    worker->end();
    EXPECT_FALSE(worker->receiveLine(10s));
    EXPECT_FALSE(worker->send("x\n", 1s));  // and no signal
}

TEST(Worker, AChannelHasBounds) {
    const auto endless = Worker::make({});
    ASSERT_TRUE(endless->launch(shell("tr '\\0' x < /dev/zero", WorkerChannel::socket)));
    EXPECT_FALSE(endless->receiveLine(10s));
    const auto deaf = Worker::make({});
    ASSERT_TRUE(deaf->launch(shell("sleep 1000", WorkerChannel::socket)));
    EXPECT_FALSE(deaf->send(std::string(10 << 20, 'x'), 100ms));
    // A job that dies is noticed at once, not at the limit.
    const auto dying = Worker::make({});
    ASSERT_TRUE(dying->launch(shell("exit 1", WorkerChannel::socket)));
    EXPECT_FALSE(dying->receiveLine(std::chrono::hours(1)));
}

TEST(Worker, FoldersAreApartAndKeptOnesStay) {
    const auto first = Worker::make({});
    const auto second = Worker::make({});
    EXPECT_NE(first->folder(), second->folder());
    const std::string kept = keptFolder("kept").value();
    EXPECT_EQ(keptFolder("kept"), kept);
    EXPECT_EQ(fs::path(kept).parent_path(), fs::path(first->folder()).parent_path());
    // Somebody tidied up: the next job gets a place all the same.
    fs::remove_all(fs::path(kept).parent_path());
    EXPECT_TRUE(fs::exists(Worker::make({})->folder()));
}

TEST(Worker, AFolderThatCannotBeMadeIsNoWorker) {
    // The folder of this process must be made anew.
    fs::remove_all(fs::path(Worker::make({})->folder()).parent_path());
    setenv("TMPDIR", "/proc", 1);
    EXPECT_FALSE(Worker::make({}));
    unsetenv("TMPDIR");
}

/// The owner of a running job, with the runaways, in a process of its own.
class OwnerTest : public ::testing::Test {
protected:
    OwnerTest() {
        Pipe pipe;
        owner_.setLaunchPath(QUARRY_BUILD_PREFIX "/tests/worker_owner");
        owner_.setArguments({std::string(kRunaways) + "echo ready; sleep 1000"});
        owner_.setStandardOutput(pipe);
        owner_.launch();
        std::istringstream said(std::string(pipe.readDataToEndOfFile(4096).view()));
        said >> folder_ >> supervisor_;
        for (const char* name : {"/a", "/b"})
            runaways_.push_back(std::stoi(contents(folder_ + name)));
    }
    ~OwnerTest() override { owner_.kill(); }

    void expectNothingLeft() {
        owner_.waitUntilExit();
        EXPECT_TRUE(eventually([&] { return !fs::exists(fs::path(folder_).parent_path()); })) << folder_;
        EXPECT_TRUE(eventually([&] { return !isRunning(supervisor_); }));
        for (const pid_t process : runaways_)
            EXPECT_TRUE(eventually([&] { return !isRunning(process); }));
    }

    Task owner_;
    std::string folder_;
    pid_t supervisor_ = 0;
    std::vector<pid_t> runaways_;
};

TEST_F(OwnerTest, KilledLeavesNothing) {
    ASSERT_TRUE(fs::exists(folder_));
    owner_.kill();
    expectNothingLeft();
}

// As one does who ends a process with all its descendants at once: who could clean up is among them.
TEST_F(OwnerTest, KilledWithItsTreeLeavesNothing) {
    ASSERT_TRUE(fs::exists(folder_));
    for (const pid_t process : {owner_.processIdentifier(), supervisor_, runaways_[0], runaways_[1]})
        kill(process, SIGKILL);
    expectNothingLeft();
}

int statusOf(std::vector<std::string> arguments) {
    Task task;
    task.setLaunchPath(executorPath());
    task.setArguments(std::move(arguments));
    task.setStandardErrorToNullDevice();
    task.launch();
    task.waitUntilExit();
    return task.terminationStatus().value();
}

TEST(Executor, RefusesWhatItDoesNotUnderstand) {
    const std::string self = std::to_string(getpid());
    EXPECT_EQ(statusOf({"job", "--parent", self, "--folder", "/tmp", "--", "/bin/true"}), 0);
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {},
             {"job"},
             {"job", "--parent", self, "--folder", "/tmp", "--"},
             {"job", "--parent", self, "--folder", "/tmp", "/bin/true"},
             {"job", "--parent", self, "--", "/bin/true"},
             {"job", "--folder", "/tmp", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "tmp", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "/nowhere", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "/tmp", "--cpu", "1x", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "/tmp", "--file-size", "-1", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "/tmp", "--env", "NAME", "--", "/bin/true"},
             {"job", "--parent", self, "--folder", "/tmp", "--unheard-of", "1", "--", "/bin/true"},
             {"folder"},
             {"folder", "/nowhere/at/all", "more"}})
        EXPECT_EQ(statusOf(arguments), exec::kNotSetUp) << ::testing::PrintToString(arguments);
}

// Its parent died before it could begin to watch it, and somebody else is its parent now.
TEST(Executor, DoesNotServeAnotherThanItsParent) {
    EXPECT_EQ(statusOf({"job", "--parent", std::to_string(getppid()), "--folder", "/tmp", "--", "/bin/true"}),
              exec::kNotSetUp);
}

}  // namespace
}  // namespace halden
