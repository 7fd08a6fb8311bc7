// How quarry-exec ends, apart from the job's own ending: with the job's exit status, or by the job's signal.
#pragma once

namespace halden::exec {

inline constexpr int kTimeIsUp = 123;     ///< the job was ended at its time limit
inline constexpr int kAskedToEnd = 124;   ///< the job was ended because we were asked to, or the parent is gone
inline constexpr int kNotSetUp = 125;     ///< the request makes no sense, or a limit cannot be set
inline constexpr int kNotExecuted = 126;  ///< the program cannot be executed

}  // namespace halden::exec
