#include "platform/bundles/Paths.h"

#include "foundation/Path.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace halden {
namespace {

std::string executablePath() {
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

}  // namespace

const std::u16string& libraryDirectory() {
    static const std::u16string directory = [] {
        const char* dataHome = std::getenv("XDG_DATA_HOME");
        // A relative path there is invalid and counts as none.
        const std::u16string base = dataHome != nullptr && *dataHome == '/'
                                        ? stringFromPathBytes(dataHome)
                                        : appendingPathComponent(homeDirectory(), u".local/share");
        return appendingPathComponent(base, u"quarry");
    }();
    return directory;
}

std::u16string pathInLibraryDirectory(std::u16string_view name) {
    return appendingPathComponent(libraryDirectory(), name);
}

std::u16string installationPrefix() {
    const std::u16string program = stringFromPathBytes(executablePath());
    std::u16string_view folder = deletingLastPathComponent(program);
    if (lastPathComponent(folder) == u"quarry") folder = deletingLastPathComponent(folder);
    return std::u16string(deletingLastPathComponent(folder));
}

ImporterLocations ImporterLocations::standard() {
    const std::u16string prefix = installationPrefix();
    ImporterLocations locations;
    locations.userFolder = pathInLibraryDirectory(u"Spotlight");
    locations.localFolder = u"/opt/quarry/Spotlight";
    locations.systemFolder = appendingPathComponent(prefix, u"lib/quarry/Spotlight");
    locations.applicationDirectories = {u"~/Applications", u"/opt", u"/Developer/Applications"};
    locations.lister =
        pathBytesFromString(appendingPathComponent(prefix, u"libexec/quarry/mdimport")).value_or(std::string());
    return locations;
}

}  // namespace halden
