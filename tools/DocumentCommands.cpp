#include "foundation/Json.h"
#include "foundation/Path.h"
#include "tools/Commands.h"
#include "tools/Guardian.h"
#include "tools/HelperSession.h"
#include "tools/Interruption.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

namespace quarry::tools {

namespace {

/// Whether the file is there and can be read; says what is wrong. A document is a file, or a folder that is a package.
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

/// The path for the helper, which has a working directory of its own; nullopt, said, when ours is gone.
std::optional<std::u16string> absolutePath(const std::string& file) {
    std::error_code error;
    const std::string path = std::filesystem::absolute(file, error).native();
    if (error) {
        printError(fmt::format("{}: {}", shownName(file), error.message()));
        return std::nullopt;
    }
    return halden::stringFromPathBytes(path);
}

/// Calls `perFile` with each file and the session, and gives the worst status.
template <class PerFile>
Status forEachFile(const Invocation& invocation, PerFile perFile) {
    keepStandardOutput();
    const bool ownFolder = !invocation.document.shared;
    const std::unique_ptr<Guardian> guardian = Guardian::start(ownFolder);
    if (!guardian) {
        printError(fmt::format("no private folder: {}", std::strerror(errno)));
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

/// Asks the helper about one file. nullopt, said, when there is no answer; `status` is set then.
template <class Request>
auto answerAbout(HelperSession& session, const std::string& file, Status& status, Request request)
    -> std::optional<std::invoke_result_t<Request, halden::HaldenImExportProxy&, std::u16string_view>> {
    status = Status::none;
    const auto path = canOpen(file) ? absolutePath(file) : std::nullopt;
    if (!path) {
        return std::nullopt;
    }
    auto answer = session.ask([&](halden::HaldenImExportProxy& proxy) { return request(proxy, *path); });
    if (const auto* failure = std::get_if<HelperFailure>(&answer)) {
        printError(fmt::format("{}: {}", shownName(file), failure->explanation));
        status = Status::failed;
        return std::nullopt;
    }
    return std::move(std::get<0>(answer));
}

}  // namespace

Status metadataCommand(const Invocation& invocation) {
    const bool alone = invocation.files.size() == 1;
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = alone ? 2 : 0};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status,
                                  [](auto& proxy, std::u16string_view path) { return proxy.metaDataForFile(path); });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return Status::result;
    });
}

Status supportsCommand(const Invocation& invocation) {
    const bool alone = invocation.files.size() == 1;
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        const bool supported = answerAbout(session, file, status, [](auto& proxy, std::u16string_view path) {
                                   return proxy.supportsFile(path);
                               }).value_or(false);
        const std::string_view word = supported ? "YES" : "NO";
        print(alone ? fmt::format("{}\n", word) : fmt::format("{}\t{}\n", word, file));
        return supported ? Status::result : status;
    });
}

}  // namespace quarry::tools
