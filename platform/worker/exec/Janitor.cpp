#include "platform/worker/exec/Janitor.h"

#include "platform/worker/ExitStatus.h"
#include "platform/worker/PrivateFolder.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

namespace halden::exec {
namespace {

[[noreturn]] void keep(const char* base, pid_t formerParent) {
    // Only once we are nobody's child any more may there be a folder.
    while (getppid() == formerParent)
        std::this_thread::yield();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
        std::signal(signal, SIG_IGN);
    prctl(PR_SET_NAME, "quarry-janitor");
    std::string folder = std::string(base) + "/quarry-work-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) _exit(kNotSetUp);
    const std::string line = folder + "\n";
    const bool said = write(STDOUT_FILENO, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDOUT_FILENO, STDERR_FILENO})
        dup2(null, standard);
    if (said && chdir("/") == 0) {
        char byte = 0;
        ssize_t count = 0;
        do {
            count = read(STDIN_FILENO, &byte, 1);
        } while (count > 0 || (count < 0 && errno == EINTR));
    }
    killAndRemoveFolder(folder);
    _exit(0);
}

}  // namespace

int keepFolder(const char* base) {
    const pid_t between = fork();
    if (between < 0) return kNotSetUp;
    if (between == 0) {
        setsid();
        const pid_t self = getpid();
        const pid_t janitor = fork();
        if (janitor == 0) keep(base, self);
        _exit(janitor < 0 ? kNotSetUp : 0);
    }
    int status = 0;
    while (waitpid(between, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : kNotSetUp;
}

}  // namespace halden::exec
