#include "platform/process/TaskConveniences.h"

#include "foundation/Exception.h"

namespace halden {
namespace {

bool runToCompletion(Task& task) {
    task.launch();
    task.waitUntilExit();
    return !task.wasKilledBySignal() && task.terminationStatus() == 0;
}

}  // namespace

bool launchTaskAndWaitUntilExitWithLaunchPath(std::string path, std::vector<std::string> arguments) {
    try {
        Task task;
        task.setLaunchPath(std::move(path));
        task.setArguments(std::move(arguments));
        return runToCompletion(task);
    } catch (const std::exception&) {
        logCaughtException("launchTaskAndWaitUntilExitWithLaunchPath:arguments:", "NSTask");
        return false;
    }
}

bool launchAndWaitUntilExit(Task& task) {
    try {
        return runToCompletion(task);
    } catch (const std::exception&) {
        logCaughtException("launchAndWaitUntilExit", "NSTask");
        return false;
    }
}

}  // namespace halden
