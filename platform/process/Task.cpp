#include "platform/process/Task.h"

#include "foundation/Exception.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <mutex>
#include <string_view>

namespace halden {
namespace {

/// Children whose task was destroyed while they ran. They are looked at whenever a task is launched or destroyed.
class Reaper {
public:
    static Reaper& shared() {
        static auto* instance = new Reaper;  // children may outlive static destruction
        return *instance;
    }
    /// Takes over the handle.
    void adopt(int handle) {
        const std::lock_guard lock(mutex_);
        handles_.push_back(handle);
    }
    void collect() {
        const std::lock_guard lock(mutex_);
        std::erase_if(handles_, [](int handle) {
            siginfo_t info{};
            const int result = waitid(P_PIDFD, static_cast<id_t>(handle), &info, WEXITED | WNOHANG);
            if (result == 0 && info.si_pid == 0) return false;
            close(handle);
            return true;
        });
    }

private:
    std::mutex mutex_;
    std::vector<int> handles_;
};

using Variables = std::map<std::string, std::string>;

/// The variables of the child, in the form that posix_spawn takes: the given ones or else the inherited, with changes.
std::vector<std::string> environmentOf(const std::optional<Variables>& given, const Variables& changes) {
    std::vector<std::string> environment;
    const auto add = [&](const std::string& name, std::string_view variable) {
        if (!changes.contains(name)) environment.emplace_back(variable);
    };
    if (given) {
        for (const auto& [name, value] : *given)
            add(name, name + "=" + value);
    } else {
        for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
            const std::string_view text = *variable;
            add(std::string(text.substr(0, text.find('='))), text);
        }
    }
    for (const auto& [name, value] : changes)
        environment.push_back(name + "=" + value);
    return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (auto& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// posix_spawn's two parameter objects, freed on every path.
struct SpawnParameters {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;

    SpawnParameters() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnParameters() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnParameters(const SpawnParameters&) = delete;
    SpawnParameters& operator=(const SpawnParameters&) = delete;
};

enum class Output { inherited, nullDevice, pipe, descriptor };

struct Redirection {
    Output kind = Output::inherited;
    Pipe* pipe = nullptr;
    int source = -1;

    void addTo(posix_spawn_file_actions_t& actions, int descriptor) const {
        if (kind == Output::nullDevice) {
            posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null",
                                             descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
        } else if (kind == Output::pipe) {
            posix_spawn_file_actions_adddup2(&actions, pipe->writingEnd(), descriptor);
        } else if (kind == Output::descriptor) {
            posix_spawn_file_actions_adddup2(&actions, source, descriptor);
        }
    }
};

int remainingMilliseconds(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT32_MAX));
}

}  // namespace

Pipe::Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw Exception("FileHandleOperationException", std::string("cannot make a pipe: ") + std::strerror(errno));
    }
    reading_ = ends[0];
    writing_ = ends[1];
}

Pipe::~Pipe() {
    close(reading_);
    closeWritingEnd();
}

void Pipe::closeWritingEnd() noexcept {
    if (writing_ >= 0) close(writing_);
    writing_ = -1;
}

Data Pipe::readDataToEndOfFile(std::size_t limit) {
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 16384> chunk{};
    for (;;) {
        const ssize_t count = read(reading_, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        const std::size_t kept = std::min(static_cast<std::size_t>(count), limit - bytes.size());
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(kept));
    }
    return Data(std::move(bytes));
}

struct Task::State {
    std::string launchPath;
    std::vector<std::string> arguments;
    std::optional<Variables> givenEnvironment;
    Variables environmentChanges;
    std::string currentDirectory;
    Redirection input;
    Redirection output;
    Redirection error;
    pid_t child = 0;
    int handle = -1;  // pidfd: names the child even after its number was given to another process
    std::optional<siginfo_t> ending;
    bool hasEnded = false;  // without `ending`: somebody else has collected it, and how it ended is lost

    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() {
        if (handle >= 0) {
            if (reap(WNOHANG))
                close(handle);
            else
                Reaper::shared().adopt(handle);
        }
        Reaper::shared().collect();
    }

    /// Collects the child when it has ended, or, without WNOHANG, as soon as it does.
    bool reap(int options) {
        if (handle < 0) return false;
        if (hasEnded) return true;
        siginfo_t info{};
        int result = 0;
        do {
            result = waitid(P_PIDFD, static_cast<id_t>(handle), &info, WEXITED | options);
        } while (result != 0 && errno == EINTR);
        if (result == 0 && info.si_pid == 0) return false;
        if (result == 0) ending = info;
        hasEnded = true;
        return true;
    }

    void spawn() {
        SpawnParameters parameters;
        input.addTo(parameters.actions, STDIN_FILENO);
        output.addTo(parameters.actions, STDOUT_FILENO);
        error.addTo(parameters.actions, STDERR_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&parameters.actions, STDERR_FILENO + 1);
        if (!currentDirectory.empty()) {
            posix_spawn_file_actions_addchdir_np(&parameters.actions, currentDirectory.c_str());
        }
        std::vector<std::string> commandLine = arguments;
        commandLine.insert(commandLine.begin(), launchPath);
        std::vector<std::string> environment = environmentOf(givenEnvironment, environmentChanges);
        const int failure = posix_spawn(&child, launchPath.c_str(), &parameters.actions, &parameters.attributes,
                                        pointersTo(commandLine).data(), pointersTo(environment).data());
        if (failure != 0) {
            child = 0;
            throw Exception("InvalidArgumentException", "cannot launch " + launchPath + ": " + std::strerror(failure));
        }
    }
};

Task::Task() : state_(std::make_unique<State>()) {}
Task::~Task() = default;
Task::Task(Task&&) noexcept = default;
Task& Task::operator=(Task&&) noexcept = default;

void Task::setLaunchPath(std::string path) {
    state_->launchPath = std::move(path);
}
void Task::setArguments(std::vector<std::string> arguments) {
    state_->arguments = std::move(arguments);
}
void Task::setCurrentDirectory(std::string path) {
    state_->currentDirectory = std::move(path);
}
void Task::setStandardOutputToNullDevice() {
    state_->output = {.kind = Output::nullDevice};
}
void Task::setStandardErrorToNullDevice() {
    state_->error = {.kind = Output::nullDevice};
}
void Task::setStandardOutput(Pipe& pipe) {
    state_->output = {.kind = Output::pipe, .pipe = &pipe};
}
void Task::setStandardError(Pipe& pipe) {
    state_->error = {.kind = Output::pipe, .pipe = &pipe};
}
void Task::setStandardInputToNullDevice() {
    state_->input = {.kind = Output::nullDevice};
}
void Task::setStandardInputAndOutput(int descriptor) {
    state_->input = {.kind = Output::descriptor, .source = descriptor};
    state_->output = state_->input;
}

void Task::setEnvironmentVariable(std::string name, std::string value) {
    state_->environmentChanges[std::move(name)] = std::move(value);
}

void Task::setEnvironment(std::map<std::string, std::string> environment) {
    state_->givenEnvironment = std::move(environment);
}

void Task::launch() {
    Reaper::shared().collect();
    if (state_->handle >= 0) throw Exception("InvalidArgumentException", "task already launched");
    state_->spawn();
    state_->handle = static_cast<int>(syscall(SYS_pidfd_open, state_->child, 0));
    if (state_->handle < 0) {
        const std::string reason = std::strerror(errno);
        // The number may be somebody else's by now when the child was collected behind our back.
        if (waitpid(state_->child, nullptr, WNOHANG) == 0) {
            ::kill(state_->child, SIGKILL);
            waitpid(state_->child, nullptr, 0);
        }
        throw Exception("InvalidArgumentException", "cannot watch " + state_->launchPath + ": " + reason);
    }
    for (const Redirection* redirection : {&state_->output, &state_->error}) {
        if (redirection->pipe != nullptr) redirection->pipe->closeWritingEnd();
    }
}

bool Task::isRunning() noexcept {
    return state_->handle >= 0 && !state_->reap(WNOHANG);
}

pid_t Task::processIdentifier() const noexcept {
    return state_->child;
}

void Task::terminate() noexcept {
    if (isRunning()) syscall(SYS_pidfd_send_signal, state_->handle, SIGTERM, nullptr, 0);
}

void Task::kill() noexcept {
    if (isRunning()) syscall(SYS_pidfd_send_signal, state_->handle, SIGKILL, nullptr, 0);
}

void Task::waitUntilExit() {
    state_->reap(0);
}

bool Task::waitUntilExit(std::chrono::milliseconds limit) {
    if (state_->handle < 0) return true;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!state_->reap(WNOHANG)) {
        pollfd watch{state_->handle, POLLIN, 0};
        const int left = remainingMilliseconds(deadline);
        if (poll(&watch, 1, left) == 0 && left == 0) return state_->reap(WNOHANG);
    }
    return true;
}

std::optional<int> Task::terminationStatus() noexcept {
    if (state_->handle < 0 || !state_->reap(WNOHANG) || !state_->ending) return std::nullopt;
    return state_->ending->si_status;
}

bool Task::wasKilledBySignal() noexcept {
    return terminationStatus().has_value() &&
           (state_->ending->si_code == CLD_KILLED || state_->ending->si_code == CLD_DUMPED);
}

}  // namespace halden
