// The folder of one job, or of all jobs of a process, and its end.
#pragma once

#include <string>

namespace halden::exec {

/// Kills every process that works in the folder: those that were started with TMPDIR at it or below it, as all jobs
/// are. Returns whether there was one.
bool killProcessesIn(const std::string& folder);

/// Kills the processes that work in the folder and removes it with everything in it; symbolic links are removed, not
/// followed. Gives up after 10 s. Returns whether it is gone.
bool killAndRemoveFolder(const std::string& folder);

/// Removes the folder, in which nobody works any more. Returns whether it is gone.
bool removeFolder(const std::string& folder);

}  // namespace halden::exec
