// Other processes, seen through /proc.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string_view>

namespace quarry::tools {

/// Resident bytes of the process and of all its descendants. Pages that they share count once for each. 0 when the
/// process is gone.
[[nodiscard]] std::uint64_t residentBytesOfTree(pid_t process);

/// Kills the process and all its descendants, and returns when they have ended (after 5 s at most).
void killTree(pid_t process);

/// The same for the other children of `parent` and all their descendants, if it is our parent still.
void killSiblings(pid_t parent);

/// Returns when the process has ended, or after that time.
void waitForEnd(pid_t process, std::chrono::milliseconds limit);

/// Kills every process of ours that was started with `variable` ("NAME=VALUE") in its environment, until none is left
/// or the limit has passed. `settle`: looks once more after a moment, for a process that was just being started.
/// Returns whether none is left.
bool killProcessesWithVariable(std::string_view variable, bool settle);

}  // namespace quarry::tools
