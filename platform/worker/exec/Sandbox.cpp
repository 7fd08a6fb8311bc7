#include "platform/worker/exec/Sandbox.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace halden::exec {
namespace {

bool setLimit(__rlimit_resource resource, std::uint64_t soft, std::uint64_t hard) {
    rlimit before{};
    if (getrlimit(resource, &before) != 0) return false;
    // A limit that somebody set before us may be tighter, and cannot be raised.
    const rlimit limit{std::min<rlim_t>(soft, before.rlim_max), std::min<rlim_t>(hard, before.rlim_max)};
    return setrlimit(resource, &limit) == 0;
}

bool writeFile(const char* path, std::string_view text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) return false;
    const ssize_t count = write(file, text.data(), text.size());
    close(file);
    return count == static_cast<ssize_t>(text.size());
}

}  // namespace

bool setLimits(const JobRequest& request) {
    bool all = setLimit(RLIMIT_CORE, 0, 0);
    if (request.addressSpace != 0) all &= setLimit(RLIMIT_AS, request.addressSpace, request.addressSpace);
    // The first signal can be caught; the one a second later cannot.
    if (request.cpuSeconds != 0) all &= setLimit(RLIMIT_CPU, request.cpuSeconds, request.cpuSeconds + 1);
    if (request.fileSize != 0) all &= setLimit(RLIMIT_FSIZE, request.fileSize, request.fileSize);
    all &= prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    // A wish, not a limit: some systems do not let a process set it.
    (void)writeFile("/proc/self/oom_score_adj", "900");
    return all;
}

bool leaveNetwork() {
    if (unshare(CLONE_NEWNET) == 0) return true;
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
    // Without a mapping of its own the process would own none of its files.
    return writeFile("/proc/self/setgroups", "deny") && writeFile("/proc/self/uid_map", user + " " + user + " 1") &&
           writeFile("/proc/self/gid_map", group + " " + group + " 1");
}

bool canLeaveNetwork() {
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) _exit(leaveNetwork() ? 0 : 1);
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<std::string> privateEnvironment(const JobRequest& request) {
    std::vector<std::string> environment{"PATH=/usr/local/bin:/usr/bin:/bin", "LANG=C.UTF-8", "LC_ALL=C.UTF-8"};
    for (const char* name :
         {"TMPDIR", "HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        environment.push_back(std::string(name) + "=" + request.folder);
    constexpr std::array<std::string_view, 5> kKept{"QUARRY_",
                                                    "TZ=", "ASAN_OPTIONS=", "UBSAN_OPTIONS=", "LSAN_OPTIONS="};
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        for (const std::string_view prefix : kKept) {
            if (std::string_view(*variable).starts_with(prefix)) environment.emplace_back(*variable);
        }
    }
    environment.insert(environment.end(), request.environment.begin(), request.environment.end());
    return environment;
}

}  // namespace halden::exec
