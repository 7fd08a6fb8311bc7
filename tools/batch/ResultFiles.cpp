#include "tools/batch/ResultFiles.h"

#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace quarry::tools {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::Value;

struct Extension {
    std::string_view mediaType;
    std::string_view extension;
};
constexpr std::array kExtensions{
    Extension{"image/tiff", ".tiff"},     Extension{"application/pdf", ".pdf"}, Extension{"image/png", ".png"},
    Extension{"image/jpeg", ".jpeg"},     Extension{"image/gif", ".gif"},       Extension{"application/rtfd", ".rtfd"},
    Extension{"application/rtf", ".rtf"},
};

std::string_view extensionOf(std::string_view mediaType) noexcept {
    for (const Extension& row : kExtensions) {
        if (row.mediaType == mediaType) {
            return row.extension;
        }
    }
    return ".data";
}

}  // namespace

void ResultFiles::keep(halden::HaldenImExportProxy& helper, const BatchRequest& request, Value& result) const {
    const std::string name = fmt::format("{:016x}", request.key());
    const std::string shelf = fmt::format("files/{}", name.substr(0, 2));
    const auto keepData = [&](std::string_view part, Value& value) {
        const Data data = *value.as<Data>();
        const std::string_view type = halden::mediaTypeOfData(data);
        const std::string file = fmt::format("{}/{}{}{}", shelf, name, part, extensionOf(type));
        const std::string path = fmt::format("{}/{}", folder_, file);
        std::error_code error;
        std::filesystem::create_directories(fmt::format("{}/{}", folder_, shelf), error);
        const bool written = type == "application/rtfd"
                                 ? helper.writeRTFDDataToFile(data, halden::stringFromPathBytes(path))
                                 : writeFile(path, data);
        if (written) {
            value = Dictionary{{u"file", halden::utf16FromUtf8(file)},
                               {u"bytes", static_cast<std::int64_t>(data.length())},
                               {u"type", halden::utf16FromUtf8(type)}};
        }
    };
    if (result.is<Data>()) {
        keepData("", result);
    } else if (auto* dictionary = result.as<Dictionary>()) {
        for (const auto& [key, value] : Dictionary(*dictionary)) {
            if (value.is<Data>() && key.find(u'/') == key.npos) {
                keepData("-" + halden::utf8FromUtf16(key), *dictionary->find(key));
            }
        }
    }
}

/// Under another name first: a file that is there is whole.
bool ResultFiles::writeFile(const std::string& path, const Data& data) const {
    const std::string unfinished = path + ".unfinished";
    const int file = ::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    std::string_view rest = data.view();
    while (!rest.empty()) {
        const ssize_t count = ::write(file, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    const bool closed = ::close(file) == 0;
    if (rest.empty() && closed && ::rename(unfinished.c_str(), path.c_str()) == 0) {
        return true;
    }
    ::unlink(unfinished.c_str());
    return false;
}

}  // namespace quarry::tools
