// Results in a folder, each of them once, however often it comes.
#pragma once

#include "tools/batch/Results.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace quarry::queue {

/// Which result it is: the number of its message, and of its line where the message refers to several.
struct ResultKey {
    std::uint64_t sequence = 0;
    std::uint64_t line = 0;
};

/// "7" or "7.12", and back; zeros for what is neither.
[[nodiscard]] std::string textOf(ResultKey key);
[[nodiscard]] ResultKey resultKeyFrom(std::string_view text);

/// Shards with a journal beside them (FOLDER/journal), from which it goes on after any end. For several threads.
class MergedResults {
public:
    /// Throws `QueueError` when the folder cannot be written, or belongs to another job.
    MergedResults(const tools::ResultOptions& options, const std::string& job);

    /// The first result of a key counts. Throws `QueueError` when it cannot be written.
    void add(ResultKey key, std::string_view line);
    /// Returns when everything that was added is on the disk. Throws as above.
    void commit();

    [[nodiscard]] std::uint64_t count() const;

private:
    mutable std::mutex mutex_;
    tools::BatchJournal journal_;
    tools::BatchResults results_;
    std::uint64_t count_ = 0;
};

}  // namespace quarry::queue
