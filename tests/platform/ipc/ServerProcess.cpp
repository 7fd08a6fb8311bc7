#include "tests/platform/ipc/ServerProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

extern char** environ;

namespace halden::testing {

TemporaryFolder::TemporaryFolder() {
    std::string pattern = "/tmp/quarry-ipc-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ServerProcess::ServerProcess(const std::string& folder, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), IPC_ECHO_SERVER);
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::string variable = "QUARRY_RUNTIME_DIR=" + folder;
    std::vector<char*> environment = {variable.data()};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (!std::string_view(*entry).starts_with("QUARRY_RUNTIME_DIR=")) environment.push_back(*entry);
    }
    environment.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int failure = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char answer[16] = {};
    const ssize_t length = failure == 0 ? read(ends[0], answer, sizeof answer - 1) : -1;
    close(ends[0]);
    if (length <= 0) throw std::runtime_error("the echo server did not start");
    claimed_ = std::string_view(answer).starts_with("claimed");
}

ServerProcess::~ServerProcess() {
    if (pid_ <= 0) return;
    signal(SIGKILL);
    wait();
}

void ServerProcess::signal(int number) const {
    kill(pid_, number);
}

void ServerProcess::wait() {
    waitpid(pid_, nullptr, 0);
    pid_ = 0;
}

std::shared_ptr<RootProxy> connectTo(const std::string& folder) {
    return RootProxy::rootProxyForConnectionWithRegisteredName(u"EchoService", folder);
}

}  // namespace halden::testing
