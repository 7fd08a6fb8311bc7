#include "tools/batch/Batch.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace quarry::tools {
namespace {

// How far ahead of the oldest document that is worked on others are taken, where results are in order.
constexpr std::uint64_t kWindowOfSlot = 32;

}  // namespace

Batch::Batch(BatchOptions options, const std::string& folder, BatchInput& input, BatchResults& results,
             BatchJournal& journal)
    : options_(std::move(options)), input_(input), results_(results), journal_(journal) {
    for (unsigned i = 0; i < options_.slots; ++i) {
        const std::string registry = fmt::format("{}/{}", folder, i);
        ::mkdir(registry.c_str(), 0700);
        slots_.push_back(std::make_unique<BatchSlot>(options_.slot, registry));
    }
}

void Batch::run() {
    std::vector<std::jthread> threads;
    threads.reserve(slots_.size());
    for (const auto& slot : slots_) {
        threads.emplace_back([this, &slot] { work(*slot); });
    }
    threads.clear();
    const std::scoped_lock lock(resultMutex_);
    results_.finish();
}

void Batch::work(BatchSlot& slot) {
    while (auto task = nextTask()) {
        BatchOutcome outcome = slot.carryOut(task->request);
        finish(std::move(*task), std::move(outcome));
    }
}

std::optional<Batch::Task> Batch::nextTask() {
    const std::scoped_lock lock(inputMutex_);
    while (!stops_ && waitForTurn()) {
        auto request = input_.next();
        if (!request || stops_) {
            return std::nullopt;
        }
        if (journal_.isOpen() && journal_.takeDone(*request)) {
            const std::scoped_lock resultLock(resultMutex_);
            ++tally_.skipped;
            continue;
        }
        Task task{.request = std::move(*request), .record = {}, .place = taken_++};
        if (journal_.isOpen()) {
            task.record = BatchJournal::recordOf(task.request);
        }
        return task;
    }
    return std::nullopt;
}

/// Waits until the next request is not too far ahead; false when it is not to be taken any more.
bool Batch::waitForTurn() {
    if (!options_.ordered) {
        return true;
    }
    const std::uint64_t window = kWindowOfSlot * slots_.size();
    std::unique_lock lock(resultMutex_);
    written_.wait(lock, [&] { return stops_ || taken_ < nextPlace_ + window; });
    return !stops_;
}

void Batch::finish(Task task, BatchOutcome outcome) {
    const BatchStatus status = outcome.status;
    std::string line = lineOf(task.request, std::move(outcome), options_.data);
    const std::scoped_lock lock(resultMutex_);
    tally_.add(status);
    if (options_.ordered) {
        finished_.emplace(task.place, Finished{std::move(line), task.record});
        writeReady();
    } else if (!results_.add(line, task.record)) {
        stops_ = true;
    }
}

void Batch::writeReady() {
    for (auto next = finished_.begin(); next != finished_.end() && next->first == nextPlace_;
         next = finished_.erase(next)) {
        ++nextPlace_;
        if (!results_.add(next->second.line, next->second.record)) {
            stops_ = true;
        }
    }
    written_.notify_all();
}

BatchTally Batch::tally() const {
    const std::scoped_lock lock(resultMutex_);
    return tally_;
}

std::optional<BatchSlot::Running> Batch::slowest() const {
    std::optional<BatchSlot::Running> slowest;
    for (const auto& slot : slots_) {
        auto running = slot->running();
        if (running && (!slowest || running->since < slowest->since)) {
            slowest = std::move(running);
        }
    }
    return slowest;
}

void Batch::tick() {
    const std::scoped_lock lock(resultMutex_);
    if (!results_.tick()) {
        stops_ = true;
    }
}

}  // namespace quarry::tools
