#include "queue/Job.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace quarry::queue {
namespace {

constexpr const char* kWorkers = "workers";
constexpr const char* kWatchers = "watchers";
constexpr const char* kCollector = "collector";

constexpr std::int64_t kSecond = 1'000'000'000;
/// How long the server knows the numbers of messages, so that a repeated one is none.
constexpr std::int64_t kDuplicateWindow = 3600 * kSecond;
/// Messages that all workers may have together.
constexpr std::int64_t kMostRunning = 65'536;

void makeStream(jsCtx* context, const std::string& name, const std::string& subject, jsRetentionPolicy retention) {
    jsStreamConfig config;
    check(jsStreamConfig_Init(&config), "stream");
    std::array<const char*, 1> subjects{subject.c_str()};
    config.Name = name.c_str();
    config.Subjects = subjects.data();
    config.SubjectsLen = 1;
    config.Retention = retention;
    config.Storage = js_FileStorage;
    config.Duplicates = kDuplicateWindow;
    jsErrCode code{};
    jsStreamInfo* made = nullptr;
    const natsStatus known = js_GetStreamInfo(&made, context, name.c_str(), nullptr, &code);
    const StreamInfoOwner owner(made);
    if (known == NATS_NOT_FOUND) {
        // Of two that make it at the same time, both get it.
        check(js_AddStream(nullptr, context, &config, nullptr, &code), name, code);
    } else {
        check(known, name, code);
    }
}

/// A durable one, which outlives whoever makes it.
void makeConsumer(jsCtx* context, const std::string& stream, const char* name, std::int64_t mostDeliveries) {
    jsConsumerConfig config;
    check(jsConsumerConfig_Init(&config), "consumer");
    // Later deliveries wait longer. Not much: after a crash of the server its consumer may wait for a message that is
    // gone, until the last of them has passed.
    std::array<std::int64_t, 4> backOff{kAcknowledgeWait, kAcknowledgeWait, 2 * kAcknowledgeWait, 4 * kAcknowledgeWait};
    config.Durable = name;
    config.AckPolicy = js_AckExplicit;
    config.MaxAckPending = kMostRunning;
    config.AckWait = kAcknowledgeWait;
    if (mostDeliveries > 0) {
        config.MaxDeliver = mostDeliveries;
        config.BackOff = backOff.data();
        config.BackOffLen = static_cast<int>(backOff.size());
    }
    jsErrCode code{};
    jsConsumerInfo* known = nullptr;
    const natsStatus status = js_GetConsumerInfo(&known, context, stream.c_str(), name, nullptr, &code);
    const ConsumerInfoOwner owner(known);
    if (status == NATS_NOT_FOUND) {
        check(js_AddConsumer(nullptr, context, stream.c_str(), &config, nullptr, &code),
              fmt::format("{} of {}", name, stream), code);
    } else {
        check(status, fmt::format("{} of {}", name, stream), code);
    }
}

SubscriptionOwner subscribe(jsCtx* context, const std::string& stream, const std::string& subject, const char* name) {
    jsSubOptions options;
    check(jsSubOptions_Init(&options), "consumer");
    options.Stream = stream.c_str();
    options.Consumer = name;
    options.ManualAck = true;
    jsErrCode code{};
    natsSubscription* made = nullptr;
    check(js_PullSubscribe(&made, context, subject.c_str(), name, nullptr, &options, &code),
          fmt::format("{} of {}", name, stream), code);
    return SubscriptionOwner(made);
}

StreamInfoOwner infoOf(jsCtx* context, const std::string& stream) {
    jsErrCode code{};
    jsStreamInfo* info = nullptr;
    check(js_GetStreamInfo(&info, context, stream.c_str(), nullptr, &code), stream, code);
    return StreamInfoOwner(info);
}

}  // namespace

bool Job::isName(std::string_view name) noexcept {
    constexpr std::size_t kLongest = 64;
    return !name.empty() && name.size() <= kLongest && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
}

Job::Job(std::string name) : work_("quarry-" + name), subject_("quarry." + std::move(name)) {}

void Job::make(jsCtx* context) const {
    makeStream(context, workStream(), workSubject(), js_WorkQueuePolicy);
    makeStream(context, resultStream(), resultSubject(), js_LimitsPolicy);
    makeStream(context, deadStream(), deadSubject(), js_LimitsPolicy);
    makeStream(context, advisoryStream(), advisorySubject(), js_WorkQueuePolicy);
    makeConsumer(context, workStream(), kWorkers, kMostDeliveries);
    makeConsumer(context, advisoryStream(), kWatchers, 0);
    makeConsumer(context, resultStream(), kCollector, 0);
}

JobNumbers Job::numbers(jsCtx* context) const {
    JobNumbers numbers;
    jsErrCode code{};
    jsConsumerInfo* info = nullptr;
    check(js_GetConsumerInfo(&info, context, workStream().c_str(), kWorkers, nullptr, &code), workStream(), code);
    const ConsumerInfoOwner owner(info);
    // After a crash of the server its consumer may wait for messages that are gone, and know nothing of some that are
    // not.
    const std::uint64_t messages = infoOf(context, workStream())->State.Msgs;
    numbers.running = std::min(static_cast<std::uint64_t>(info->NumAckPending), messages);
    numbers.pending = messages - numbers.running;
    numbers.redelivered = std::min(static_cast<std::uint64_t>(info->NumRedelivered), numbers.running);
    numbers.results = infoOf(context, resultStream())->State.LastSeq;
    numbers.dead = infoOf(context, deadStream())->State.Msgs;
    return numbers;
}

std::string Job::advisorySubject() const {
    return fmt::format("$JS.EVENT.ADVISORY.CONSUMER.MAX_DELIVERIES.{}.{}", workStream(), kWorkers);
}

std::uint64_t Job::forgotten(jsCtx* context) const {
    jsErrCode code{};
    jsConsumerInfo* info = nullptr;
    const natsStatus status = js_GetConsumerInfo(&info, context, workStream().c_str(), kWorkers, nullptr, &code);
    const ConsumerInfoOwner owner(info);
    if (status != NATS_NOT_FOUND) {  // a worker that makes it anew may have ended before it did
        check(status, workStream(), code);
        if (info->NumPending != 0 || info->NumAckPending != 0) {
            return 0;
        }
    }
    if (infoOf(context, advisoryStream())->State.Msgs != 0) {
        return 0;  // those are given up, and will have their results
    }
    return infoOf(context, workStream())->State.Msgs;
}

void Job::deliverAgain(jsCtx* context) const {
    jsErrCode code{};
    const natsStatus status = js_DeleteConsumer(context, workStream().c_str(), kWorkers, nullptr, &code);
    if (status != NATS_NOT_FOUND) {  // another worker may be doing the same
        check(status, workStream(), code);
    }
    makeConsumer(context, workStream(), kWorkers, kMostDeliveries);
}

SubscriptionOwner Job::subscribeToWork(jsCtx* context) const {
    return subscribe(context, workStream(), workSubject(), kWorkers);
}

SubscriptionOwner Job::subscribeToAdvisories(jsCtx* context) const {
    return subscribe(context, advisoryStream(), advisorySubject(), kWatchers);
}

SubscriptionOwner Job::subscribeToResults(jsCtx* context) const {
    return subscribe(context, resultStream(), resultSubject(), kCollector);
}

}  // namespace quarry::queue
