#include "queue/Submitter.h"

#include "foundation/Data.h"
#include "tools/Output.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace quarry::queue {
namespace {

constexpr std::int64_t kPublishMilliseconds = 60'000;
constexpr std::int64_t kStepMilliseconds = 250;

}  // namespace

Submitter::Submitter(const Connection& connection, std::string name)
    : connection_(connection),
      name_(std::move(name)),
      job_(name_),
      context_(connection.context(&Submitter::acknowledged, this)) {
    job_.make(context_.get());
}

void Submitter::acknowledged(jsCtx*, natsMsg* message, jsPubAck* acknowledgement, jsPubAckErr* error, void* closure) {
    const MessageOwner owner(message);
    auto& submitter = *static_cast<Submitter*>(closure);
    const std::scoped_lock lock(submitter.mutex_);
    if (error != nullptr) {
        submitter.problem_ = error->ErrText != nullptr ? error->ErrText : natsStatus_GetText(error->Err);
    } else {
        ++submitter.submitted_.messages;
        submitter.submitted_.repeated += acknowledgement->Duplicate ? 1 : 0;
    }
}

void Submitter::publish(const std::string& message) {
    natsMsg* made = nullptr;
    check(natsMsg_Create(&made, job_.workSubject().c_str(), nullptr, message.data(), static_cast<int>(message.size())),
          "message");
    jsPubOptions options;
    check(jsPubOptions_Init(&options), "message");
    const std::string identifier = identifierOf(name_, message);
    options.MsgId = identifier.c_str();
    options.MaxWait = kPublishMilliseconds;
    const natsStatus status = js_PublishMsgAsync(context_.get(), &made, &options);
    const MessageOwner owner(made);
    check(status, job_.workSubject());
    connection_.throwIfRefused();
    const std::scoped_lock lock(mutex_);
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
    natsStatus status = NATS_TIMEOUT;
    for (std::int64_t waited = 0; status == NATS_TIMEOUT && waited < kPublishMilliseconds;
         waited += kStepMilliseconds) {
        status = js_PublishAsyncComplete(context_.get(), &options);
        connection_.throwIfRefused();
    }
    check(status, job_.workSubject());
    const std::scoped_lock lock(mutex_);
    if (!problem_.empty()) {
        throw QueueError(fmt::format("{}: {}", job_.workSubject(), problem_), NATS_ERR);
    }
    return submitted_;
}

}  // namespace quarry::queue
