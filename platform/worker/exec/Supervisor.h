// The life of one job.
#pragma once

#include "platform/worker/exec/Request.h"

namespace halden::exec {

/// Runs the job and returns the status that quarry-exec exits with; see platform/worker/ExitStatus.h.
///
/// Stays between the job and who asked for it, as the reaper of whatever the job starts: however a descendant detaches
/// itself, it becomes our child. The job ends, with all of them, when it exits, when its time is up, when we are asked
/// to end (SIGTERM), and when the process that asked is gone. Should we ourselves be killed, the kernel kills the job.
[[nodiscard]] int superviseJob(const JobRequest& request);

}  // namespace halden::exec
