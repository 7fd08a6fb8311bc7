#include "platform/worker/Worker.h"

#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "platform/worker/ExitStatus.h"
#include "platform/worker/PrivateFolder.h"
#include "platform/worker/WorkFolder.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

namespace halden {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How long quarry-exec may take to kill what a job has started.
constexpr auto kLongestEnd = 12s;
constexpr std::size_t kLongestLine = 65536;

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, INT_MAX));
}

/// Waits for `events` on the socket; false when they do not come in time.
bool waitFor(int socket, short events, Clock::time_point deadline) {
    pollfd event{socket, events, 0};
    int count = 0;
    do {
        count = poll(&event, 1, millisecondsUntil(deadline));
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

void say(bool& said, const char* message) {
    if (!said) logWarning(message);
    said = true;
}

WorkerEnding endingOf(int status, bool bySignal) {
    using enum WorkerEnding::Kind;
    if (bySignal) return {crashed, status};
    if (status == exec::kTimeIsUp) return {timeIsUp, 0};
    if (status == exec::kAskedToEnd) return {endedByUs, 0};
    if (status == exec::kNotSetUp || status == exec::kNotExecuted) return {notStarted, 0};
    return {exited, status};
}

}  // namespace

std::unique_ptr<Worker> Worker::make(const WorkerLimits& limits) {
    auto folder = makeJobFolder();
    return folder ? std::unique_ptr<Worker>(new Worker(limits, std::move(*folder))) : nullptr;
}

Worker::~Worker() {
    end();
    if (channel_ >= 0) close(channel_);
    // A supervisor that was killed itself may have left descendants of the job behind.
    const bool orderly = task_.processIdentifier() == 0 || !task_.wasKilledBySignal();
    if (!(orderly ? exec::removeFolder(folder_) : exec::killAndRemoveFolder(folder_)))
        logWarning("Cannot remove " + folder_);
}

std::vector<std::string> Worker::commandLine(const WorkerProgram& program) const {
    const auto milliseconds = std::max<milliseconds::rep>(limits_.time.count(), 1);
    std::vector<std::string> words{"job",
                                   "--parent",
                                   std::to_string(getpid()),
                                   "--folder",
                                   folder_,
                                   "--address-space",
                                   std::to_string(limits_.addressSpace),
                                   "--cpu",
                                   std::to_string(limits_.cpu.count()),
                                   "--file-size",
                                   std::to_string(limits_.fileSize),
                                   "--time",
                                   std::to_string(milliseconds)};
    if (program.network == WorkerNetwork::none) words.emplace_back("--no-network");
    for (const std::string& variable : program.environment) {
        words.emplace_back("--env");
        words.push_back(variable);
    }
    words.emplace_back("--");
    words.push_back(program.path);
    words.insert(words.end(), program.arguments.begin(), program.arguments.end());
    return words;
}

bool Worker::launch(const WorkerProgram& program) {
    int ends[2] = {-1, -1};
    if (program.channel == WorkerChannel::socket) {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            logError("No channel to " + program.path + ": " + std::strerror(errno));
            return false;
        }
        channel_ = ends[0];
        task_.setStandardInputAndOutput(ends[1]);
    } else {
        task_.setStandardInputToNullDevice();
        task_.setStandardOutputToNullDevice();
    }
    // Engines are talkative; only who looks for a fault wants to hear them.
    if (!isLogged(LogLevel::debug)) task_.setStandardErrorToNullDevice();
    task_.setLaunchPath(executorPath());
    task_.setArguments(commandLine(program));
    bool launched = false;
    try {
        task_.launch();
        launched = true;
    } catch (const Exception& exception) {
        logError(exception.reason());
    }
    if (ends[1] >= 0) close(ends[1]);
    if (launched && program.network == WorkerNetwork::none) {
        static const bool canLeave = jobsCanLeaveNetwork().value_or(false);
        static bool said = canLeave;
        say(said, "Jobs cannot be cut off from the network here; they run with it.");
    }
    return launched;
}

bool Worker::send(std::string_view bytes, milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (!bytes.empty()) {
        if (channel_ < 0 || !waitFor(channel_, POLLOUT, deadline)) return false;
        const ssize_t count = ::send(channel_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

std::optional<std::string> Worker::receiveLine(milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    for (;;) {
        if (const std::size_t end = received_.find('\n'); end != std::string::npos) {
            std::string line = received_.substr(0, end);
            received_.erase(0, end + 1);
            return line;
        }
        if (channel_ < 0 || received_.size() > kLongestLine || !waitFor(channel_, POLLIN, deadline))
            return std::nullopt;
        char buffer[4096];
        const ssize_t count = recv(channel_, buffer, sizeof buffer, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
        if (count <= 0) return std::nullopt;
        received_.append(buffer, static_cast<std::size_t>(count));
    }
}

std::optional<WorkerEnding> Worker::waitUntilEnd(milliseconds limit) {
    if (task_.processIdentifier() == 0) return WorkerEnding{};
    if (!task_.waitUntilExit(limit)) return std::nullopt;
    const auto status = task_.terminationStatus();
    // Collected by somebody else: how it ended is lost, and nothing can be said for its results.
    if (!status) return WorkerEnding{WorkerEnding::Kind::crashed, 0};
    return endingOf(*status, task_.wasKilledBySignal());
}

WorkerEnding Worker::waitUntilEnd() {
    if (const auto ending = waitUntilEnd(limits_.time + kLongestEnd)) return *ending;
    end();
    return {WorkerEnding::Kind::timeIsUp, 0};
}

void Worker::end() noexcept {
    if (!task_.isRunning()) return;
    task_.terminate();
    if (!task_.waitUntilExit(kLongestEnd)) {
        task_.kill();
        task_.waitUntilExit();
    }
}

std::optional<bool> jobsCanLeaveNetwork() {
    try {
        Task task;
        Pipe pipe;
        task.setLaunchPath(executorPath());
        task.setArguments({"probe"});
        task.setStandardOutput(pipe);
        task.setStandardErrorToNullDevice();
        task.launch();
        const Data answer = pipe.readDataToEndOfFile(256);
        task.waitUntilExit();
        return answer.view() == "network: cut off\n";
    } catch (const Exception&) {
        return std::nullopt;
    }
}

}  // namespace halden
