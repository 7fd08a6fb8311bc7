#include "importers/system/support/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace quarry::support {

std::optional<std::string> bytesOfFile(const char* path, std::size_t limit) {
    // A pipe in the file's place must not keep the reader waiting.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return std::nullopt;
    std::optional<std::string> bytes;
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        bytes.emplace(std::min(static_cast<std::size_t>(status.st_size), limit), '\0');
        std::size_t length = 0;
        while (length < bytes->size()) {
            const ssize_t count = read(file, bytes->data() + length, bytes->size() - length);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            length += static_cast<std::size_t>(count);
        }
        bytes->resize(length);
    }
    close(file);
    return bytes;
}

}  // namespace quarry::support
