#include "platform/worker/exec/Supervisor.h"

#include "platform/worker/ExitStatus.h"
#include "platform/worker/exec/Sandbox.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <csignal>
#include <optional>
#include <string>
#include <string_view>

namespace halden::exec {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// How long descendants that were killed may take to be gone.
constexpr auto kLongestEnd = 10s;

int openProcess(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (auto& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// Our own children. A child that has ended keeps its number until we collect it, so the numbers are safe to kill.
std::vector<pid_t> children() {
    std::vector<pid_t> result;
    const int file = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
    if (file < 0) return result;
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(file, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    close(file);
    for (const char *next = text.data(), *end = next + text.size(); next < end; ++next) {
        pid_t child = 0;
        const auto number = std::from_chars(next, end, child);
        if (number.ec == std::errc()) result.push_back(child);
        next = std::max(next, number.ptr);
    }
    return result;
}

class Supervisor {
public:
    explicit Supervisor(const JobRequest& request) : request_(request) {}

    int run() {
        if (!watchParent() || !becomeReaper()) return kNotSetUp;
        const bool leavesNetwork = request_.withoutNetwork && canLeaveNetwork();
        start_ = Clock::now();
        const pid_t supervisor = getpid();
        job_ = fork();
        if (job_ < 0) return kNotSetUp;
        if (job_ == 0) execute(supervisor, leavesNetwork);
        letGoOfFiles();
        const int status = waitForEnd();
        killDescendants();
        return status;
    }
    /// The signal that ended the job by itself, or 0.
    [[nodiscard]] int endingSignal() const noexcept { return signal_; }

private:
    /// The handle first: a parent that is replaced by another process in between is noticed by the look after it.
    bool watchParent() {
        parent_ = openProcess(request_.parent);
        return parent_ >= 0 && getppid() == request_.parent;
    }

    bool becomeReaper() {
        setsid();  // no terminal, and no signal of the parent's group
        prctl(PR_SET_NAME, "quarry-exec");
        if (prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0) return false;
        sigemptyset(&watched_);
        for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP})
            sigaddset(&watched_, signal);
        sigprocmask(SIG_BLOCK, &watched_, nullptr);
        signals_ = signalfd(-1, &watched_, SFD_CLOEXEC | SFD_NONBLOCK);
        return signals_ >= 0;
    }

    [[noreturn]] void execute(pid_t supervisor, bool leavesNetwork) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != supervisor) _exit(kAskedToEnd);  // it died before the line above
        setpgid(0, 0);
        sigprocmask(SIG_UNBLOCK, &watched_, nullptr);
        auto environment = privateEnvironment(request_);
        auto commandLine = request_.commandLine;
        if (chdir(request_.folder.c_str()) != 0) _exit(kNotSetUp);
        if (leavesNetwork && !leaveNetwork()) _exit(kNotSetUp);
        if (!setLimits(request_)) _exit(kNotSetUp);
        // Once more: a change of credentials, which a user namespace is, may clear it.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != supervisor) _exit(kAskedToEnd);
        execve(commandLine[0].c_str(), pointersTo(commandLine).data(), pointersTo(environment).data());
        _exit(kNotExecuted);
    }

    /// The end of the job's channel must be seen at its end, not at ours.
    void letGoOfFiles() const {
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (null < 0) return;
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO})
            dup2(null, standard);
        close(null);
    }

    int waitForEnd() {
        for (;;) {
            pollfd events[] = {{signals_, POLLIN, 0}, {parent_, POLLIN, 0}};
            poll(events, 2, millisecondsLeft());
            if (const auto status = collect()) return *status;
            if (events[1].revents != 0 || endIsAsked()) return kAskedToEnd;
            if (millisecondsLeft() == 0) return kTimeIsUp;
        }
    }

    [[nodiscard]] int millisecondsLeft() const {
        if (request_.timeMilliseconds == 0) return -1;
        const auto used = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_).count();
        const auto limit = static_cast<std::int64_t>(std::min<std::uint64_t>(request_.timeMilliseconds, INT_MAX));
        return static_cast<int>(std::max<std::int64_t>(limit - used, 0));
    }

    /// Collects whoever has ended; the status to end with when the job has.
    std::optional<int> collect() {
        std::optional<int> result;
        int status = 0;
        for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
            if (ended != job_) continue;
            signal_ = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
            result = WIFEXITED(status) ? WEXITSTATUS(status) : kNotSetUp;
        }
        return result;
    }

    bool endIsAsked() const {
        signalfd_siginfo info{};
        bool asked = false;
        while (read(signals_, &info, sizeof info) == sizeof info)
            asked |= info.ssi_signo != SIGCHLD;
        return asked;
    }

    /// First the job's whole group at one stroke, which no forking can outrun; then our children, until there are none:
    /// the children of each that dies become ours.
    void killDescendants() {
        const auto limit = Clock::now() + kLongestEnd;
        kill(-job_, SIGKILL);
        while (Clock::now() < limit) {
            for (const pid_t child : children())
                kill(child, SIGKILL);
            while (waitpid(-1, nullptr, WNOHANG) > 0) {
            }
            if (waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD) return;
            pollfd event{signals_, POLLIN, 0};
            poll(&event, 1, 20);
            (void)endIsAsked();
        }
    }

    const JobRequest& request_;
    Clock::time_point start_;
    sigset_t watched_{};
    int parent_ = -1;
    int signals_ = -1;
    pid_t job_ = -1;
    int signal_ = 0;
};

}  // namespace

int superviseJob(const JobRequest& request) {
    Supervisor supervisor(request);
    const int status = supervisor.run();
    if (const int signal = supervisor.endingSignal(); signal != 0) {
        // Whoever waits for us shall see what ended the job.
        std::signal(signal, SIG_DFL);
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        sigprocmask(SIG_UNBLOCK, &one, nullptr);
        raise(signal);
    }
    return status;
}

}  // namespace halden::exec
