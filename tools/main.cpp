// quarry: reads documents through a helper process.
#include "tools/Arguments.h"
#include "tools/Commands.h"
#include "tools/HelperSession.h"
#include "tools/Manual.h"
#include "tools/Output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <vector>

using namespace quarry::tools;

namespace {

/// Becomes another program of the installation.
Status runProgram(std::string_view name, const std::vector<std::string>& arguments) {
    const std::string path = libexecPath(name);
    std::vector<char*> words{const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    ::execv(path.c_str(), words.data());
    printError(fmt::format("{}: {}; it comes in a package of its own", path, std::strerror(errno)));
    return Status::failed;
}

Status run(const Invocation& invocation, const std::vector<std::string>& arguments) {
    if (invocation.command == "metadata") {
        return metadataCommand(invocation);
    }
    if (invocation.command == "supports") {
        return supportsCommand(invocation);
    }
    if (invocation.command == "richtext") {
        return richTextCommand(invocation);
    }
    if (invocation.command == "write-rtfd") {
        return writeRtfdCommand(invocation);
    }
    if (invocation.command == "poster") {
        return posterCommand(invocation);
    }
    if (invocation.command == "image") {
        return imageCommand(invocation);
    }
    if (invocation.command == "pdf") {
        return pdfCommand(invocation);
    }
    if (invocation.command == "pdf-data") {
        return pdfDataCommand(invocation);
    }
    if (invocation.command == "importers") {
        return importersCommand(invocation);
    }
    if (invocation.command == "importer") {
        return importerCommand(invocation);
    }
    if (invocation.command == "apply") {
        return applyCommand(invocation);
    }
    if (invocation.command == "submit" || invocation.command == "worker" || invocation.command == "queue") {
        return runProgram("quarry-queue", arguments);
    }
    if (invocation.command == "page") {
        return pageCommand(invocation);
    }
    if (invocation.command == "feed") {
        return feedCommand(invocation);
    }
    if (invocation.command == "batch") {
        return batchCommand(invocation);
    }
    if (invocation.command == "html") {
        return htmlCommand(invocation);
    }
    if (invocation.command == "text") {
        return textCommand(invocation);
    }
    if (invocation.command == "webarchive") {
        return webArchiveCommand(invocation);
    }
    return doctorCommand(invocation);
}

Status start(const std::vector<std::string>& arguments) {
    const Parsed parsed = parseArguments(arguments);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        printError(fmt::format("{} ('{} --help' says more)", error->message, manual().name));
        return Status::usage;
    }
    if (const auto* answer = std::get_if<Answer>(&parsed)) {
        print(answer->text);
        return Status::result;
    }
    takeOverLog();
    return run(std::get<Invocation>(parsed), arguments);
}

}  // namespace

int main(int count, char** arguments) {
    openStandardFiles();
    try {
        const Status status = start(std::vector<std::string>(arguments + (count > 0 ? 1 : 0), arguments + count));
        return static_cast<int>(finishOutput() ? status : worse(status, Status::usage));
    } catch (const std::exception& error) {
        printError(error.what());
        return static_cast<int>(Status::failed);
    }
}
