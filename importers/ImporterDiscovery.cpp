#include "importers/ImporterDiscovery.h"

#include "foundation/Log.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/bundles/Bundle.h"
#include "platform/bundles/DirectoryContents.h"
#include "platform/plists/PropertyList.h"
#include "platform/process/Task.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

namespace quarry {
namespace {

using halden::appendingPathComponent;
using halden::Bundle;
using halden::Data;
using halden::Value;
using Paths = std::vector<std::u16string>;

// A list of a hundred thousand importers fits; a tool gone wild does not fill our memory.
constexpr std::size_t kMaxListLength = std::size_t{32} * 1024 * 1024;

// 1 MiB together.
constexpr int kReadsAtATime = 64;

enum class PipeState { open, atEnd };

/// Reads what is in the pipe now; what exceeds the limit is dropped, so that the writer never waits for us.
PipeState readAvailable(int descriptor, std::string& output) {
    std::array<char, 16384> chunk;
    // As much as a pipe can hold at a time: what keeps writing does not keep us here.
    for (int reads = 0; reads < kReadsAtATime; ++reads) {
        const ssize_t count = read(descriptor, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) return PipeState::open;
        if (count <= 0) return PipeState::atEnd;
        output.append(chunk.data(), std::min(static_cast<std::size_t>(count), kMaxListLength - output.size()));
    }
    return PipeState::open;
}

/// What the lister has written when it ends. It is read while the lister writes, since a list longer than the pipe
/// holds would otherwise never be finished; the end of the pipe is not waited for, since something that the lister
/// left running may hold it open for ever.
std::string outputOfLister(const std::string& lister) {
    constexpr int kLookEvery = 10;  // milliseconds; the end of the pipe is noticed at once
    halden::Pipe pipe;
    fcntl(pipe.readingEnd(), F_SETFL, O_NONBLOCK);
    halden::Task task;
    task.setLaunchPath(lister);
    task.setArguments({"-L"});
    task.setStandardError(pipe);
    task.launch();
    std::string output;
    for (bool isRunning = true; isRunning;) {
        pollfd watch{pipe.readingEnd(), POLLIN, 0};
        poll(&watch, 1, kLookEvery);
        isRunning = task.isRunning();  // asked first: what it wrote before it ended is in the pipe then
        if (readAvailable(pipe.readingEnd(), output) == PipeState::atEnd) break;
    }
    task.waitUntilExit();
    return output;
}

/// The paths in the tool's output, empty when there is no list in it.
Paths listInOutput(std::u16string_view output) {
    Paths paths;
    const std::size_t start = output.find(u"(\n");
    const std::u16string_view text = start == std::u16string_view::npos ? u"" : output.substr(start);
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
    if (!isAscii) return paths;
    const auto list = halden::propertyListFromData(Data::copying(halden::utf8FromUtf16(text)));
    const auto* elements = list ? list->as<halden::Array>() : nullptr;
    if (elements == nullptr) return paths;
    for (const Value& element : *elements) {
        if (const auto* path = element.as<std::u16string>()) paths.push_back(*path);
    }
    return paths;
}

bool registersDynamically(std::u16string_view bundlePath) {
    const auto bundle = Bundle::bundleWithPath(bundlePath);
    return bundle && bundle->boolForInfoDictionaryKey(u"CFPlugInDynamicRegistration");
}

Paths inPriorityOrder(Paths list, const halden::ImporterLocations& locations) {
    Paths importers;
    addPluginsInFolderToArray(list, importers, locations.userFolder);
    addPluginsInFolderToArray(list, importers, locations.localFolder);
    addPluginsInFolderToArray(list, importers, locations.systemFolder);
    importers.insert(importers.end(), list.begin(), list.end());

    const std::u16string mail = appendingPathComponent(locations.systemFolder, u"Mail.mdimporter");
    if (std::find(importers.begin(), importers.end(), mail) == importers.end() && halden::fileExistsAtPath(mail)) {
        importers.push_back(mail);
        halden::logInfo("Added: " + halden::pathBytesFromString(mail).value_or(std::string()));
    }
    return importers;
}

Paths scannedFolders(const halden::ImporterLocations& locations) {
    Paths importers;
    for (const auto& directory : locations.applicationDirectories) {
        loadPluginsFromApplicationsDirectory(importers, directory);
    }
    loadPluginsFromFolder(importers, locations.userFolder);
    loadPluginsFromFolder(importers, locations.localFolder);
    loadPluginsFromFolder(importers, locations.systemFolder);
    return importers;
}

}  // namespace

std::vector<std::u16string> discoverImporters(const halden::ImporterLocations& locations) {
    const auto output = halden::strictUtf16FromUtf8(outputOfLister(locations.lister));
    if (!output) return {};
    Paths list = listInOutput(*output);
    return list.empty() ? scannedFolders(locations) : inPriorityOrder(std::move(list), locations);
}

void addPluginsInFolderToArray(std::vector<std::u16string>& list, std::vector<std::u16string>& importers,
                               std::u16string_view folder) {
    for (std::size_t i = list.size(); i-- > 0;) {
        const bool isDropped = registersDynamically(list[i]);
        if (!isDropped && !list[i].starts_with(folder)) continue;
        if (!isDropped) importers.push_back(std::move(list[i]));
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

void loadPluginsFromApplicationsDirectory(std::vector<std::u16string>& importers, std::u16string_view folder) {
    for (const auto& entry : halden::directoryContentsAtPath(halden::expandingTilde(folder))) {
        const std::u16string candidate =
            appendingPathComponent(appendingPathComponent(folder, entry), u"Contents/Library/Spotlight");
        if (halden::isDirectoryAtPath(candidate)) loadPluginsFromFolder(importers, candidate);
    }
}

void loadPluginsFromFolder(std::vector<std::u16string>& importers, std::u16string_view folder) {
    for (const auto& name : halden::directoryContentsAtPath(folder, u"mdimporter")) {
        std::u16string path = appendingPathComponent(folder, name);
        if (!registersDynamically(path)) importers.push_back(std::move(path));
    }
}

}  // namespace quarry
