// Carries out the work of a job with several helpers.
#pragma once

#include "queue/MergedResults.h"
#include "queue/Publisher.h"
#include "tools/batch/Slot.h"
#include "tools/batch/Tally.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace quarry::queue {

struct WorkerOptions {
    unsigned slots = 1;
    tools::BatchSlotOptions slot;
    halden::JsonData data = halden::JsonData::summary;
    std::string operation = "document";  ///< of requests that name none
    bool untilEmpty = false;             ///< ends when there is no work any more
};

/// Holds the subscription and never parses a document: helpers do, and their ends end no message. A message is
/// acknowledged when its result is durable, and not before; while it is worked on, or waits, the server hears so.
class Worker {
public:
    /// Results go to the job's stream, or, when `folder` is not null, there. Makes the job when it is not there.
    /// Everything must outlive it. Throws `QueueError`.
    Worker(const Connection& connection, const Job& job, WorkerOptions options, const std::string& registryFolder,
           MergedResults* folder);

    /// Works until it is to stop, or, if so wished, until there is no work. Throws `QueueError` when results cannot be
    /// kept.
    void run();
    /// Takes no more messages and finishes what runs. From any thread.
    void stopSoon() noexcept { stops_ = true; }

    [[nodiscard]] tools::BatchTally tally() const;

private:
    struct Delivery {
        MessageOwner message;
        std::uint64_t sequence = 0;
        std::atomic<int> open = 1;  // results that are not durable, and one for their making
    };
    using DeliveryPointer = std::shared_ptr<Delivery>;

    void fetch();
    void accept(natsMsg* message);
    void work(tools::BatchSlot& slot);
    [[nodiscard]] DeliveryPointer nextDelivery();
    void carryOut(tools::BatchSlot& slot, const DeliveryPointer& delivery);
    void carryOutShard(tools::BatchSlot& slot, const DeliveryPointer& delivery, const struct Shard& shard);
    void keep(const DeliveryPointer& delivery, ResultKey key, const tools::BatchRequest& request,
              tools::BatchOutcome outcome);
    void close(const DeliveryPointer& delivery);
    void acknowledge(const DeliveryPointer& delivery);
    void beat(const std::stop_token& stop);
    void signOfLife();
    void buryGivenUp();
    void commitFolder();
    void fail(const std::string& problem);
    [[nodiscard]] bool hasProblem() const;
    void waitedInVain();

    const Connection& connection_;
    const Job& job_;
    WorkerOptions options_;
    MergedResults* folder_;
    Publisher publisher_;
    ContextOwner context_;
    SubscriptionOwner subscription_;
    SubscriptionOwner advisories_;
    std::vector<std::unique_ptr<tools::BatchSlot>> slots_;

    std::atomic<bool> stops_ = false;
    std::atomic<bool> ended_ = false;  // nothing comes any more
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<DeliveryPointer> waiting_;
    std::set<DeliveryPointer> held_;  // delivered and not acknowledged
    std::vector<DeliveryPointer> uncommitted_;
    tools::BatchTally tally_;
    std::string problem_;
    std::uint64_t forgotten_ = 0;  // messages that the server had lost sight of, the last time
};

}  // namespace quarry::queue
