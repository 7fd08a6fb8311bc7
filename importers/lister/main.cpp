// mdimport: lists the importers that are installed on this machine.
//
// With -L: a line of its own, then the paths of the bundles in the old bracketed property-list form, on standard error.
#include "foundation/Path.h"
#include "platform/bundles/DirectoryContents.h"
#include "platform/bundles/Paths.h"
#include "platform/plists/PropertyList.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

using Paths = std::vector<std::u16string>;

/// The bundles in `folder`, by name: the order does not depend on the file system.
void addImportersOfFolder(const std::u16string& folder, Paths& list) {
    auto paths = halden::directoryContentsAtPath(folder, u"mdimporter", halden::EntryForm::fullPath);
    std::sort(paths.begin(), paths.end());
    list.insert(list.end(), paths.begin(), paths.end());
}

void addImportersOfApplications(const std::u16string& folder, Paths& list) {
    const std::u16string directory = halden::expandingTilde(folder);
    auto applications = halden::directoryContentsAtPath(directory);
    std::sort(applications.begin(), applications.end());
    for (const auto& application : applications) {
        const std::u16string contents = halden::appendingPathComponent(directory, application);
        addImportersOfFolder(halden::appendingPathComponent(contents, u"Contents/Library/Spotlight"), list);
    }
}

Paths installedImporters() {
    const auto locations = halden::ImporterLocations::standard();
    Paths list;
    addImportersOfFolder(locations.userFolder, list);
    addImportersOfFolder(locations.localFolder, list);
    addImportersOfFolder(locations.systemFolder, list);
    for (const auto& folder : locations.applicationDirectories)
        addImportersOfApplications(folder, list);
    return list;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2 || std::strcmp(arguments[1], "-L") != 0) {
        std::fputs("usage: mdimport -L\n", stderr);
        return 2;
    }
    const std::string text =
        "Paths of the installed importers:\n" + halden::oldTextPropertyListOfStrings(installedImporters());
    return std::fputs(text.c_str(), stderr) < 0 ? 1 : 0;
}
