#include "tools/ProcessTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quarry::tools {

namespace {

using namespace std::chrono_literals;

/// How long processes that were killed may take to be gone.
constexpr auto kLongestEnd = 5s;

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

/// A handle that stays with one process, whatever becomes of its number.
class ProcessHandle {
public:
    explicit ProcessHandle(pid_t process) : descriptor_(static_cast<int>(::syscall(SYS_pidfd_open, process, 0))) {}
    ~ProcessHandle() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    ProcessHandle(const ProcessHandle&) = delete;
    ProcessHandle& operator=(const ProcessHandle&) = delete;

    [[nodiscard]] bool valid() const noexcept { return descriptor_ >= 0; }
    void kill() const noexcept { ::syscall(SYS_pidfd_send_signal, descriptor_, SIGKILL, nullptr, 0); }
    /// Returns when the process has ended, or after that time.
    void wait(std::chrono::milliseconds limit) const noexcept {
        pollfd end{descriptor_, POLLIN, 0};
        ::poll(&end, 1, static_cast<int>(limit.count()));
    }

private:
    int descriptor_;
};

/// The first `limit` bytes of a file of /proc; empty when it cannot be read.
std::string contents(const std::string& path, std::size_t limit) {
    std::string text;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return text;
    }
    char buffer[4096];
    ssize_t count = 0;
    while (text.size() < limit && (count = ::read(file, buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(file);
    return text;
}

std::optional<pid_t> numberOf(std::string_view text) {
    pid_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && rest == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Calls `visit` with each number that names an entry of the folder.
template <class Visit>
void forEachNumber(const std::string& path, Visit visit) {
    const Folder folder(::opendir(path.c_str()));
    while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
        if (const auto number = numberOf(entry->d_name)) {
            visit(*number);
        }
    }
}

/// The process and its descendants, parents first.
std::vector<pid_t> treeOf(pid_t process) {
    constexpr std::size_t kMostProcesses = 4096;
    std::vector<pid_t> tree{process};
    for (std::size_t next = 0; next < tree.size() && tree.size() < kMostProcesses; ++next) {
        const std::string tasks = fmt::format("/proc/{}/task", tree[next]);
        forEachNumber(tasks, [&](pid_t task) {
            const std::string children = contents(fmt::format("{}/{}/children", tasks, task), 1 << 16);
            std::string_view rest = children;
            while (!rest.empty()) {
                const std::size_t end = rest.find(' ');
                if (const auto child = numberOf(rest.substr(0, end))) {
                    tree.push_back(*child);
                }
                rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
            }
        });
    }
    return tree;
}

using Handles = std::vector<std::unique_ptr<ProcessHandle>>;

/// To be had of all before any is killed: once a parent is dead, its children belong to somebody else.
Handles handlesOf(const std::vector<pid_t>& processes) {
    Handles handles;
    handles.reserve(processes.size());
    for (const pid_t process : processes) {
        handles.push_back(std::make_unique<ProcessHandle>(process));
    }
    return handles;
}

/// Returns when they are gone, or after a while.
void kill(const Handles& handles) {
    for (const auto& handle : handles) {
        handle->kill();
    }
    const auto limit = std::chrono::steady_clock::now() + kLongestEnd;
    for (const auto& handle : handles) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now());
        handle->wait(std::max(rest, 0ms));
    }
}

/// Whether the process was started with that variable.
bool hasVariable(pid_t process, std::string_view variable) {
    constexpr std::size_t kLongestEnvironment = 4 << 20;
    const std::string environment = contents(fmt::format("/proc/{}/environ", process), kLongestEnvironment);
    std::size_t place = 0;
    while ((place = environment.find(variable, place)) != std::string::npos) {
        const std::size_t end = place + variable.size();
        if ((place == 0 || environment[place - 1] == '\0') && (end == environment.size() || environment[end] == '\0')) {
            return true;
        }
        place = end;
    }
    return false;
}

}  // namespace

std::uint64_t residentBytesOfTree(pid_t process) {
    static const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    std::uint64_t pages = 0;
    for (const pid_t member : treeOf(process)) {
        const std::string sizes = contents(fmt::format("/proc/{}/statm", member), 256);
        const std::size_t second = sizes.find(' ');
        std::uint64_t resident = 0;
        if (second != std::string::npos) {
            std::from_chars(sizes.data() + second + 1, sizes.data() + sizes.size(), resident);
        }
        pages += resident;
    }
    return pages * page;
}

void killTree(pid_t process) {
    kill(handlesOf(treeOf(process)));
}

void killSiblings(pid_t parent) {
    std::vector<pid_t> others = treeOf(parent);
    std::erase_if(others, [parent](pid_t member) { return member == parent || member == ::getpid(); });
    const Handles handles = handlesOf(others);
    // Only now is it certain whose children these are: a parent that ended has left us, and its number, to others.
    if (::getppid() == parent) {
        kill(handles);
    }
}

void waitForEnd(pid_t process, std::chrono::milliseconds limit) {
    const ProcessHandle handle(process);
    if (handle.valid()) {
        handle.wait(limit);
    }
}

bool killProcessesWithVariable(std::string_view variable, bool settle) {
    const auto limit = std::chrono::steady_clock::now() + kLongestEnd;
    while (std::chrono::steady_clock::now() < limit) {
        bool found = false;
        forEachNumber("/proc", [&](pid_t process) {
            const ProcessHandle handle(process);
            if (handle.valid() && process != ::getpid() && hasVariable(process, variable)) {
                handle.kill();
                found = true;
            }
        });
        if (!found && !settle) {
            return true;
        }
        settle = settle && found;
        std::this_thread::sleep_for(found ? 2ms : 100ms);
    }
    return false;
}

}  // namespace quarry::tools
