#include "tools/MemoryWatch.h"

#include "tools/ProcessTree.h"

#include <chrono>

namespace quarry::tools {

namespace {
constexpr std::chrono::milliseconds kInterval{50};
}

MemoryWatch::MemoryWatch(std::uint64_t limit) : limit_(limit) {
    if (limit_ != 0) {
        thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }
}

void MemoryWatch::watch(pid_t process) {
    const std::lock_guard lock(mutex_);
    process_ = process;
    exceeded_.reset();
    changed_.notify_all();
}

std::optional<std::uint64_t> MemoryWatch::exceeded() const {
    const std::lock_guard lock(mutex_);
    return exceeded_;
}

void MemoryWatch::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        changed_.wait(lock, stop, [this] { return process_ != 0; });
        if (process_ == 0) {
            continue;
        }
        // The lock is held all through: the process cannot be given up, and its number reused, meanwhile.
        const std::uint64_t resident = residentBytesOfTree(process_);
        if (resident > limit_) {
            exceeded_ = resident;
            killTree(process_);
            process_ = 0;
        }
        changed_.wait_for(lock, stop, kInterval, [] { return false; });
    }
}

}  // namespace quarry::tools
