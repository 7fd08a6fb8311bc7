#include "tools/Guardian.h"

#include "tools/ProcessTree.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>

namespace quarry::tools {

namespace {

constexpr const char* kVariable = "QUARRY_COMMAND";
constexpr char kOrderlyEnd = 'e';

/// A new folder in the user's runtime folder, else among the temporary files.
std::string makePrivateFolder() {
    const std::string runtime = fmt::format("/run/user/{}", ::geteuid());
    for (const char* base : std::initializer_list<const char*>{std::getenv("XDG_RUNTIME_DIR"), runtime.c_str(),
                                                               std::getenv("TMPDIR"), "/tmp"}) {
        if (base == nullptr || base[0] != '/') {
            continue;
        }
        std::string folder = fmt::format("{}/quarry-XXXXXX", base);
        if (::mkdtemp(folder.data()) != nullptr) {
            return folder;
        }
    }
    return {};
}

/// What nobody else's variable can be.
std::string uniqueVariable() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number) {
        number = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&number));
    }
    const std::string value = fmt::format("{}-{:016x}", ::getpid(), number);
    ::setenv(kVariable, value.c_str(), 1);
    return fmt::format("{}={}", kVariable, value);
}

}  // namespace

std::unique_ptr<Guardian> Guardian::start(bool privateFolder) {
    std::string folder;
    if (privateFolder) {
        folder = makePrivateFolder();
        if (folder.empty()) {
            return nullptr;
        }
    }
    std::unique_ptr<Guardian> guardian(new Guardian(std::move(folder), uniqueVariable()));
    if (!guardian->fork()) {
        const int error = errno;
        if (privateFolder) {
            ::rmdir(guardian->folder_.c_str());
        }
        errno = error;
        return nullptr;
    }
    return guardian;
}

bool Guardian::fork() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t command = ::getpid();
    process_ = ::fork();
    if (process_ == 0) {
        ::close(ends[1]);
        watch(ends[0], command);
    }
    ::close(ends[0]);
    if (process_ < 0) {
        ::close(ends[1]);
        return false;
    }
    pipe_ = ends[1];
    return true;
}

// Runs in the forked process. It leaves the command's session, so that Ctrl-C and a closed terminal do not reach it,
// and lets go of the command's files, so that a reader of its output is not kept waiting.
void Guardian::watch(int pipe, pid_t command) const {
    ::setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
        ::signal(signal, SIG_IGN);
    }
    ::prctl(PR_SET_NAME, "quarry-guardian");
    ::dup2(pipe, STDERR_FILENO + 1);
    pipe = STDERR_FILENO + 1;
    ::close_range(static_cast<unsigned>(pipe) + 1, ~0U, 0);
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(null, standard);
    }
    if (::chdir("/") != 0) {
        ::_exit(1);
    }
    char message = 0;
    ssize_t count = 0;
    do {
        count = ::read(pipe, &message, 1);
    } while (count < 0 && errno == EINTR);

    const bool orderly = count == 1 && message == kOrderlyEnd;
    // Variables of a process that is just being started cannot be seen yet; that it is the command's child can.
    killSiblings(command);
    killProcessesWithVariable(variable_, !orderly);
    if (!folder_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    ::_exit(0);
}

void Guardian::finish(bool interrupted) noexcept {
    std::call_once(finished_, [&] {
        if (pipe_ < 0) {
            return;
        }
        if (!interrupted) {
            // Should the guardian be gone, the write fails quietly: nothing else is lost by it than a signal.
            struct sigaction ignore {};
            struct sigaction before {};
            ignore.sa_handler = SIG_IGN;
            ::sigaction(SIGPIPE, &ignore, &before);
            [[maybe_unused]] const ssize_t count = ::write(pipe_, &kOrderlyEnd, 1);
            ::sigaction(SIGPIPE, &before, nullptr);
        }
        ::close(pipe_);
        while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
    });
}

Guardian::~Guardian() {
    finish(false);
}

}  // namespace quarry::tools
