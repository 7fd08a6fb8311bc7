// What a batch says of itself while it runs.
#pragma once

#include "tools/batch/Batch.h"

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <thread>

namespace quarry::tools {

/// Shows a line on a terminal five times a second, with the slowest document that runs; without a terminal prints one
/// every ten seconds. Lets the batch write what has waited, too.
class BatchReporter {
public:
    /// `count`, on a thread of its own, counts the documents; empty where that cannot be known.
    BatchReporter(Batch& batch, bool quiet, std::function<std::uint64_t(const std::stop_token&)> count);
    /// Takes the line away.
    ~BatchReporter();
    BatchReporter(const BatchReporter&) = delete;
    BatchReporter& operator=(const BatchReporter&) = delete;

    [[nodiscard]] std::chrono::duration<double> elapsed() const noexcept;

private:
    void run(const std::stop_token& stop);
    void show();

    Batch& batch_;
    const bool quiet_;
    const std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point shown_;
    std::atomic<std::uint64_t> total_ = 0;
    std::atomic<bool> isCounted_ = false;
    std::mutex mutex_;
    std::condition_variable_any ended_;
    std::jthread counter_;  // last: they use everything above
    std::jthread reporter_;
};

}  // namespace quarry::tools
