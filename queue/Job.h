// A job on the message server: its streams, and what is known of them.
//
//   quarry-JOB             work: a request or a part of a file of requests a message, gone once it is acknowledged
//   quarry-JOB-results     a result a message, or a part of one
//   quarry-JOB-dead        results of documents that crashed, hung or grew twice, and of messages that were given up
//   quarry-JOB-advisories  what the server says when a message was delivered as often as may be
#pragma once

#include "queue/Nats.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace quarry::queue {

/// Deliveries after which a message is given up.
inline constexpr std::int64_t kMostDeliveries = 5;

/// Nanoseconds without a sign of life after which the server takes a worker's message for lost.
inline constexpr std::int64_t kAcknowledgeWait = 10'000'000'000;

struct JobNumbers {
    std::uint64_t pending = 0;      ///< messages nobody has
    std::uint64_t running = 0;      ///< messages at workers
    std::uint64_t redelivered = 0;  ///< of these, how many not for the first time
    std::uint64_t results = 0;      ///< results so far, parts counted
    std::uint64_t dead = 0;
};

class Job {
public:
    /// Letters, digits, "-" and "_", at most 64.
    [[nodiscard]] static bool isName(std::string_view name) noexcept;

    explicit Job(std::string name);

    [[nodiscard]] const std::string& workStream() const noexcept { return work_; }
    [[nodiscard]] std::string resultStream() const { return work_ + "-results"; }
    [[nodiscard]] std::string deadStream() const { return work_ + "-dead"; }
    [[nodiscard]] std::string advisoryStream() const { return work_ + "-advisories"; }
    [[nodiscard]] std::string workSubject() const { return subject_ + ".work"; }
    [[nodiscard]] std::string resultSubject() const { return subject_ + ".results"; }
    [[nodiscard]] std::string deadSubject() const { return subject_ + ".dead"; }
    /// Of the server's own.
    [[nodiscard]] std::string advisorySubject() const;

    /// Makes the streams and the consumers that are not there. Throws `QueueError`.
    void make(jsCtx* context) const;

    /// Throws `QueueError` when the job is not there.
    [[nodiscard]] JobNumbers numbers(jsCtx* context) const;

    /// The messages of the work stream, where the server says that it has delivered all of them and waits for none:
    /// after a crash it may have lost sight of some, done or not. 0 otherwise, and while messages are being given up.
    /// Throws `QueueError`.
    [[nodiscard]] std::uint64_t forgotten(jsCtx* context) const;
    /// Makes the workers' consumer anew, which delivers again whatever is in the work stream. Throws `QueueError`.
    void deliverAgain(jsCtx* context) const;

    /// The durable consumers that all workers share, and that of who collects results. Throw `QueueError`.
    [[nodiscard]] SubscriptionOwner subscribeToWork(jsCtx* context) const;
    [[nodiscard]] SubscriptionOwner subscribeToAdvisories(jsCtx* context) const;
    [[nodiscard]] SubscriptionOwner subscribeToResults(jsCtx* context) const;

private:
    std::string work_;
    std::string subject_;
};

}  // namespace quarry::queue
