#include "tools/MemoryGroup.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <system_error>
#include <thread>

namespace quarry::tools {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr std::size_t kMostText = std::size_t{64} << 10;
constexpr auto kLongestEnd = 1s;

std::string contentsOf(const fs::path& file) {
    std::string text;
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return text;
    }
    std::array<char, 4096> piece{};
    ssize_t count = 0;
    while (text.size() < kMostText && (count = ::read(descriptor, piece.data(), piece.size())) > 0) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    return text;
}

/// In one write, which control files ask for.
bool writeTo(const fs::path& file, const std::string& text) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool isWritten = ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(descriptor);
    return isWritten;
}

bool hasWord(std::string_view words, std::string_view word) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find_first_of(" ,\n"), words.size());
        if (words.substr(0, end) == word) {
            return true;
        }
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    return false;
}

/// The path of our group in the hierarchy of `controller` ("" for version 2); nil where there is none, or
/// where it lies outside of what we see.
std::optional<fs::path> groupIn(std::string_view processGroups, std::string_view controller) {
    while (!processGroups.empty()) {
        const std::size_t end = std::min(processGroups.find('\n'), processGroups.size());
        std::string_view line = processGroups.substr(0, end);
        processGroups.remove_prefix(std::min(end + 1, processGroups.size()));
        line.remove_prefix(std::min(line.find(':') + 1, line.size()));
        const std::size_t colon = line.find(':');
        if (colon == line.npos) {
            continue;
        }
        const std::string_view controllers = line.substr(0, colon);
        if (controller.empty() ? !controllers.empty() : !hasWord(controllers, controller)) {
            continue;
        }
        const fs::path path(line.substr(colon + 1));
        const bool isSeen = path.is_absolute() && std::ranges::find(path, "..") == path.end();
        return isSeen ? std::optional(path.relative_path()) : std::nullopt;
    }
    return std::nullopt;
}

/// Groups of commands that were killed have nobody to remove them. One with a process in it stays.
void removeAbandoned(const fs::path& parent) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(parent, error)) {
        int process = 0;
        const std::string name = entry.path().filename();
        if (std::sscanf(name.c_str(), "quarry-%d-", &process) == 1 && process > 0 && ::kill(process, 0) != 0 &&
            errno == ESRCH) {
            ::rmdir(entry.path().c_str());
        }
    }
}

std::string newName() {
    static std::atomic<unsigned> count = 0;
    return fmt::format("quarry-{}-{}", ::getpid(), ++count);
}

/// Sub-groups of it can be bound in memory.
bool handsMemoryOn(const fs::path& group) {
    if (::access(group.c_str(), W_OK) != 0) {
        return false;
    }
    const fs::path control = group / "cgroup.subtree_control";
    return hasWord(contentsOf(control), "memory") ||
           (hasWord(contentsOf(group / "cgroup.controllers"), "memory") && writeTo(control, "+memory"));
}

}  // namespace

std::optional<MemoryGroup> MemoryGroup::make(const fs::path& root, std::string_view processGroups,
                                             std::uint64_t limit) {
    fs::path folder;
    const char* limitFile = "memory.max";
    const char* eventsFile = "memory.events";
    if (const auto first = groupIn(processGroups, "memory")) {
        folder = root / "memory" / *first;
        limitFile = "memory.limit_in_bytes";
        eventsFile = "memory.oom_control";
    } else if (const auto unified = groupIn(processGroups, "")) {
        folder = root / *unified;
        if (!handsMemoryOn(folder)) {
            folder = folder.parent_path();
            if (unified->empty() || !handsMemoryOn(folder)) {
                return std::nullopt;
            }
        }
    } else {
        return std::nullopt;
    }
    removeAbandoned(folder);
    folder /= newName();
    if (::mkdir(folder.c_str(), 0755) != 0) {
        return std::nullopt;
    }
    MemoryGroup group(std::move(folder), eventsFile);
    if (!writeTo(group.folder_ / limitFile, std::to_string(limit))) {
        return std::nullopt;
    }
    // Not every system has these. All processes end together, and none goes on in the swap.
    static_cast<void>(writeTo(group.folder_ / "memory.oom.group", "1"));
    static_cast<void>(writeTo(group.folder_ / "memory.swap.max", "0"));
    static_cast<void>(writeTo(group.folder_ / "memory.memsw.limit_in_bytes", std::to_string(limit)));
    return group;
}

std::optional<MemoryGroup> MemoryGroup::makeHere(std::uint64_t limit) {
    return make("/sys/fs/cgroup", contentsOf("/proc/self/cgroup"), limit);
}

/// What was killed may take a moment to be gone.
MemoryGroup::~MemoryGroup() {
    const auto end = std::chrono::steady_clock::now() + kLongestEnd;
    while (!folder_.empty() && ::rmdir(folder_.c_str()) != 0 && errno == EBUSY &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(2ms);
    }
}

bool MemoryGroup::take(pid_t process) const {
    return writeTo(folder_ / "cgroup.procs", std::to_string(process));
}

bool MemoryGroup::hasKilled() const {
    const std::string events = contentsOf(folder_ / eventsFile_);
    constexpr std::string_view kKey = "oom_kill ";
    for (std::size_t place = events.find(kKey); place != events.npos; place = events.find(kKey, place + 1)) {
        if ((place == 0 || events[place - 1] == '\n') && events.compare(place + kKey.size(), 1, "0") != 0) {
            return true;
        }
    }
    return false;
}

}  // namespace quarry::tools
