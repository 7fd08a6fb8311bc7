#include "platform/ipc/Registry.h"
#include "tests/platform/ipc/EchoService.h"
#include "tests/platform/ipc/ServerProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace halden::testing {
namespace {

constexpr uid_t kNobody = 65534;

std::optional<ClaimedName> claim(const std::string& folder) {
    std::string reason;
    auto claimed = ClaimedName::claim(u"EchoService", folder, reason);
    EXPECT_EQ(claimed.has_value(), reason.empty());
    return claimed;
}

sockaddr_un addressIn(const std::string& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (folder + "/EchoService.sock").c_str(), sizeof address.sun_path - 1);
    return address;
}

TEST(RegistryTest, TheEnvironmentSaysTheFolder) {
    const TemporaryFolder own;
    const std::string user = std::to_string(geteuid());
    setenv("QUARRY_RUNTIME_DIR", "/some/where/", 1);
    setenv("XDG_RUNTIME_DIR", own.path().c_str(), 1);
    EXPECT_EQ(registryFolder(), "/some/where");
    setenv("QUARRY_RUNTIME_DIR", "", 1);
    EXPECT_EQ(registryFolder(), own.path() + "/quarry");
    const std::string last =
        std::filesystem::exists("/run/user/" + user) ? "/run/user/" + user + "/quarry" : "/tmp/quarry-" + user;
    for (const std::string unfit : {"", "relative", "/nowhere/at/all"}) {
        setenv("XDG_RUNTIME_DIR", unfit.c_str(), 1);
        EXPECT_EQ(registryFolder(), last) << unfit;
    }
}

TEST(RegistryTest, ANameIsAPlainWord) {
    EXPECT_EQ(socketPathForName(u"QuarryHelper64", "/f/"), "/f/QuarryHelper64.sock");
    EXPECT_EQ(lockPathForName(u"a.b-c_d", "/f"), "/f/a.b-c_d.sock.lock");
    for (const std::u16string name : {u"", u".", u"..", u".hidden", u"a/b", u"a b", u"\u00E4", u"\u0131", u"a\n"})
        EXPECT_FALSE(socketPathForName(name, "/f"));
    EXPECT_FALSE(socketPathForName(std::u16string(u"a\0", 2), "/f"));
    EXPECT_FALSE(socketPathForName(std::u16string(101, u'a'), "/f"));
}

TEST(RegistryTest, TheFolderMustBeOursAlone) {
    const TemporaryFolder parent;
    const std::string folder = parent.path() + "/registry";
    EXPECT_FALSE(openRegistryFolder(folder, false)) << "missing";
    EXPECT_TRUE(openRegistryFolder(folder, true)) << "made";
    EXPECT_FALSE(openRegistryFolder(parent.path() + "/a/b", true)) << "made without its parent";
    for (const mode_t mode : {0755u, 0710u, 0701u, 0600u, 0770u}) {
        chmod(folder.c_str(), mode);
        EXPECT_FALSE(openRegistryFolder(folder, true)) << std::oct << mode;
        EXPECT_FALSE(claim(folder));
        EXPECT_EQ(connectTo(folder), nullptr);
    }
    chmod(folder.c_str(), 0700);
    EXPECT_TRUE(openRegistryFolder(folder + "//", false));

    const std::string link = parent.path() + "/link";
    std::filesystem::create_symlink(folder, link);
    EXPECT_FALSE(openRegistryFolder(link, true));
    EXPECT_FALSE(openRegistryFolder(link + "/", true));
    const std::string file = parent.path() + "/file";
    std::ofstream(file) << "x";
    EXPECT_FALSE(openRegistryFolder(file, true));
    EXPECT_FALSE(openRegistryFolder("", true));
}

TEST(RegistryTest, AnotherUsersFolderIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    const TemporaryFolder folder;
    ASSERT_EQ(chown(folder.path().c_str(), kNobody, kNobody), 0);
    EXPECT_FALSE(openRegistryFolder(folder.path(), true));
}

TEST(RegistryTest, ANameHasOneOwner) {
    const TemporaryFolder folder;
    {
        const auto first = claim(folder.path());
        ASSERT_TRUE(first);
        EXPECT_FALSE(claim(folder.path()));
        // The failed claim must not have dropped the lock, which belongs to the process as a whole.
        EXPECT_FALSE(ServerProcess(folder.path()).hasClaimed());
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/EchoService.sock"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() + "/EchoService.sock.lock"));
    EXPECT_TRUE(ServerProcess(folder.path()).hasClaimed());
}

TEST(RegistryTest, DescriptorsAreNotInherited) {
    const TemporaryFolder folder;
    const auto claimed = claim(folder.path());
    ASSERT_TRUE(claimed);
    int checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry, error).string();
        if (descriptor != claimed->socket() && target.find(folder.path()) == std::string::npos) continue;
        EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << target;
        ++checked;
    }
    EXPECT_EQ(checked, 3) << "folder, lock and socket";
}

TEST(RegistryTest, AForkedChildDoesNotTakeTheSocketAway) {
    const TemporaryFolder folder;
    auto claimed = claim(folder.path());
    ASSERT_TRUE(claimed);
    const pid_t child = fork();
    if (child == 0) {
        claimed.reset();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() + "/EchoService.sock"));
    EXPECT_FALSE(ServerProcess(folder.path()).hasClaimed());
}

TEST(RegistryTest, OfServersStartedTogetherOneClaims) {
    const TemporaryFolder folder;
    for (int round = 0; round < 15; ++round) {
        std::vector<std::unique_ptr<ServerProcess>> servers(4);
        std::vector<std::thread> starters;
        for (auto& server : servers)
            starters.emplace_back([&] { server = std::make_unique<ServerProcess>(folder.path()); });
        for (auto& starter : starters)
            starter.join();
        int owner = 0;
        int claims = 0;
        for (const auto& server : servers) {
            if (!server->hasClaimed()) continue;
            ++claims;
            owner = server->pid();
        }
        ASSERT_EQ(claims, 1);
        const auto root = connectTo(folder.path());
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->processIdentifier(), owner);
        for (const auto& server : servers)
            EXPECT_EQ(kill(server->pid(), 0), 0) << "a server without the name must go on running";
    }
}

TEST(RegistryTest, AKilledServersNameCanBeClaimedAHundredTimes) {
    const TemporaryFolder folder;
    for (int round = 0; round < 100; ++round) {
        ServerProcess server(folder.path());
        ASSERT_TRUE(server.hasClaimed()) << "round " << round;
        server.signal(SIGKILL);
        // Not reaped in every other round: the dead process still has its identifier then.
        if (round % 2 == 0) server.wait();
    }
}

TEST(RegistryTest, AnOrphanOfADeadServerDoesNotHoldTheName) {
    const TemporaryFolder folder;
    ServerProcess server(folder.path());
    const auto root = connectTo(folder.path());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(failureOf([&] { (void)EchoServiceProxy(root).forkAndEnd(3); }), ConnectionFailure::peerDied);
    // The child has the listening socket, and the system queues connections that nobody will accept.
    EXPECT_EQ(connectTo(folder.path()), nullptr);
    const ServerProcess next(folder.path());
    EXPECT_TRUE(next.hasClaimed());
    EXPECT_NE(connectTo(folder.path()), nullptr);
}

TEST(RegistryTest, AListenerWithoutItsLockFileIsNotReplaced) {
    const TemporaryFolder folder;
    const ServerProcess server(folder.path());
    std::filesystem::remove(folder.path() + "/EchoService.sock.lock");
    EXPECT_FALSE(ServerProcess(folder.path()).hasClaimed());
    EXPECT_EQ(connectTo(folder.path())->processIdentifier(), server.pid());
}

TEST(RegistryTest, AnythingThatIsNoListenerIsReplaced) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() + "/EchoService.sock") << "a file";
    EXPECT_EQ(connectTo(folder.path()), nullptr);
    EXPECT_TRUE(ServerProcess(folder.path()).hasClaimed());
}

TEST(RegistryTest, ALockFileThatIsALinkIsRefused) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("/tmp/elsewhere", folder.path() + "/EchoService.sock.lock");
    EXPECT_FALSE(claim(folder.path()));
    EXPECT_FALSE(std::filesystem::exists("/tmp/elsewhere"));
}

TEST(RegistryTest, LongPathsAreReached) {
    const TemporaryFolder parent;
    for (const std::size_t length : {60u, 76u, 77u, 78u, 79u, 200u}) {
        const std::string folder = parent.path() + "/" + std::string(length, 'd');
        std::filesystem::create_directory(folder);
        chmod(folder.c_str(), 0700);
        const ServerProcess server(folder);
        ASSERT_TRUE(server.hasClaimed()) << length;
        const auto root = connectTo(folder);
        ASSERT_NE(root, nullptr) << length;
        EXPECT_EQ(EchoServiceProxy(root).echoString(u"far"), u"far");
    }
}

TEST(RegistryTest, AFullQueueIsTriedForALimitedTime) {
    const TemporaryFolder folder;
    FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressIn(folder.path());
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener.get(), 0), 0);
    std::vector<FileDescriptor> waiting;
    for (int i = 0; i < 5; ++i)
        waiting.push_back(connectToName(u"EchoService", folder.path(), 0.05));
    EXPECT_TRUE(waiting.front());
    EXPECT_FALSE(waiting.back());
    // A listener that never answers a handshake must not hold us up either.
    waiting.clear();
    while (const FileDescriptor accepted{accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)}) {
        pollfd more{listener.get(), POLLIN, 0};
        if (poll(&more, 1, 0) == 0) break;
    }
    EXPECT_EQ(RootProxy::rootProxyForConnectionWithRegisteredName(u"EchoService", folder.path(), 0.2), nullptr);
}

// Runs `body` as another user in a child process and returns its exit status.
template <class Body>
int asNobody(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(100);
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(RegistryTest, AnotherUsersListenerIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    const TemporaryFolder folder;
    const FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressIn(folder.path());
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(asNobody([&] { return listen(listener.get(), 5); }), 0);
    EXPECT_FALSE(connectToName(u"EchoService", folder.path(), 1));
    EXPECT_EQ(connectTo(folder.path()), nullptr);
}

TEST(RegistryTest, AnotherUsersClientIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    const TemporaryFolder folder;
    const ServerProcess server(folder.path());
    ASSERT_TRUE(server.hasClaimed());
    const sockaddr_un address = addressIn(folder.path());
    const auto connects = [&] {
        const FileDescriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return 1;
        // Closed without a word.
        pollfd end{client.get(), POLLIN, 0};
        char byte = 0;
        return poll(&end, 1, 20000) == 1 && read(client.get(), &byte, 1) <= 0 ? 2 : 3;
    };
    EXPECT_EQ(asNobody(connects), 1) << "the folder keeps others out";
    // Even if somebody opens the folder and the socket to the world.
    chmod(folder.path().c_str(), 0755);
    chmod(address.sun_path, 0666);
    EXPECT_EQ(asNobody(connects), 2);
}

}  // namespace
}  // namespace halden::testing
