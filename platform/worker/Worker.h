// A child that does one dangerous job.
#pragma once

#include "platform/process/Task.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// What a job may use. Zero means no limit, except for the job's time, which is always bounded.
struct WorkerLimits {
    std::uint64_t addressSpace = 0;  ///< bytes each process of the job may map
    std::chrono::seconds cpu{0};     ///< of each process
    std::uint64_t fileSize = 0;      ///< bytes of each file that is written
    std::chrono::milliseconds time{60'000};
};

enum class WorkerNetwork {
    none,  ///< cut off where the system permits it; else inherited, with a line in the log, once
    inherited
};

/// What the job's standard input and output are.
enum class WorkerChannel {
    none,   ///< the null device
    socket  ///< a socket to us: see `send` and `receiveLine`
};

struct WorkerProgram {
    std::string path{};
    std::vector<std::string> arguments{};
    std::vector<std::string> environment{};  ///< "NAME=VALUE", beside the private environment
    WorkerNetwork network = WorkerNetwork::none;
    WorkerChannel channel = WorkerChannel::none;
};

struct WorkerEnding {
    enum class Kind {
        exited,      ///< by itself; `status` is its exit status
        crashed,     ///< by a signal, `status`; a limit on CPU time or file size ends a job so, too
        endedByUs,   ///< killed by `end`, or with this object
        timeIsUp,    ///< killed at the time limit
        notStarted,  ///< the program or a limit could not be set up
    };
    Kind kind = Kind::notStarted;
    int status = 0;
};

/// One job: a private folder, in which one program runs within limits, never longer than this object or this process
/// lives, however either ends.
///
/// The program is started through quarry-exec, which sets the limits and reaps whatever the job starts. The job's
/// environment is private: TMPDIR, HOME and the XDG folders are the private folder, which is also where it starts;
/// PATH and the locale are fixed; no other variables are inherited but TZ and QUARRY_*. Used by one thread.
class Worker {
public:
    /// Makes the private folder; a null pointer, with a line in the log, when there can be none.
    [[nodiscard]] static std::unique_ptr<Worker> make(const WorkerLimits& limits);

    /// Kills the job and removes the folder.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// The private folder, mode 0700.
    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

    /// Starts the job. Once only. False, with a line in the log, when quarry-exec cannot be started; whether the
    /// program could be, `waitUntilEnd` tells.
    bool launch(const WorkerProgram& program);

    /// Writes to the job's standard input. False when it is gone, or does not take everything within `limit`.
    bool send(std::string_view bytes, std::chrono::milliseconds limit);

    /// The next line of the job's standard output, without its line feed; nullopt when the job is gone, or nothing
    /// comes within `limit`, or the line exceeds 64 KiB.
    [[nodiscard]] std::optional<std::string> receiveLine(std::chrono::milliseconds limit);

    /// Our end of the job's socket, for those who wait for it among other things; -1 without one.
    [[nodiscard]] int channel() const noexcept { return channel_; }

    [[nodiscard]] bool isRunning() noexcept { return task_.isRunning(); }
    /// Of quarry-exec, whose child the job is; 0 before the launch.
    [[nodiscard]] pid_t processIdentifier() const noexcept { return task_.processIdentifier(); }

    /// How the job ended; nullopt when it has not within `limit`. All its processes are gone then.
    [[nodiscard]] std::optional<WorkerEnding> waitUntilEnd(std::chrono::milliseconds limit);
    /// The same, for at most the job's time limit, which ends it.
    [[nodiscard]] WorkerEnding waitUntilEnd();

    /// Kills the job with everything it started, and returns when all are gone.
    void end() noexcept;

private:
    Worker(const WorkerLimits& limits, std::string folder) : limits_(limits), folder_(std::move(folder)) {}
    [[nodiscard]] std::vector<std::string> commandLine(const WorkerProgram& program) const;

    WorkerLimits limits_;
    std::string folder_;
    Task task_;
    int channel_ = -1;
    std::string received_;
};

/// Whether jobs can be cut off from the network here; nullopt when quarry-exec cannot be run.
[[nodiscard]] std::optional<bool> jobsCanLeaveNetwork();

}  // namespace halden
