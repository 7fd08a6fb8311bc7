// quarry: reads documents through a helper process.
#include "tools/Arguments.h"
#include "tools/Commands.h"
#include "tools/Manual.h"
#include "tools/Output.h"

#include <fmt/format.h>

#include <exception>
#include <functional>
#include <string>
#include <vector>

using namespace quarry::tools;

namespace {

Status run(const Invocation& invocation) {
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
    if (invocation.command == "importers") {
        return importersCommand(invocation);
    }
    if (invocation.command == "apply") {
        return applyCommand(invocation);
    }
    if (invocation.command == "batch") {
        return batchCommand(invocation);
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
    return run(std::get<Invocation>(parsed));
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
