#include "platform/bundles/DirectoryContents.h"

#include "foundation/Path.h"
#include "foundation/Strings.h"

#include <dirent.h>
#include <sys/stat.h>

#include <memory>

namespace halden {
namespace {

std::optional<mode_t> modeAtPath(std::u16string_view path) {
    const auto bytes = pathBytesFromString(path);
    struct stat status {};
    if (!bytes || stat(bytes->c_str(), &status) != 0) return std::nullopt;
    return status.st_mode;
}

}  // namespace

std::vector<std::u16string> directoryContentsAtPath(std::u16string_view path) {
    std::vector<std::u16string> names;
    const auto bytes = pathBytesFromString(path);
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(bytes ? opendir(bytes->c_str()) : nullptr, &closedir);
    if (!folder) return names;
    while (const dirent* entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.push_back(stringFromPathBytes(name));
    }
    return names;
}

std::vector<std::u16string> directoryContentsAtPath(std::u16string_view path,
                                                    std::optional<std::u16string_view> matchingExtension,
                                                    EntryForm form) {
    std::vector<std::u16string> entries;
    if (!matchingExtension) return entries;
    for (auto& name : directoryContentsAtPath(path)) {
        if (!isEqualToStringNoCase(pathExtension(name), *matchingExtension)) continue;
        entries.push_back(form == EntryForm::name ? std::move(name) : appendingPathComponent(path, name));
    }
    return entries;
}

bool isDirectoryAtPath(std::u16string_view path) {
    const auto mode = modeAtPath(path);
    return mode && S_ISDIR(*mode);
}

bool isRegularFileAtPath(std::u16string_view path) {
    const auto mode = modeAtPath(path);
    return mode && S_ISREG(*mode);
}

bool fileExistsAtPath(std::u16string_view path) {
    return modeAtPath(path).has_value();
}

}  // namespace halden
