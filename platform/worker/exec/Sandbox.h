// What a job is given and what it is not.
#pragma once

#include "platform/worker/exec/Request.h"

#include <string>
#include <vector>

namespace halden::exec {

/// Limits this process, and what it will execute, as the request says; no core files, no new privileges, first in line
/// when memory runs out. Returns whether every limit holds.
[[nodiscard]] bool setLimits(const JobRequest& request);

/// Whether `leaveNetwork` will succeed; tried in a process of its own.
[[nodiscard]] bool canLeaveNetwork();

/// Puts this process into a network namespace without any device that is up. Call only when `canLeaveNetwork`. Returns
/// whether it worked.
[[nodiscard]] bool leaveNetwork();

/// The environment of a job: a fixed PATH and locale, every folder variable pointing into the private folder, TZ,
/// QUARRY_ and sanitizer variables as they are, and what the request adds.
[[nodiscard]] std::vector<std::string> privateEnvironment(const JobRequest& request);

}  // namespace halden::exec
