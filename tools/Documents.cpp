#include "tools/Documents.h"

#include "foundation/Path.h"
#include "tools/Guardian.h"
#include "tools/Interruption.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace quarry::tools {

namespace {

/// Whether the file is there and can be read; says what is wrong.
bool canOpen(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 || ::faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
        printError(fmt::format("{}: {}", shownName(file), std::strerror(errno)));
        return false;
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        printError(fmt::format("{}: Neither a file nor a folder", shownName(file)));
        return false;
    }
    return true;
}

}  // namespace

std::optional<std::u16string> pathOfDocument(const std::string& file) {
    if (!canOpen(file)) {
        return std::nullopt;
    }
    std::error_code error;
    const std::string path = std::filesystem::absolute(file, error).native();
    if (error) {
        printError(fmt::format("{}: {}", shownName(file), error.message()));
        return std::nullopt;
    }
    return halden::stringFromPathBytes(path);
}

bool writeRtfd(HelperSession& session, const halden::Data& rtfd, const std::string& output, Status& status) {
    status = Status::none;
    std::error_code error;
    const std::string path = std::filesystem::absolute(output, error).native();
    if (error) {
        printError(fmt::format("{}: {}", shownName(output), error.message()));
        return false;
    }
    const auto answer = session.ask([&](halden::HaldenImExportProxy& proxy) {
        return proxy.writeRTFDDataToFile(rtfd, halden::stringFromPathBytes(path));
    });
    if (const auto* failure = std::get_if<HelperFailure>(&answer)) {
        printError(fmt::format("{}: {}", shownName(output), failure->explanation));
        status = Status::failed;
        return false;
    }
    return std::get<0>(answer);
}

Status forEachFile(const Invocation& invocation,
                   const std::function<Status(HelperSession&, const std::string& file)>& perFile) {
    keepStandardOutput();
    const bool ownFolder = !invocation.document.shared;
    const std::unique_ptr<Guardian> guardian = Guardian::start(ownFolder);
    if (!guardian) {
        printError(fmt::format("no guardian process or no private folder: {}", std::strerror(errno)));
        return Status::failed;
    }
    const Interruption interruption([&] { guardian->finish(true); });
    HelperSession session(invocation.document, guardian->folder());
    Progress progress(invocation.files.size());
    Status status = Status::result;
    std::size_t number = 0;
    for (const std::string& file : invocation.files) {
        progress.show(++number, file);
        status = worse(status, perFile(session, file));
        if (!print("")) {
            break;  // nobody takes the results any more
        }
    }
    return status;
}

}  // namespace quarry::tools
