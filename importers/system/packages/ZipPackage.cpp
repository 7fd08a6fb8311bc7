#include "importers/system/packages/ZipPackage.h"

#include "foundation/DateText.h"
#include "foundation/Unicode.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace quarry::packages {
namespace {

struct Free {
    void operator()(archive* reader) const noexcept { archive_read_free(reader); }
};

std::string contentsOf(archive* reader, std::size_t limit) {
    std::string contents;
    char chunk[65536];
    for (;;) {
        const la_ssize_t count = archive_read_data(reader, chunk, sizeof chunk);
        if (count <= 0) return count < 0 ? std::string() : contents;
        if (contents.size() + static_cast<std::size_t>(count) > limit) return {};
        contents.append(chunk, static_cast<std::size_t>(count));
    }
}

}  // namespace

std::string_view ZipPackage::member(std::string_view name) const {
    const auto found = members.find(name);
    return found != members.end() ? std::string_view(found->second) : std::string_view();
}

ZipPackage packageFromBytes(std::string_view bytes, const std::function<bool(std::string_view name)>& isWanted) {
    ZipPackage package;
    const std::unique_ptr<archive, Free> reader(archive_read_new());
    if (!reader) return package;
    archive_read_support_format_zip(reader.get());
    if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) return package;
    std::size_t total = 0;
    archive_entry* entry = nullptr;
    for (int i = 0; i < kMaxEntries && archive_read_next_header(reader.get(), &entry) >= ARCHIVE_WARN; ++i) {
        const char* name = archive_entry_pathname(entry);
        if (archive_entry_is_encrypted(entry) == 1) {
            package.isEncrypted = true;
            continue;
        }
        if (name == nullptr || !isWanted(name)) continue;
        std::string contents = contentsOf(reader.get(), std::min(kMaxMember, kMaxMembers - total));
        total += contents.size();
        if (!contents.empty()) package.members.emplace(name, std::move(contents));
    }
    return package;
}

bool isEncryptedDocument(std::string_view bytes) {
    constexpr std::string_view kContainer = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
    std::string name;
    for (const char letter : std::string_view("EncryptedPackage")) {
        name.push_back(letter);
        name.push_back('\0');
    }
    return bytes.starts_with(kContainer) && bytes.find(name) != std::string_view::npos;
}

double secondsFromDate(std::string_view date) {
    const auto parsed = halden::dateFromString(halden::utf16FromUtf8(date));
    return parsed ? parsed->unixSeconds() : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace quarry::packages
