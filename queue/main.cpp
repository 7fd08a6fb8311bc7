// The commands that speak to a message server: quarry submit, quarry worker, quarry queue.
#include "queue/Commands.h"
#include "queue/Nats.h"
#include "tools/Output.h"

#include <fmt/format.h>

#include <exception>
#include <string>
#include <vector>

using namespace quarry::tools;

namespace {

Status run(const Invocation& invocation) {
    try {
        if (invocation.command == "submit") {
            return quarry::queue::submitCommand(invocation);
        }
        if (invocation.command == "worker") {
            return quarry::queue::workerCommand(invocation);
        }
        return quarry::queue::queueCommand(invocation);
    } catch (const quarry::queue::QueueError& error) {
        printError(error.what());
        return Status::failed;
    }
}

}  // namespace

int main(int count, char** arguments) {
    openStandardFiles();
    try {
        const Parsed parsed =
            parseArguments(std::vector<std::string>(arguments + (count > 0 ? 1 : 0), arguments + count));
        const auto* invocation = std::get_if<Invocation>(&parsed);
        if (invocation == nullptr) {
            return static_cast<int>(Status::usage);  // the command that starts this has said why
        }
        takeOverLog();
        const Status status = run(*invocation);
        nats_Close();
        return static_cast<int>(finishOutput() ? status : worse(status, Status::usage));
    } catch (const std::exception& error) {
        printError(error.what());
        return static_cast<int>(Status::failed);
    }
}
