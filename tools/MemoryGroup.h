// The system's own bound on the memory of a helper, where this process may set one.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quarry::tools {

/// A control group with a limit on memory, of either version of the system's. It is removed at the end, by when its
/// processes must have ended.
///
/// Where one can be made: below the group that we are in, or, as its processes and its sub-groups may not both be bound
/// in version 2, below the one around it; in any case in a group that was handed to this user, for memory.
class MemoryGroup {
public:
    /// `limit` in bytes; nil where no group can be made. `root` is where the hierarchies are mounted, `processGroups`
    /// the text of /proc/self/cgroup.
    [[nodiscard]] static std::optional<MemoryGroup> make(const std::filesystem::path& root,
                                                         std::string_view processGroups, std::uint64_t limit);
    /// The same for this process.
    [[nodiscard]] static std::optional<MemoryGroup> makeHere(std::uint64_t limit);

    ~MemoryGroup();
    MemoryGroup(MemoryGroup&& other) noexcept
        : folder_(std::exchange(other.folder_, {})), eventsFile_(other.eventsFile_) {}
    MemoryGroup& operator=(MemoryGroup&& other) noexcept {
        std::swap(folder_, other.folder_);
        std::swap(eventsFile_, other.eventsFile_);
        return *this;
    }

    /// Moves a process into the group, with all that it starts from then on. False when the system refuses.
    [[nodiscard]] bool take(pid_t process) const;
    /// Whether the system has killed a process of the group for its memory.
    [[nodiscard]] bool hasKilled() const;

private:
    MemoryGroup(std::filesystem::path folder, const char* eventsFile)
        : folder_(std::move(folder)), eventsFile_(eventsFile) {}

    std::filesystem::path folder_;
    const char* eventsFile_;
};

}  // namespace quarry::tools
