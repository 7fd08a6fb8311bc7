#include "queue/Worker.h"

#include "foundation/Json.h"
#include "queue/WorkMessage.h"
#include "tools/Output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace quarry::queue {
namespace {

using namespace std::chrono_literals;
using tools::BatchOutcome;
using tools::BatchRequest;
using tools::BatchStatus;

constexpr std::size_t kWaitingOfSlot = 32;  // messages that wait for a helper
constexpr std::int64_t kFetchMilliseconds = 1000;
constexpr auto kBeat = 200ms;
constexpr int kBeatsToSignOfLife = 10;
constexpr int kBeatsToAdvisories = 10;
constexpr double kDrainSeconds = 60;
constexpr std::uint64_t kLargestShard = std::uint64_t{256} << 20;  // bytes
constexpr double kDrainAfterProblemSeconds = 3;

bool isDead(BatchStatus status) noexcept {
    return status >= BatchStatus::timeout;  // and crash, oom, error
}

/// Of a file that may be far larger than the memory. Nothing where it does not reach so far.
std::optional<std::string> linesOf(const Shard& shard) {
    const int file = ::open(shard.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    const bool isFile = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    const auto size = isFile ? static_cast<std::uint64_t>(status.st_size) : 0;
    std::optional<std::string> lines;
    if (isFile && shard.length <= kLargestShard && shard.offset <= size && shard.length <= size - shard.offset) {
        lines.emplace(shard.length, '\0');
    }
    for (std::size_t done = 0; lines && done < lines->size();) {
        const ssize_t count =
            ::pread(file, lines->data() + done, lines->size() - done, static_cast<off_t>(shard.offset + done));
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            lines.reset();
        }
    }
    if (file >= 0) {
        ::close(file);
    }
    return lines;
}

}  // namespace

Worker::Worker(const Connection& connection, const Job& job, WorkerOptions options, const std::string& registryFolder,
               MergedResults* folder)
    : connection_(connection),
      job_(job),
      options_(std::move(options)),
      folder_(folder),
      publisher_(connection, job),
      context_(connection.context()) {
    connection_.ask([this] {
        job_.make(context_.get());
        subscription_ = job_.subscribeToWork(context_.get());
        advisories_ = job_.subscribeToAdvisories(context_.get());
    });
    for (unsigned i = 0; i < options_.slots; ++i) {
        const std::string registry = fmt::format("{}/{}", registryFolder, i);
        ::mkdir(registry.c_str(), 0700);
        slots_.push_back(std::make_unique<tools::BatchSlot>(options_.slot, registry));
    }
}

void Worker::run() {
    std::jthread beater([this](const std::stop_token& stop) { beat(stop); });
    std::vector<std::jthread> threads;
    threads.reserve(slots_.size());
    for (const auto& slot : slots_) {
        threads.emplace_back([this, &slot] { work(*slot); });
    }
    while (!stops_) {
        fetch();
        try {
            connection_.throwIfRefused();
        } catch (const QueueError& error) {
            fail(error.what());
        }
    }
    {
        const std::scoped_lock lock(mutex_);
        // What nobody has begun goes back at once.
        for (const DeliveryPointer& delivery : waiting_) {
            natsMsg_Nak(delivery->message.get(), nullptr);
            held_.erase(delivery);
        }
        waiting_.clear();
        ended_ = true;
        changed_.notify_all();
    }
    publisher_.waitNoMore();
    threads.clear();
    const bool isDrained = publisher_.drain(hasProblem() ? kDrainAfterProblemSeconds : kDrainSeconds);
    commitFolder();
    {
        // What could not be finished or kept goes back at once.
        const std::scoped_lock lock(mutex_);
        for (const DeliveryPointer& delivery : held_) {
            natsMsg_Nak(delivery->message.get(), nullptr);
        }
    }
    natsConnection_FlushTimeout(connection_.get(), 5000);
    if (!problem_.empty()) {
        throw QueueError(problem_, NATS_ERR);
    }
    if (!isDrained) {
        throw QueueError("results could not be stored; their documents will be delivered again", NATS_TIMEOUT);
    }
}

void Worker::fetch() {
    std::size_t room = 0;
    {
        std::unique_lock lock(mutex_);
        const std::size_t most = kWaitingOfSlot * slots_.size();
        changed_.wait_for(lock, 1s, [&] { return stops_ || waiting_.size() < most / 2; });
        room = most - std::min(most, waiting_.size());
    }
    if (room == 0 || stops_) {
        return;
    }
    natsMsgList list{};
    jsErrCode code{};
    const natsStatus status =
        natsSubscription_Fetch(&list, subscription_.get(), static_cast<int>(room), kFetchMilliseconds, &code);
    if (status == NATS_OK) {
        for (int i = 0; i < list.Count; ++i) {
            accept(std::exchange(list.Msgs[i], nullptr));
        }
    } else if (status != NATS_TIMEOUT) {
        std::this_thread::sleep_for(500ms);  // the connection comes back by itself
    } else {
        waitedInVain();
    }
    natsMsgList_Destroy(&list);
}

void Worker::accept(natsMsg* message) {
    const auto delivery = std::make_shared<Delivery>();
    delivery->message.reset(message);
    jsMsgMetaData* data = nullptr;
    if (natsMsg_GetMetaData(&data, message) != NATS_OK) {
        return;
    }
    const MetaDataOwner owner(data);
    delivery->sequence = data->Sequence.Stream;
    const std::scoped_lock lock(mutex_);
    held_.insert(delivery);
    waiting_.push_back(delivery);
    changed_.notify_all();
}

/// There was no message for a while. Messages that the server has lost sight of are delivered again, all of them, done
/// or not: a result that is there already is merged. What is seen twice in a row is no message on its way out.
void Worker::waitedInVain() {
    {
        const std::scoped_lock lock(mutex_);
        if (!held_.empty()) {
            return;
        }
    }
    try {
        const std::uint64_t forgotten = job_.forgotten(context_.get());
        if (forgotten != 0 && std::exchange(forgotten_, forgotten) == forgotten) {
            job_.deliverAgain(context_.get());
            forgotten_ = 0;
        } else if (forgotten == 0) {
            forgotten_ = 0;
            const JobNumbers numbers = job_.numbers(context_.get());
            if (options_.untilEmpty && numbers.pending == 0 && numbers.running == 0) {
                stops_ = true;
            }
        }
    } catch (const QueueError&) {
        return;  // the connection comes back by itself
    }
}

void Worker::work(tools::BatchSlot& slot) {
    while (const DeliveryPointer delivery = nextDelivery()) {
        try {
            carryOut(slot, delivery);
        } catch (const std::exception& error) {
            fail(error.what());
        }
    }
}

Worker::DeliveryPointer Worker::nextDelivery() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return ended_ || !waiting_.empty(); });
    if (waiting_.empty()) {
        return nullptr;
    }
    DeliveryPointer delivery = std::move(waiting_.front());
    waiting_.pop_front();
    changed_.notify_all();
    return delivery;
}

void Worker::carryOut(tools::BatchSlot& slot, const DeliveryPointer& delivery) {
    const std::string_view text(natsMsg_GetData(delivery->message.get()),
                                static_cast<std::size_t>(natsMsg_GetDataLength(delivery->message.get())));
    if (const auto shard = shardOf(text)) {
        carryOutShard(slot, delivery, *shard);
    } else {
        const auto* operation = tools::findBatchOperation(options_.operation);
        BatchRequest request = tools::batchRequestFromJson(text, delivery->sequence, *operation);
        keep(delivery, {delivery->sequence, 0}, request, slot.carryOut(request));
    }
    close(delivery);
}

void Worker::carryOutShard(tools::BatchSlot& slot, const DeliveryPointer& delivery, const Shard& shard) {
    const auto* operation = tools::findBatchOperation(options_.operation);
    const std::optional<std::string> lines = linesOf(shard);
    if (!lines) {
        BatchRequest request;
        request.number = delivery->sequence;
        request.id = halden::Value(static_cast<std::int64_t>(delivery->sequence));
        request.path = shard.path;
        request.operation = operation;
        BatchOutcome outcome;
        outcome.status = BatchStatus::missing;
        outcome.explanation = "the file of requests cannot be read, or has changed";
        keep(delivery, {delivery->sequence, 0}, request, std::move(outcome));
        return;
    }
    std::string_view text = *lines;
    for (std::uint64_t line = 0; !text.empty() && !ended_; ++line) {
        const std::size_t end = text.find('\n');
        BatchRequest request = tools::batchRequestFromJson(text.substr(0, end), shard.first + line, *operation);
        text = end == text.npos ? std::string_view() : text.substr(end + 1);
        keep(delivery, {delivery->sequence, line + 1}, request, slot.carryOut(request));
    }
    if (!text.empty()) {
        delivery->open += 1;  // never closed: the whole of it comes again, and its results are merged
    }
}

void Worker::keep(const DeliveryPointer& delivery, ResultKey key, const BatchRequest& request, BatchOutcome outcome) {
    const BatchStatus status = outcome.status;
    const std::string line = tools::lineOf(request, std::move(outcome), options_.data);
    {
        const std::scoped_lock lock(mutex_);
        tally_.add(status);
    }
    if (isDead(status)) {
        ++delivery->open;
        publisher_.publish(job_.deadSubject(), key, line, [this, delivery] { close(delivery); });
    }
    if (folder_ != nullptr) {
        folder_->add(key, line);
        return;
    }
    ++delivery->open;
    publisher_.publish(job_.resultSubject(), key, line, [this, delivery] { close(delivery); });
}

/// One thing less that stands between the message and its acknowledgement.
void Worker::close(const DeliveryPointer& delivery) {
    if (--delivery->open != 0) {
        return;
    }
    if (folder_ == nullptr) {
        acknowledge(delivery);
    } else {
        const std::scoped_lock lock(mutex_);
        uncommitted_.push_back(delivery);
    }
}

void Worker::acknowledge(const DeliveryPointer& delivery) {
    natsMsg_Ack(delivery->message.get(), nullptr);
    const std::scoped_lock lock(mutex_);
    held_.erase(delivery);
}

/// Puts the results of the folder on the disk, and then acknowledges their messages.
void Worker::commitFolder() {
    std::vector<DeliveryPointer> deliveries;
    {
        const std::scoped_lock lock(mutex_);
        deliveries = std::exchange(uncommitted_, {});
    }
    if (deliveries.empty()) {
        return;
    }
    try {
        folder_->commit();
    } catch (const QueueError& error) {
        fail(error.what());
        return;
    }
    for (const DeliveryPointer& delivery : deliveries) {
        acknowledge(delivery);
    }
}

void Worker::beat(const std::stop_token& stop) {
    for (int beats = 1; !stop.stop_requested(); ++beats) {
        std::this_thread::sleep_for(kBeat);
        publisher_.retry();
        commitFolder();
        if (beats % kBeatsToSignOfLife == 0) {
            signOfLife();
        }
        if (beats % kBeatsToAdvisories == 0) {
            buryGivenUp();
        }
    }
}

void Worker::signOfLife() {
    const std::scoped_lock lock(mutex_);
    for (const DeliveryPointer& delivery : held_) {
        natsMsg_InProgress(delivery->message.get(), nullptr);
    }
}

/// Messages that the server does not deliver any more: each gets a result, and goes.
void Worker::buryGivenUp() {
    constexpr int kMost = 32;
    natsMsgList list{};
    jsErrCode code{};
    if (natsSubscription_Fetch(&list, advisories_.get(), kMost, 10, &code) != NATS_OK) {
        natsMsgList_Destroy(&list);
        return;
    }
    for (int i = 0; i < list.Count; ++i) {
        const std::shared_ptr<natsMsg> advisory(std::exchange(list.Msgs[i], nullptr), natsMsg_Destroy);
        const auto value = halden::valueFromJson(
            {natsMsg_GetData(advisory.get()), static_cast<std::size_t>(natsMsg_GetDataLength(advisory.get()))});
        const auto* dictionary = value ? value->as<halden::Dictionary>() : nullptr;
        const auto* number = dictionary != nullptr ? dictionary->find(u"stream_seq") : nullptr;
        const auto* sequence = number != nullptr ? number->as<std::int64_t>() : nullptr;
        natsMsg* found = nullptr;
        if (sequence == nullptr || js_GetMsg(&found, context_.get(), job_.workStream().c_str(),
                                             static_cast<std::uint64_t>(*sequence), nullptr, &code) != NATS_OK) {
            natsMsg_Ack(advisory.get(), nullptr);  // it was acknowledged after all
            continue;
        }
        const MessageOwner message(found);
        const auto key = static_cast<std::uint64_t>(*sequence);
        BatchRequest request = tools::batchRequestFromJson(
            {natsMsg_GetData(found), static_cast<std::size_t>(natsMsg_GetDataLength(found))}, key,
            *tools::findBatchOperation(options_.operation));
        BatchOutcome outcome;
        outcome.status = BatchStatus::crash;
        outcome.attempts = static_cast<int>(kMostDeliveries);
        outcome.explanation = fmt::format("given up after {} deliveries", kMostDeliveries);
        const std::string line = tools::lineOf(request, std::move(outcome), options_.data);
        publisher_.publish(job_.deadSubject(), {key, 0}, line, [] {});
        publisher_.publish(job_.resultSubject(), {key, 0}, line, [this, advisory, key] {
            jsErrCode ignored{};
            js_DeleteMsg(context_.get(), job_.workStream().c_str(), key, nullptr, &ignored);
            natsMsg_Ack(advisory.get(), nullptr);
        });
    }
    natsMsgList_Destroy(&list);
}

void Worker::fail(const std::string& problem) {
    const std::scoped_lock lock(mutex_);
    if (problem_.empty()) {
        problem_ = problem;
    }
    stops_ = true;
    changed_.notify_all();
}

bool Worker::hasProblem() const {
    const std::scoped_lock lock(mutex_);
    return !problem_.empty();
}

tools::BatchTally Worker::tally() const {
    const std::scoped_lock lock(mutex_);
    return tally_;
}

}  // namespace quarry::queue
