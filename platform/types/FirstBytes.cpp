#include "platform/types/FirstBytes.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <unistd.h>

#include <memory>
#include <vector>

namespace halden::types {
namespace {

// The database's farthest mark, that of ISO images, lies 32 KiB into the file.
constexpr std::size_t kBeginning = std::size_t{36} * 1024;

struct Free {
    void operator()(char* string) const { g_free(string); }
};
using OwnedText = std::unique_ptr<char, Free>;

std::vector<unsigned char> beginningOf(const std::string& path) {
    std::vector<unsigned char> bytes;
    // Should the file have become a pipe meanwhile, opening must not wait for a writer.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return bytes;
    bytes.resize(kBeginning);
    std::size_t length = 0;
    ssize_t count = 0;
    do {
        count = read(file, bytes.data() + length, bytes.size() - length);
        if (count > 0) length += static_cast<std::size_t>(count);
    } while (count > 0 && length < bytes.size());
    close(file);
    bytes.resize(length);
    return bytes;
}

}  // namespace

std::optional<std::string> mimeTypeOfFirstBytes(const std::string& path) {
    const auto bytes = beginningOf(path);
    if (bytes.empty()) return std::nullopt;
    gboolean isUncertain = TRUE;
    const OwnedText type(g_content_type_guess(nullptr, bytes.data(), bytes.size(), &isUncertain));
    if (!type || isUncertain) return std::nullopt;
    const OwnedText mime(g_content_type_get_mime_type(type.get()));
    if (!mime) return std::nullopt;
    return mime.get();
}

}  // namespace halden::types
