// Commands that run to completion.
#pragma once

#include "platform/process/Task.h"

#include <string>
#include <vector>

namespace halden {

/// Runs the program with these arguments, waits until it has ended, and returns whether its exit status was 0. False,
/// with one line in the log, when it cannot be started.
bool launchTaskAndWaitUntilExitWithLaunchPath(std::string path, std::vector<std::string> arguments);

/// Launches `task`, waits until it has ended, and returns whether its exit status was 0. False, with one line in the
/// log, when it cannot be started.
bool launchAndWaitUntilExit(Task& task);

}  // namespace halden
