// The bound of --memory.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace quarry::tools {

/// Looks at a process and its descendants every 50 ms and kills them all when they hold more resident memory than the
/// limit.
class MemoryWatch {
public:
    /// `limit` in bytes; 0 watches nothing.
    explicit MemoryWatch(std::uint64_t limit);

    /// Watches this process, which must be a child of ours (so its number stays its own until we have seen its end),
    /// instead of another; 0 watches none. What `exceeded` said is forgotten.
    void watch(pid_t process);

    /// What the process held when it was killed for it.
    [[nodiscard]] std::optional<std::uint64_t> exceeded() const;

private:
    void run(const std::stop_token& stop);

    const std::uint64_t limit_;
    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    pid_t process_ = 0;
    std::optional<std::uint64_t> exceeded_;
    std::jthread thread_;  // last: it uses everything above
};

}  // namespace quarry::tools
