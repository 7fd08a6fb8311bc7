// The importer of plain text, of source code, and of the text formats that are read as they are written.
#include "importers/sdk/quarry_importer.h"
#include "importers/system/Text/Markdown.h"
#include "importers/system/Text/PlainText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

namespace {

// Nobody searches for the words beyond; a log of many gigabytes must not fill the memory.
constexpr std::size_t kMaxLength = std::size_t{64} << 20;

constexpr quarry_uuid kTypeID = QUARRY_IMPORTER_TYPE_ID;
constexpr quarry_uuid kInterfaceID = QUARRY_IMPORTER_INTERFACE_ID;
constexpr quarry_uuid kUnknownID = QUARRY_UNKNOWN_INTERFACE_ID;

bool isSame(const quarry_uuid& a, const quarry_uuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

std::optional<std::string> beginningOfFile(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    std::string bytes;
    char chunk[65536];
    for (;;) {
        const ssize_t count = read(file, chunk, std::min(sizeof chunk, kMaxLength - bytes.size()));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        bytes.append(chunk, static_cast<std::size_t>(count));
    }
    close(file);
    return bytes;
}

quarry::text::Extent extentOf(const std::string& bytes) {
    return bytes.size() < kMaxLength ? quarry::text::Extent::whole : quarry::text::Extent::beginning;
}

std::uint8_t importText(quarry_importer*, quarry_attributes* attributes, const char* contentType, const char* path) {
    const auto bytes = beginningOfFile(path);
    const auto text = bytes ? quarry::text::cleanTextOfBytes(*bytes, extentOf(*bytes)) : std::nullopt;
    if (!text) return 0;
    const auto* functions = attributes->functions;
    functions->set_string(attributes, "kMDItemTextContent", text->data(), text->size());
    if (std::strcmp(contentType, "net.daringfireball.markdown") == 0) {
        const std::string title = quarry::text::titleOfMarkdown(*text);
        if (!title.empty()) functions->set_string(attributes, "kMDItemTitle", title.data(), title.size());
    }
    return 1;
}

// The importer has no state: one instance serves everybody and is never freed.
std::uint32_t countReference(quarry_importer*) {
    return 1;
}
quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface);

constexpr quarry_importer_functions kFunctions = {nullptr, queryInterface, countReference, countReference, importText};
quarry_importer theImporter = {&kFunctions};

quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface) {
    const bool isKnown = isSame(id, kInterfaceID) || isSame(id, kUnknownID);
    *interface = isKnown ? self : nullptr;
    return isKnown ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

}  // namespace

extern "C" QUARRY_IMPORTER_EXPORT void* makeTextImporter(void*, quarry_uuid type) {
    return isSame(type, kTypeID) ? &theImporter : nullptr;
}
