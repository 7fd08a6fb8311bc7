// Registered names: a name is a socket in the registry folder.
//
// The name N is the socket N.sock, and whoever holds the file N.sock.lock locked (fcntl, the whole file) owns it. The
// lock ends with the process, however that ends, and is not inherited by children; the lock file is never unlinked,
// since a second file of the same name could then be locked beside it.
#pragma once

#include "platform/ipc/FileDescriptor.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The registry folder that the environment says: $QUARRY_RUNTIME_DIR when set and not empty, else
/// $XDG_RUNTIME_DIR/quarry, else /run/user/UID/quarry, else /tmp/quarry-UID. A parent folder counts only when its path
/// is absolute and it is ours. The folder need not exist.
[[nodiscard]] std::string registryFolder();

/// The socket of `name` in `folder`; nullopt when the name cannot be one: 1 to 100 letters, digits, "-", "_" and ".",
/// of ASCII, not beginning with a full stop.
[[nodiscard]] std::optional<std::string> socketPathForName(std::u16string_view name, std::string_view folder);
/// The lock file that goes with it.
[[nodiscard]] std::optional<std::string> lockPathForName(std::u16string_view name, std::string_view folder);

/// The registry folder opened (O_PATH), or an invalid descriptor when it is not safe: it must be a folder of ours with
/// mode 0700, and no link. With `create`, a missing one is made (its parent must exist).
[[nodiscard]] FileDescriptor openRegistryFolder(const std::string& folder, bool create);

/// A name claimed for this process, with the socket that listens under it. Destruction removes the socket and gives the
/// name up.
class ClaimedName {
public:
    /// Claims `name`; nullopt, with `reason` set, when it cannot: another process (or another ClaimedName of this one)
    /// holds it for another half second (one that was just killed needs a moment), or the folder is not safe. A socket
    /// left behind by a process that died is replaced.
    [[nodiscard]] static std::optional<ClaimedName> claim(std::u16string_view name, const std::string& folder,
                                                          std::string& reason);

    ClaimedName(ClaimedName&&) noexcept;
    ClaimedName& operator=(ClaimedName&&) = delete;
    ~ClaimedName();

    /// The listening socket, non-blocking and close-on-exec.
    [[nodiscard]] int socket() const noexcept { return socket_.get(); }
    [[nodiscard]] const std::string& socketPath() const noexcept { return path_; }

private:
    ClaimedName() = default;
    std::string name_;
    std::string path_;
    std::string key_;  // the folder's device and inode with the name: two claims in one process would share the lock
    int owner_ = 0;    // the process that claimed it
    FileDescriptor folder_;
    FileDescriptor lock_;
    FileDescriptor socket_;
};

/// A socket connected to whoever listens under `name` in `folder`, once that is a process of ours; invalid otherwise.
/// Never blocks longer than `limit` seconds (a full queue of the listener is retried until then).
[[nodiscard]] FileDescriptor connectToName(std::u16string_view name, const std::string& folder, double limit);

/// The process at the other end of a Unix socket, as the system vouches for it.
struct PeerCredentials {
    int pid = 0;
    unsigned uid = 0;
};
[[nodiscard]] std::optional<PeerCredentials> peerCredentials(int socket) noexcept;

}  // namespace halden
