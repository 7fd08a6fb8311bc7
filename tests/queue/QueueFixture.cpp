#include "tests/queue/QueueFixture.h"

#include "foundation/Json.h"
#include "foundation/Unicode.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

namespace quarry::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

int freePort() {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    ::close(listener);
    return ntohs(address.sin_port);
}

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

QueueFixture::QueueFixture() : port_(freePort()) {
    surroundings_.addImporter("Good", "good");
    surroundings_.addImporter("Aborts", "aborts");
    setServer("nats://127.0.0.1:" + std::to_string(port_));
    fs::create_directory(surroundings_.folder() / "documents");
}

QueueFixture::~QueueFixture() {
    stopServer(SIGKILL);
    EXPECT_TRUE(surroundings_.processes().empty());
}

void QueueFixture::startServer(const std::vector<std::string>& more) {
    std::vector<std::string> words{
        "-a", "127.0.0.1", "-p", std::to_string(port_), "-js", "-sd", surroundings_.folder() / "store"};
    words.insert(words.end(), more.begin(), more.end());
    launchServer(std::move(words));
}

void QueueFixture::startConfiguredServer(const std::string& configuration) {
    launchServer({"-c", surroundings_.write("server.conf", configuration)});
}

void QueueFixture::launchServer(std::vector<std::string> words) {
    words.insert(words.begin(), NATS_SERVER);
    words.insert(words.end(), {"-l", surroundings_.folder() / "server.log"});
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    server_ = ::fork();
    if (server_ == 0) {
        ::execv(NATS_SERVER, arguments.data());
        ::_exit(127);
    }
    for (int attempt = 0; attempt < 500; ++attempt) {
        const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port_));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool isThere = ::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(client);
        if (isThere) {
            return;
        }
        std::this_thread::sleep_for(10ms);
    }
    ADD_FAILURE() << "no server: " << contents(surroundings_.folder() / "server.log");
}

void QueueFixture::stopServer(int signal) {
    if (server_ > 0) {
        ::kill(server_, signal);
        ::waitpid(std::exchange(server_, 0), nullptr, 0);
    }
}

void QueueFixture::documents(int count) const {
    for (int i = 0; i < count; ++i) {
        surroundings_.write("documents/" + std::to_string(i) + ".good", "x");
    }
}

pid_t QueueFixture::start(const std::vector<std::string>& arguments) const {
    const std::string name = surroundings_.folder() / "output";
    const int output = ::open(name.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    const pid_t command = surroundings_.start(arguments, output, output);
    ::close(output);
    return command;
}

std::map<std::string, std::vector<std::string>> QueueFixture::resultsIn(const std::string& folder) const {
    std::map<std::string, std::vector<std::string>> results;
    for (const auto& entry : fs::directory_iterator(surroundings_.folder() / folder)) {
        if (entry.path().extension() != ".jsonl") {
            continue;
        }
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            const auto value = halden::valueFromJson(line);
            const auto* fields = value ? value->as<halden::Dictionary>() : nullptr;
            if (fields == nullptr) {
                ADD_FAILURE() << line;
                continue;
            }
            const auto text = [&](std::u16string_view key) {
                const auto* string = fields->find(key)->as<std::u16string>();
                return string != nullptr ? halden::utf8FromUtf16(*string) : std::string();
            };
            results[fs::path(text(u"path")).filename()].push_back(text(u"status"));
        }
    }
    return results;
}

void QueueFixture::expectOneResultEach(const std::string& folder, std::size_t count) const {
    const auto results = resultsIn(folder);
    EXPECT_EQ(results.size(), count);
    for (const auto& [name, statuses] : results) {
        EXPECT_EQ(statuses.size(), 1U) << name;
    }
}

}  // namespace quarry::test
