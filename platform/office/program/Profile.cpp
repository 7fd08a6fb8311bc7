#include "platform/office/program/Profile.h"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace halden::office {
namespace {

struct Setting {
    const char* path;
    const char* name;
    const char* value;
};

constexpr Setting kSettings[] = {
    {"Office.Common/Security/Scripting", "MacroSecurityLevel", "3"},
    {"Office.Common/Security/Scripting", "DisableMacrosExecution", "true"},
    {"Office.Common/Security/Scripting", "BlockUntrustedRefererLinks", "true"},
    {"Office.Common/Security/Scripting", "CheckDocumentEvents", "false"},
    {"Office.Writer/Content/Update", "Link", "2"},
    {"Office.Writer/Content/Update", "Field", "false"},
    {"Office.Writer/Content/Update", "Chart", "false"},
    {"Office.Common/Misc", "FirstRun", "false"},
    {"Office.Common/Misc", "UseLocking", "false"},
    {"Office.Common/Misc", "PluginsEnabled", "false"},
    {"Office.Java/VirtualMachine", "Enable", "false"},
    {"Office.Recovery/AutoSave", "Enabled", "false"},
    {"Office.Recovery/RecoveryInfo", "Enabled", "false"},
    {"Setup/Office", "ooSetupInstCompleted", "true"},
};

/// The version goes into XML as it is.
bool isVersion(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos;
}

}  // namespace

std::string fileUrl(const std::string& path) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isPlain = (byte >= '0' && byte <= '9') || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z') ||
                             std::string_view("/-_.~").find(character) != std::string_view::npos;
        if (isPlain) {
            url.push_back(character);
        } else {
            url += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return url;
}

std::string makeProfile(const std::string& folder, const std::string& version) {
    std::error_code error;
    std::filesystem::create_directories(folder + "/user", error);
    std::ofstream file(folder + "/user/registrymodifications.xcu");
    file << R"(<?xml version="1.0" encoding="UTF-8"?>)"
            R"(<oor:items xmlns:oor="http://openoffice.org/2001/registry")"
            R"( xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">)";
    const auto write = [&](const Setting& setting) {
        file << R"(<item oor:path="/org.openoffice.)" << setting.path << R"("><prop oor:name=")" << setting.name
             << R"(" oor:op="fuse"><value>)" << setting.value << "</value></prop></item>\n";
    };
    for (const Setting& setting : kSettings)
        write(setting);
    if (isVersion(version)) write({"Setup/Product", "ooSetupLastVersion", version.c_str()});
    file << "</oor:items>\n";
    file.close();
    return file ? fileUrl(folder) : std::string();
}

}  // namespace halden::office
