// Many documents over several helpers: one result for each, whatever it does to its helper.
#pragma once

#include "tools/batch/Input.h"
#include "tools/batch/Journal.h"
#include "tools/batch/Results.h"
#include "tools/batch/Slot.h"
#include "tools/batch/Tally.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quarry::tools {

struct BatchOptions {
    unsigned slots = 1;
    bool ordered = false;  ///< results in the order of the input
    halden::JsonData data = halden::JsonData::summary;
    BatchSlotOptions slot;
};

/// The supervisor. It opens no document: helpers do, one request at a time each. Results are kept back only where their
/// order asks for it, and then the input waits for the oldest of them.
class Batch {
public:
    /// `folder`: for the registry folders of the helpers. `input`, `results` and `journal` must outlive it.
    Batch(BatchOptions options, const std::string& folder, BatchInput& input, BatchResults& results,
          BatchJournal& journal);

    /// Goes through the input to its end, or until it is to stop, or nothing can be written any more.
    void run();

    /// Takes no more input and finishes what runs. From any thread.
    void stopSoon() noexcept { stops_ = true; }

    [[nodiscard]] BatchTally tally() const;
    /// The document that has been worked on for the longest time. From any thread.
    [[nodiscard]] std::optional<BatchSlot::Running> slowest() const;
    /// Writes results that have waited long. From any thread.
    void tick();

private:
    struct Task {
        BatchRequest request;
        BatchJournal::Record record;
        std::uint64_t place = 0;  ///< among the requests that are carried out
    };
    struct Finished {
        std::string line;
        BatchJournal::Record record;
    };

    void work(BatchSlot& slot);
    [[nodiscard]] std::optional<Task> nextTask();
    [[nodiscard]] bool waitForTurn();
    void finish(Task task, BatchOutcome outcome);
    void writeReady();

    BatchOptions options_;
    BatchInput& input_;
    BatchResults& results_;
    BatchJournal& journal_;
    std::vector<std::unique_ptr<BatchSlot>> slots_;

    std::atomic<bool> stops_ = false;
    std::mutex inputMutex_;
    std::uint64_t taken_ = 0;  // under inputMutex_

    mutable std::mutex resultMutex_;
    std::condition_variable written_;
    std::map<std::uint64_t, Finished> finished_;  // by place; those that wait for earlier ones
    std::uint64_t nextPlace_ = 0;                 // of the next line
    BatchTally tally_;
};

}  // namespace quarry::tools
