#include "platform/worker/WorkFolder.h"

#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "platform/bundles/Paths.h"
#include "platform/process/Task.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace halden {
namespace {

std::string folderForTemporaryFiles() {
    const char* folder = std::getenv("TMPDIR");
    struct stat status {};
    const bool isUsable =
        folder != nullptr && folder[0] == '/' && stat(folder, &status) == 0 && S_ISDIR(status.st_mode);
    return isUsable ? folder : "/tmp";
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// The folder of this process, with the janitor's channel, which stays open as long as the process lives.
class ProcessFolder {
public:
    static ProcessFolder& shared() {
        static auto* instance = new ProcessFolder;  // no destructor ends it before the process does
        return *instance;
    }

    /// Empty when there can be none.
    std::string path() {
        const std::lock_guard lock(mutex_);
        // Somebody may have tidied up the temporary files.
        if (!path_.empty() && !isFolder(path_)) {
            close(channel_);
            path_.clear();
        }
        if (path_.empty()) make();
        return path_;
    }

private:
    void make() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            logError(std::string("No private folder: ") + std::strerror(errno));
            return;
        }
        channel_ = ends[0];
        try {
            Task task;
            task.setLaunchPath(executorPath());
            task.setArguments({"folder", folderForTemporaryFiles()});
            task.setEnvironment({{"PATH", "/usr/bin:/bin"}});
            task.setStandardInputAndOutput(ends[1]);
            task.launch();
            close(ends[1]);
            ends[1] = -1;
            task.waitUntilExit();
            path_ = readLine();
        } catch (const Exception& exception) {
            logError("No private folder: " + exception.reason());
        }
        if (ends[1] >= 0) close(ends[1]);
        if (path_.empty()) close(channel_);
    }

    /// The janitor says where the folder is, or ends.
    std::string readLine() const {
        std::string line;
        char byte = 0;
        for (ssize_t count = 0; line.size() < 4096 && (count = read(channel_, &byte, 1)) != 0;) {
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) break;
            if (byte == '\n') return line;
            line.push_back(byte);
        }
        logError("No private folder in " + folderForTemporaryFiles() + ".");
        return {};
    }

    std::mutex mutex_;
    std::string path_;
    int channel_ = -1;
};

}  // namespace

bool writeNewFile(const std::string& path, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) return false;
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return close(file) == 0 && bytes.empty();
}

std::string executorPath() {
    static const std::string path =
        pathBytesFromString(appendingPathComponent(installationPrefix(), u"libexec/quarry/quarry-exec")).value_or("");
    return path;
}

std::optional<std::string> makeJobFolder() {
    const std::string parent = ProcessFolder::shared().path();
    if (parent.empty()) return std::nullopt;
    std::string folder = parent + "/job-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        logError("No private folder in " + parent + ": " + std::strerror(errno));
        return std::nullopt;
    }
    return folder;
}

std::optional<std::string> keptFolder(const std::string& name) {
    const std::string parent = ProcessFolder::shared().path();
    if (parent.empty()) return std::nullopt;
    std::string folder = parent + "/" + name;
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        logError("No private folder in " + parent + ": " + std::strerror(errno));
        return std::nullopt;
    }
    return folder;
}

}  // namespace halden
