#include "queue/Submitter.h"

#include "foundation/Data.h"
#include "queue/Publisher.h"
#include "tools/Output.h"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>
#include <utility>

namespace quarry::queue {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kAnswerMilliseconds = 10'000;
constexpr std::int64_t kStepMilliseconds = 250;
constexpr auto kMostSilence = 120s;
// Of a message that is published once more: that the server has it already then says nothing.
constexpr const char* kAgainHeader = "Quarry-Again";

/// A connection that comes back takes it later.
bool isForNow(natsStatus status) noexcept {
    return status == NATS_TIMEOUT || status == NATS_INSUFFICIENT_BUFFER || status == NATS_CONNECTION_DISCONNECTED ||
           status == NATS_IO_ERROR;
}

}  // namespace

Submitter::Submitter(const Connection& connection, std::string name)
    : connection_(connection),
      name_(std::move(name)),
      job_(name_),
      context_(connection.context(&Submitter::acknowledged, this)) {
    connection_.ask([this] { job_.make(context_.get()); });
}

void Submitter::acknowledged(jsCtx*, natsMsg* message, jsPubAck* acknowledgement, jsPubAckErr* error, void* closure) {
    MessageOwner owner(message);
    auto& submitter = *static_cast<Submitter*>(closure);
    const std::scoped_lock lock(submitter.mutex_);
    if (error != nullptr && isForNow(error->Err)) {
        submitter.unanswered_.push_back(std::move(owner));
        return;
    }
    --submitter.open_;
    if (error != nullptr) {
        submitter.problem_ = error->ErrText != nullptr ? error->ErrText : natsStatus_GetText(error->Err);
        return;
    }
    submitter.lastAnswer_ = Clock::now();
    ++submitter.submitted_.messages;
    const char* again = nullptr;
    const bool isAgain = natsMsgHeader_Get(message, kAgainHeader, &again) == NATS_OK;
    submitter.submitted_.repeated += acknowledgement->Duplicate && !isAgain ? 1 : 0;
}

void Submitter::publish(const std::string& message) {
    natsMsg* made = nullptr;
    check(natsMsg_Create(&made, job_.workSubject().c_str(), nullptr, message.data(), static_cast<int>(message.size())),
          "message");
    MessageOwner owner(made);
    check(natsMsgHeader_Set(made, kIdentifierHeader, identifierOf(name_, message).c_str()), "message");
    {
        const std::scoped_lock lock(mutex_);
        if (open_++ == 0) {
            lastAnswer_ = Clock::now();
        }
    }
    send(std::move(owner));
    publishAgain();
}

void Submitter::send(MessageOwner message) {
    jsPubOptions options;
    check(jsPubOptions_Init(&options), "message");
    options.MaxWait = kAnswerMilliseconds;
    while (true) {
        natsMsg* sent = message.release();
        const natsStatus status = js_PublishMsgAsync(context_.get(), &sent, &options);
        message.reset(sent);
        throwIfHopeless();
        if (status == NATS_OK) {
            return;
        }
        if (!isForNow(status)) {
            check(status, job_.workSubject());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kStepMilliseconds));
    }
}

/// What nobody answered; the number of a message keeps the server from having it twice.
void Submitter::publishAgain() {
    std::vector<MessageOwner> unanswered;
    {
        const std::scoped_lock lock(mutex_);
        unanswered = std::exchange(unanswered_, {});
    }
    for (MessageOwner& message : unanswered) {
        check(natsMsgHeader_Set(message.get(), kAgainHeader, "1"), "message");
        send(std::move(message));
    }
}

void Submitter::throwIfHopeless() {
    connection_.throwIfRefused();
    const std::scoped_lock lock(mutex_);
    if (problem_.empty() && open_ != 0 && Clock::now() - lastAnswer_ > kMostSilence) {
        problem_ = fmt::format("no answer for {} s", kMostSilence / 1s);
    }
    if (!problem_.empty()) {
        throw QueueError(fmt::format("{}: {}", job_.workSubject(), problem_), NATS_ERR);
    }
}

Submitted Submitter::submitRequests(tools::BatchInput& input) {
    while (const auto request = input.next()) {
        if (request->problem.empty()) {
            publish(messageOf(*request));
        } else {
            tools::printError(fmt::format("{}: {}", tools::shownName(request->path), request->problem));
        }
    }
    return finish();
}

Submitted Submitter::submitShards(const std::string& path, std::uint64_t lines) {
    const auto data = halden::Data::contentsOfFile(path);
    if (!data) {
        throw QueueError(fmt::format("{}: {}", path, std::strerror(errno)), NATS_ERR);
    }
    const std::string_view text = data->view();
    Shard shard{.path = std::filesystem::absolute(path).lexically_normal().native(), .first = 1};
    std::uint64_t count = 0;
    std::size_t place = 0;
    while (place < text.size()) {
        const std::size_t end = text.find('\n', place);
        place = end == text.npos ? text.size() : end + 1;
        if (++count == lines || place == text.size()) {
            shard.length = place - shard.offset;
            publish(messageOf(shard));
            shard.first += count;
            shard.offset = place;
            count = 0;
        }
    }
    return finish();
}

Submitted Submitter::finish() {
    jsPubOptions options;
    check(jsPubOptions_Init(&options), "message");
    options.MaxWait = kStepMilliseconds;
    while (true) {
        const natsStatus status = js_PublishAsyncComplete(context_.get(), &options);
        throwIfHopeless();
        if (status != NATS_OK && !isForNow(status)) {
            check(status, job_.workSubject());
        }
        publishAgain();
        const std::scoped_lock lock(mutex_);
        if (open_ == 0) {
            return submitted_;
        }
    }
}

}  // namespace quarry::queue
