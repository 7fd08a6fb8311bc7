#include "tests/tools/CommandRun.h"

#include "tests/importers/TestBundles.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace quarry::test {

namespace {

std::string contents(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (std::string& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

}  // namespace

Surroundings::Surroundings() {
    std::string name = std::filesystem::temp_directory_path() / "quarry-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = name;
    std::filesystem::create_directory(runtimeFolder());
    std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    variables_ = {{"PATH", "/usr/bin:/bin"},
                  {"HOME", folder_},
                  {"XDG_DATA_HOME", folder_ / "data"},
                  {"XDG_RUNTIME_DIR", runtimeFolder()},
                  {"QUARRY_TEST_SURROUNDINGS", folder_}};
    for (const char* inherited : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (const char* value = std::getenv(inherited)) {
            variables_[inherited] = value;
        }
    }
}

Surroundings::~Surroundings() {
    for (const pid_t process : processes()) {
        ::kill(process, SIGKILL);
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string Surroundings::write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

void Surroundings::addImporter(const std::string& executable, const std::string& extension) const {
    makeBundle(folder_ / "data/quarry/Spotlight", executable, executable, infoForExtension(extension));
}

pid_t Surroundings::start(const std::vector<std::string>& arguments, int output, int error, int input) const {
    std::vector<std::string> words = launcher_;
    words.emplace_back(QUARRY_BUILD_PREFIX "/bin/quarry");
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment;
    for (const auto& [name, value] : variables_) {
        environment.push_back(name + "=" + value);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0) {
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, folder_.c_str());
    pid_t process = -1;
    const int result = ::posix_spawnp(&process, words[0].c_str(), &actions, nullptr, pointers(words).data(),
                                      pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) {
        throw std::runtime_error("quarry cannot be started");
    }
    return process;
}

Outcome Surroundings::run(const std::vector<std::string>& arguments, const std::string& input) const {
    // Every call has files of its own: several may run at the same time.
    std::string outName = folder_ / "out-XXXXXX";
    std::string errorName = folder_ / "error-XXXXXX";
    const int out = ::mkostemp(outName.data(), O_CLOEXEC);
    const int error = ::mkostemp(errorName.data(), O_CLOEXEC);
    const std::string inName = write("in" + outName.substr(outName.size() - 6), input);
    const int in = ::open(inName.c_str(), O_RDONLY | O_CLOEXEC);
    const pid_t process = start(arguments, out, error, in);
    ::close(in);
    ::close(out);
    ::close(error);
    const int status = waitForEnd(process);
    return {status, contents(outName), contents(errorName)};
}

std::vector<pid_t> Surroundings::processes() const {
    const std::string wanted = "QUARRY_TEST_SURROUNDINGS=" + folder_.string();
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            contents(entry.path() / "environ").find(wanted) != std::string::npos) {
            found.push_back(std::stoi(name));
        }
    }
    return found;
}

bool Surroundings::waitForImporter(const std::string& executable) const {
    const std::string bundle = "/" + executable + ".mdimporter/";
    for (int attempt = 0; attempt < 500; ++attempt) {
        const std::vector<pid_t> running = processes();
        const auto loaded = [&](pid_t process) {
            return contents("/proc/" + std::to_string(process) + "/maps").find(bundle) != std::string::npos;
        };
        if (executable.empty() ? running.empty() : std::ranges::any_of(running, loaded)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

std::vector<std::string> Surroundings::runtimeFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(runtimeFolder())) {
        names.push_back(entry.path().filename());
    }
    return names;
}

int waitForEnd(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace quarry::test
