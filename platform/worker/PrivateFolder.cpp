#include "platform/worker/PrivateFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string_view>
#include <thread>

namespace halden::exec {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kLongestEnd = 10s;

bool worksIn(pid_t process, const std::string& folder) {
    const int file = open(("/proc/" + std::to_string(process) + "/environ").c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    constexpr std::size_t kLongestEnvironment = 4 << 20;
    std::string environment(1, '\0');
    char buffer[4096];
    for (ssize_t count = 0;
         environment.size() < kLongestEnvironment && (count = read(file, buffer, sizeof buffer)) > 0;)
        environment.append(buffer, static_cast<std::size_t>(count));
    close(file);
    using namespace std::string_literals;
    const std::string variable = "\0TMPDIR="s + folder;
    return environment.find(variable + '\0') != std::string::npos ||
           environment.find(variable + '/') != std::string::npos;
}

}  // namespace

bool killProcessesIn(const std::string& folder) {
    bool found = false;
    DIR* processes = opendir("/proc");
    while (const dirent* entry = processes != nullptr ? readdir(processes) : nullptr) {
        const std::string_view name = entry->d_name;
        pid_t process = 0;
        const auto number = std::from_chars(name.data(), name.data() + name.size(), process);
        if (number.ec != std::errc() || number.ptr != name.data() + name.size() || process == getpid()) continue;
        // The handle before the look: it stays with this process whatever becomes of its number.
        const int handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
        if (handle < 0) continue;
        if (worksIn(process, folder)) {
            syscall(SYS_pidfd_send_signal, handle, SIGKILL, nullptr, 0);
            found = true;
        }
        close(handle);
    }
    if (processes != nullptr) closedir(processes);
    return found;
}

bool removeFolder(const std::string& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
    if (!fs::exists(fs::symlink_status(folder, error))) return true;
    // A job can take the permissions of a folder away, but not our right to give them back.
    auto entry = fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied, error);
    for (const fs::recursive_directory_iterator end; !error && entry != end;) {
        std::error_code ignored;
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored))
            fs::permissions(entry->path(), fs::perms::owner_all, ignored);
        entry.increment(error);
    }
    fs::remove_all(folder, error);
    return !fs::exists(fs::symlink_status(folder, error));
}

bool killAndRemoveFolder(const std::string& folder) {
    const auto limit = std::chrono::steady_clock::now() + kLongestEnd;
    while (std::chrono::steady_clock::now() < limit) {
        if (!killProcessesIn(folder) && removeFolder(folder)) return true;
        std::this_thread::sleep_for(2ms);
    }
    return false;
}

}  // namespace halden::exec
