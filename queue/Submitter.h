// Puts work into a job.
#pragma once

#include "queue/Job.h"
#include "queue/WorkMessage.h"
#include "tools/batch/Input.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace quarry::queue {

struct Submitted {
    std::uint64_t messages = 0;
    std::uint64_t repeated = 0;  ///< of these, how many the job had before
};

class Submitter {
public:
    /// Makes the job when it is not there. `connection` must outlive it. Throws `QueueError`.
    Submitter(const Connection& connection, std::string name);

    /// All requests of the input; those with a problem are left out and named. Returns when the server has them all;
    /// those that it does not answer, on a network that was lost, it gets again. Throws `QueueError` when it does not
    /// take one.
    Submitted submitRequests(tools::BatchInput& input);

    /// A file of requests as references to parts of so many lines. Throws `QueueError`, also when it cannot be read.
    Submitted submitShards(const std::string& path, std::uint64_t lines);

private:
    using Clock = std::chrono::steady_clock;

    static void acknowledged(jsCtx* context, natsMsg* message, jsPubAck* acknowledgement, jsPubAckErr* error,
                             void* closure);
    void publish(const std::string& message);
    void send(MessageOwner message);
    void publishAgain();
    void throwIfHopeless();
    Submitted finish();

    const Connection& connection_;
    std::string name_;
    Job job_;
    std::mutex mutex_;
    std::string problem_;
    Submitted submitted_;
    std::uint64_t open_ = 0;  // published, and not known to be stored
    std::vector<MessageOwner> unanswered_;
    Clock::time_point lastAnswer_;
    ContextOwner context_;  // the last: its callbacks use the others
};

}  // namespace quarry::queue
