// Child processes.
#pragma once

#include "foundation/Data.h"

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace halden {

/// A pipe whose writing end is given to a task. Not copyable; both ends are close-on-exec.
class Pipe {
public:
    /// Throws `Exception` when the system has no descriptor left.
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// Everything up to the end of the pipe, which comes when the last process that holds the writing end closes it.
    /// What exceeds `limit` bytes is read and dropped, so that the writer never blocks on us.
    [[nodiscard]] Data readDataToEndOfFile(std::size_t limit = SIZE_MAX);

    [[nodiscard]] int readingEnd() const noexcept { return reading_; }
    [[nodiscard]] int writingEnd() const noexcept { return writing_; }
    void closeWritingEnd() noexcept;

private:
    int reading_ = -1;
    int writing_ = -1;
};

/// A child process: set up, launched once, waited for.
///
/// No shell is involved; paths and arguments are bytes. The child starts with default signal handling, an empty signal
/// mask and no descriptors but the three standard ones. Used by one thread at a time.
///
/// Destruction does not end a child that is still running; use `terminate` or `kill` for that. A child that has ended
/// is collected at once; one that is let go while it runs is collected when a task is launched or destroyed after its
/// end.
class Task {
public:
    Task();
    ~Task();
    Task(Task&&) noexcept;
    Task& operator=(Task&&) noexcept;

    void setLaunchPath(std::string path);
    void setArguments(std::vector<std::string> arguments);
    /// The child inherits the environment with these changes.
    void setEnvironmentVariable(std::string name, std::string value);
    /// The child has these variables, with the changes above, and inherits none.
    void setEnvironment(std::map<std::string, std::string> environment);
    /// The folder the child starts in; by default ours.
    void setCurrentDirectory(std::string path);

    /// Connects standard output or error to the null device, or to a pipe, which must live until `launch` returns.
    /// Standard input is inherited unless one of the last two is called.
    void setStandardOutputToNullDevice();
    void setStandardErrorToNullDevice();
    void setStandardOutput(Pipe& pipe);
    void setStandardError(Pipe& pipe);
    void setStandardInputToNullDevice();
    /// Makes one end of a channel both standard input and standard output. It stays open on our side, and must until
    /// `launch` returns.
    void setStandardInputAndOutput(int descriptor);

    /// Starts the child. The writing ends of the pipes are closed on our side. Throws `Exception` when the program
    /// cannot be started, or when the task was launched before.
    void launch();

    [[nodiscard]] bool isRunning() noexcept;
    /// 0 before the launch.
    [[nodiscard]] pid_t processIdentifier() const noexcept;

    /// Asks the child to end (SIGTERM); does nothing when it is not running.
    void terminate() noexcept;
    /// Ends the child (SIGKILL); does nothing when it is not running.
    void kill() noexcept;

    /// Waits until the child has ended; returns at once when it was never launched.
    void waitUntilExit();
    /// The same, but for at most `limit`; returns whether the child has ended.
    bool waitUntilExit(std::chrono::milliseconds limit);

    /// The exit status of a child that ended by itself, or the number of the signal that ended it; nullopt while it
    /// runs, and when something else in this process has collected it.
    [[nodiscard]] std::optional<int> terminationStatus() noexcept;
    [[nodiscard]] bool wasKilledBySignal() noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace halden
