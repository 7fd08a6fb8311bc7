// Brings the results of a job into a folder.
#pragma once

#include "queue/Job.h"
#include "queue/MergedResults.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quarry::queue {

/// Takes results off the job's stream, puts those in several parts together, and acknowledges them when they are on the
/// disk.
class Collector {
public:
    /// Everything must outlive it. Throws `QueueError`.
    Collector(const Connection& connection, const Job& job, MergedResults& results);

    /// Until there is no result any more and no work that may give one; with `forever`, until it is to stop. Throws
    /// `QueueError`.
    void run(bool forever);
    void stopSoon() noexcept { stops_ = true; }

private:
    struct Parts {
        std::vector<std::string> pieces;  // empty where one is missing
        std::size_t missing = 0;
        std::vector<MessageOwner> messages;
    };

    [[nodiscard]] bool fetch();
    void take(MessageOwner message);
    void complete(const std::string& result, std::string payload, bool isCompressed);

    const Connection& connection_;
    const Job& job_;
    MergedResults& results_;
    ContextOwner context_;
    SubscriptionOwner subscription_;
    std::map<std::string, Parts> parts_;  // by result
    std::vector<MessageOwner> finished_;  // to be acknowledged after the next commit
    std::atomic<bool> stops_ = false;
};

}  // namespace quarry::queue
