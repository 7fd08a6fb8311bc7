// The end of everything that a command started, whatever way the command itself ends.
#pragma once

#include <sys/types.h>

#include <memory>
#include <mutex>
#include <string>

namespace quarry::tools {

/// A process beside the command that waits for its end (a pipe that only the command holds open is closed, even by
/// SIGKILL), then kills every process that the command started and removes the command's private folder.
///
/// The processes are known by a variable that the command puts into its own environment, and that they inherit; so none
/// is missed, not even one whose launch was just under way.
class Guardian {
public:
    /// Forks, so no thread may run yet. With `privateFolder`, a folder of mode 0700 is made for the command's registry
    /// and whatever else its helper keeps. A null pointer, with errno set, when the system has no room for it.
    [[nodiscard]] static std::unique_ptr<Guardian> start(bool privateFolder);

    /// Finishes.
    ~Guardian();
    Guardian(const Guardian&) = delete;
    Guardian& operator=(const Guardian&) = delete;

    /// The private folder's path; empty when there is none.
    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

    /// Ends everything now and returns when it is gone. `interrupted`: the command may be launching something at this
    /// very moment. From any thread; the second call waits for the first.
    void finish(bool interrupted) noexcept;

private:
    Guardian(std::string folder, std::string variable) : folder_(std::move(folder)), variable_(std::move(variable)) {}
    [[nodiscard]] bool fork();
    [[noreturn]] void watch(int pipe, pid_t command) const;

    std::string folder_;
    std::string variable_;
    std::once_flag finished_;
    pid_t process_ = -1;
    int pipe_ = -1;
};

}  // namespace quarry::tools
