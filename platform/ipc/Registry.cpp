#include "platform/ipc/Registry.h"

#include "foundation/Unicode.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

namespace halden {
namespace {

constexpr std::size_t kMaxName = 100;
constexpr int kBacklog = 128;
constexpr auto kRetryPause = std::chrono::milliseconds(5);

// ASCII name of a registered name, or empty.
std::string checkedName(std::u16string_view name) {
    const auto allowed = [](char16_t c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' ||
               c == u'_' || c == u'.';
    };
    if (name.empty() || name.size() > kMaxName || name.front() == u'.') return {};
    if (!std::all_of(name.begin(), name.end(), allowed)) return {};
    return {name.begin(), name.end()};
}

std::string withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return std::string(path);
}

// A folder of ours that is no link. O_PATH, since it need not be readable to be looked at.
FileDescriptor openOwnFolder(const std::string& path, struct stat& status) {
    // A trailing slash would make the system follow a link.
    FileDescriptor folder(open(withoutTrailingSlashes(path).c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (folder && (fstat(folder.get(), &status) != 0 || status.st_uid != geteuid())) folder.reset();
    return folder;
}

bool isOwnFolder(const std::string& path) {
    struct stat status {};
    return static_cast<bool>(openOwnFolder(path, status));
}

// The address of `file` in `folder`. Paths that an address has no room for are reached through the open folder.
bool setAddress(sockaddr_un& address, const std::string& folderPath, int folder, const std::string& file) {
    std::string path = withoutTrailingSlashes(folderPath) + "/" + file;
    if (path.size() >= sizeof address.sun_path) path = "/proc/self/fd/" + std::to_string(folder) + "/" + file;
    if (path.size() >= sizeof address.sun_path) return false;
    address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

FileDescriptor newSocket() {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

// False for a process that has ended, reaped or not. A process that we cannot see counts as running.
bool isRunning(int pid) {
    if (pid <= 0) return true;
    if (kill(pid, 0) != 0 && errno == ESRCH) return false;
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char text[512];
    const ssize_t length = file ? read(file.get(), text, sizeof text) : -1;
    if (length <= 0) return true;
    // "PID (COMMAND) STATE ...", where the command may hold anything.
    const std::string_view line(text, static_cast<std::size_t>(length));
    const auto end = line.rfind(')');
    if (end == std::string_view::npos || end + 2 >= line.size()) return true;
    return line[end + 2] != 'Z' && line[end + 2] != 'X';
}

// A child that a listener forked keeps the socket open after the listener's death, and the system goes on to queue
// connections which nobody will accept. The credentials are those of the process that began to listen.
bool listenerIsRunning(int connected) {
    const auto credentials = peerCredentials(connected);
    return credentials && isRunning(credentials->pid);
}

bool somebodyListens(const sockaddr_un& address) {
    const FileDescriptor probe = newSocket();
    if (!probe) return true;
    // A full queue has a listener, too.
    if (connect(probe.get(), generic(address), sizeof address) != 0) return errno == EAGAIN;
    return listenerIsRunning(probe.get());
}

std::mutex claimedMutex;
std::set<std::string>& claimedKeys() {
    static auto* const keys = new std::set<std::string>;
    return *keys;
}

bool claimKey(const std::string& key) {
    const std::lock_guard lock(claimedMutex);
    return claimedKeys().insert(key).second;
}

void releaseKey(const std::string& key) {
    const std::lock_guard lock(claimedMutex);
    claimedKeys().erase(key);
}

// How long a name that is taken is asked for again: half a second.
constexpr int kLockAttempts = 50;
constexpr std::chrono::milliseconds kLockInterval{10};

std::string errorText(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

FileDescriptor lockedFile(int folder, const std::string& file, std::string& reason) {
    FileDescriptor lock(openat(folder, file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!lock) {
        reason = errorText("the lock file cannot be opened");
        return lock;
    }
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    // A process that was just killed holds its locks until it is gone: whoever is to replace it waits that moment.
    for (int attempt = 0; fcntl(lock.get(), F_SETLK, &whole) != 0; ++attempt) {
        const bool isHeld = errno == EAGAIN || errno == EACCES;
        if (isHeld && attempt < kLockAttempts) {
            std::this_thread::sleep_for(kLockInterval);
            continue;
        }
        reason = isHeld ? "another process holds it" : errorText("the lock cannot be taken");
        lock.reset();
        break;
    }
    return lock;
}

FileDescriptor listeningSocket(const sockaddr_un& address, int folder, const std::string& file, std::string& reason) {
    // A process that ends gives up its descriptors one after the other, the lock perhaps before the socket.
    for (int attempt = 0; somebodyListens(address); ++attempt) {
        if (attempt == kLockAttempts) {
            reason = "another process listens";
            return {};
        }
        std::this_thread::sleep_for(kLockInterval);
    }
    unlinkat(folder, file.c_str(), 0);
    FileDescriptor socket = newSocket();
    // Before it is bound, the mode of a socket is the mode that its file will have.
    if (!socket || fchmod(socket.get(), 0600) != 0 || bind(socket.get(), generic(address), sizeof address) != 0 ||
        listen(socket.get(), kBacklog) != 0) {
        reason = errorText("no socket");
        return {};
    }
    return socket;
}

}  // namespace

std::string registryFolder() {
    if (const char* const folder = std::getenv("QUARRY_RUNTIME_DIR"); folder != nullptr && *folder != '\0')
        return withoutTrailingSlashes(folder);
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime == '/' && isOwnFolder(runtime))
        return withoutTrailingSlashes(runtime) + "/quarry";
    const std::string user = std::to_string(geteuid());
    if (const std::string run = "/run/user/" + user; isOwnFolder(run)) return run + "/quarry";
    return "/tmp/quarry-" + user;
}

std::optional<std::string> socketPathForName(std::u16string_view name, std::string_view folder) {
    const std::string checked = checkedName(name);
    if (checked.empty()) return std::nullopt;
    return withoutTrailingSlashes(folder) + "/" + checked + ".sock";
}

std::optional<std::string> lockPathForName(std::u16string_view name, std::string_view folder) {
    auto path = socketPathForName(name, folder);
    if (path) *path += ".lock";
    return path;
}

FileDescriptor openRegistryFolder(const std::string& folder, bool create) {
    if (folder.empty()) return {};
    if (create) mkdir(withoutTrailingSlashes(folder).c_str(), 0700);
    struct stat status {};
    FileDescriptor descriptor = openOwnFolder(folder, status);
    if (descriptor && (status.st_mode & 0777) != 0700) descriptor.reset();
    return descriptor;
}

std::optional<ClaimedName> ClaimedName::claim(std::u16string_view name, const std::string& folder,
                                              std::string& reason) {
    ClaimedName claimed;
    claimed.name_ = checkedName(name);
    if (claimed.name_.empty()) {
        reason = "it is no valid name";
        return std::nullopt;
    }
    claimed.folder_ = openRegistryFolder(folder, true);
    struct stat status {};
    if (!claimed.folder_ || fstat(claimed.folder_.get(), &status) != 0) {
        reason = "the folder \"" + folder + "\" is missing, not ours, a link, or open to others";
        return std::nullopt;
    }
    const std::string file = claimed.name_ + ".sock";
    sockaddr_un address;
    if (!setAddress(address, folder, claimed.folder_.get(), file)) {
        reason = "its path is too long";
        return std::nullopt;
    }
    // Closing any descriptor of the lock file would drop a lock of this process's own, so it is not even opened twice.
    const std::string key = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) + ":" + claimed.name_;
    if (!claimKey(key)) {
        reason = "this process holds it already";
        return std::nullopt;
    }
    claimed.lock_ = lockedFile(claimed.folder_.get(), file + ".lock", reason);
    if (claimed.lock_) claimed.socket_ = listeningSocket(address, claimed.folder_.get(), file, reason);
    if (!claimed.socket_) {
        claimed.lock_.reset();
        releaseKey(key);
        return std::nullopt;
    }
    claimed.key_ = key;
    claimed.owner_ = getpid();
    claimed.path_ = withoutTrailingSlashes(folder) + "/" + file;
    return claimed;
}

ClaimedName::ClaimedName(ClaimedName&& other) noexcept
    : name_(std::move(other.name_)),
      path_(std::move(other.path_)),
      key_(std::exchange(other.key_, {})),
      owner_(other.owner_),
      folder_(std::move(other.folder_)),
      lock_(std::move(other.lock_)),
      socket_(std::move(other.socket_)) {}

ClaimedName::~ClaimedName() {
    // A forked child must not take its parent's socket away.
    if (key_.empty() || owner_ != getpid()) return;
    unlinkat(folder_.get(), (name_ + ".sock").c_str(), 0);
    socket_.reset();
    lock_.reset();
    releaseKey(key_);
}

FileDescriptor connectToName(std::u16string_view name, const std::string& folder, double limit) {
    const std::string checked = checkedName(name);
    if (checked.empty()) return {};
    const FileDescriptor opened = openRegistryFolder(folder, false);
    sockaddr_un address;
    if (!opened || !setAddress(address, folder, opened.get(), checked + ".sock")) return {};
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(limit);
    for (;;) {
        FileDescriptor socket = newSocket();
        if (!socket) return {};
        if (connect(socket.get(), generic(address), sizeof address) == 0) {
            const auto credentials = peerCredentials(socket.get());
            if (!credentials || credentials->uid != geteuid() || !isRunning(credentials->pid)) return {};
            return socket;
        }
        if (errno != EAGAIN && errno != EINTR) return {};
        if (std::chrono::steady_clock::now() >= end) return {};
        std::this_thread::sleep_for(kRetryPause);
    }
}

std::optional<PeerCredentials> peerCredentials(int socket) noexcept {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return std::nullopt;
    return PeerCredentials{credentials.pid, credentials.uid};
}

}  // namespace halden
