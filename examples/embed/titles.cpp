// SPDX-License-Identifier: 0BSD
//
// An application that has documents read by a helper: prints the title and the first words of files.
#include "client/HelperTask.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/HaldenImExport.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr double kSecondsPerFile = 30;
constexpr std::size_t kFirstWords = 60;  // UTF-16 units

/// A string attribute, or nothing.
std::string text(const halden::Dictionary& attributes, std::u16string_view key) {
    const halden::Value* value = attributes.find(key);
    const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
    return string != nullptr ? halden::utf8FromUtf16(string->substr(0, kFirstWords)) : "-";
}

/// What the helper says about a file; nil when it knows nothing, or failed.
std::optional<halden::Dictionary> metaData(quarry::HelperTask& task, const std::string& file) {
    try {
        // Launches a helper, unless one of an earlier call is still there.
        const auto proxy = task.proxy();
        if (!proxy) {
            std::cerr << "no helper\n";
            return std::nullopt;
        }
        const std::string path = std::filesystem::absolute(file);
        return halden::HaldenImExportProxy(proxy).metaDataForFile(halden::stringFromPathBytes(path));
    } catch (const halden::ConnectionException& exception) {
        // The document killed the helper, or keeps it busy for too long. The application goes on; the next file gets a
        // new helper.
        std::cerr << file << ": " << exception.reason() << '\n';
        task.terminate();
        return std::nullopt;
    }
}

}  // namespace

int main(int count, char** arguments) {
    const auto task = quarry::HelperTask::initWithPath(halden::stringFromPathBytes(QUARRY_HELPER), u"QuarryHelper64",
                                                       &halden::haldenImExportProtocol(), kSecondsPerFile);
    // A folder of our own keeps our helper apart from those of other applications.
    std::string folder = std::filesystem::temp_directory_path() / "titles-XXXXXX";
    if (!task || ::mkdtemp(folder.data()) == nullptr) {
        return 1;
    }
    task->setRegistryFolder(folder);
    for (int i = 1; i < count; ++i) {
        if (const auto attributes = metaData(*task, arguments[i])) {
            std::cout << arguments[i] << ": " << text(*attributes, u"kMDItemTitle") << ": "
                      << text(*attributes, u"kMDItemTextContent") << '\n';
        }
    }
    task->terminate();
    std::filesystem::remove_all(folder);
}
