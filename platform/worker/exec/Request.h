// The command line of quarry-exec.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halden::exec {

/// A job to run. 0 means no limit.
struct JobRequest {
    pid_t parent = 0;  ///< who asks; the job does not outlive it
    std::string folder;
    std::uint64_t addressSpace = 0;      ///< bytes a process may map
    std::uint64_t cpuSeconds = 0;        ///< of a process
    std::uint64_t fileSize = 0;          ///< bytes of each file that is written
    std::uint64_t timeMilliseconds = 0;  ///< from the start to the end of the job
    bool withoutNetwork = false;
    std::vector<std::string> environment;  ///< "NAME=VALUE", beside the private one
    std::vector<std::string> commandLine;  ///< the program's path first
};

/// --parent PID --folder FOLDER [--address-space BYTES] [--cpu SECONDS] [--file-size BYTES] [--time MILLISECONDS]
/// [--no-network] [--env NAME=VALUE]... -- PROGRAM [ARGUMENT...]; nullopt for anything else.
[[nodiscard]] std::optional<JobRequest> parseJobRequest(std::span<char* const> arguments);

}  // namespace halden::exec
