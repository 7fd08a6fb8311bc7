#include "queue/Publisher.h"

#include "tools/batch/Compression.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace quarry::queue {
namespace {

constexpr std::size_t kWorthCompressing = 32 << 10;
constexpr std::size_t kHeaders = 1024;  // room for them in a message
constexpr std::size_t kMostBytes = std::size_t{64} << 20;
constexpr std::size_t kMostPieces = 2000;
constexpr std::int64_t kAnswerMilliseconds = 10'000;

}  // namespace

Publisher::Publisher(const Connection& connection, const Job& job)
    : prefix_(job.workStream()),
      largest_(connection.largestMessage() - kHeaders),
      context_(connection.context(&Publisher::acknowledged, this)) {}

void Publisher::publish(const std::string& subject, ResultKey key, std::string_view line, Stored stored) {
    const bool isCompressed = line.size() >= kWorthCompressing;
    const std::string payload = isCompressed ? tools::zstdFrame(line) : std::string(line);
    const std::size_t count = std::max<std::size_t>((payload.size() + largest_ - 1) / largest_, 1);
    const auto awaited = std::make_shared<Awaited>(Awaited{std::move(stored), count});
    for (std::size_t i = 0; i < count; ++i) {
        Piece piece{.subject = subject,
                    .payload = payload.substr(i * largest_, largest_),
                    .result = textOf(key),
                    .part = count > 1 ? fmt::format("{}/{}", i + 1, count) : std::string(),
                    .isCompressed = isCompressed,
                    .awaited = {}};
        const std::string identifier =
            fmt::format("{}-{}-{}-{}", prefix_, subject.ends_with(".dead") ? "dead" : "result", piece.result, i);
        std::unique_lock lock(mutex_);
        less_.wait(lock, [&] { return !waits_ || (bytes_ < kMostBytes && pieces_.size() < kMostPieces); });
        const std::size_t size = piece.payload.size();
        const auto [place, isNew] = pieces_.try_emplace(identifier, std::move(piece));
        place->second.awaited.push_back(awaited);
        if (!isNew) {
            continue;  // it is on its way already
        }
        bytes_ += size;
        const Piece sent = place->second;
        lock.unlock();
        if (!send(identifier, sent)) {
            answered(identifier, false);
        }
    }
}

bool Publisher::send(const std::string& identifier, const Piece& piece) {
    natsMsg* made = nullptr;
    if (natsMsg_Create(&made, piece.subject.c_str(), nullptr, piece.payload.data(),
                       static_cast<int>(piece.payload.size())) != NATS_OK) {
        return false;
    }
    natsMsgHeader_Set(made, kResultHeader, piece.result.c_str());
    if (!piece.part.empty()) {
        natsMsgHeader_Set(made, kPartHeader, piece.part.c_str());
    }
    if (piece.isCompressed) {
        natsMsgHeader_Set(made, kEncodingHeader, "zstd");
    }
    jsPubOptions options;
    jsPubOptions_Init(&options);
    options.MsgId = identifier.c_str();
    options.MaxWait = kAnswerMilliseconds;
    const bool isSent = js_PublishMsgAsync(context_.get(), &made, &options) == NATS_OK;
    const MessageOwner owner(made);
    return isSent;
}

void Publisher::acknowledged(jsCtx*, natsMsg* message, jsPubAck*, jsPubAckErr* error, void* closure) {
    const MessageOwner owner(message);
    const char* identifier = nullptr;
    if (natsMsgHeader_Get(message, kIdentifierHeader, &identifier) == NATS_OK) {
        static_cast<Publisher*>(closure)->answered(identifier, error == nullptr);
    }
}

void Publisher::answered(const std::string& identifier, bool isStored) {
    std::vector<std::shared_ptr<Awaited>> complete;
    {
        const std::scoped_lock lock(mutex_);
        if (!isStored) {
            failed_.push_back(identifier);
            return;
        }
        const auto piece = pieces_.find(identifier);
        if (piece == pieces_.end()) {
            return;
        }
        for (const auto& awaited : piece->second.awaited) {
            if (--awaited->left == 0) {
                complete.push_back(awaited);
            }
        }
        bytes_ -= piece->second.payload.size();
        pieces_.erase(piece);
        less_.notify_all();
    }
    for (const auto& awaited : complete) {
        awaited->stored();
    }
}

void Publisher::retry() {
    std::unique_lock lock(mutex_);
    const std::vector<std::string> failed = std::exchange(failed_, {});
    for (const std::string& identifier : failed) {
        const auto piece = pieces_.find(identifier);
        if (piece == pieces_.end()) {
            continue;
        }
        const Piece again = piece->second;
        lock.unlock();
        if (!send(identifier, again)) {
            answered(identifier, false);
        }
        lock.lock();
    }
}

void Publisher::waitNoMore() {
    const std::scoped_lock lock(mutex_);
    waits_ = false;
    less_.notify_all();
}

bool Publisher::drain(double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::unique_lock lock(mutex_);
    while (!pieces_.empty() && std::chrono::steady_clock::now() < end) {
        lock.unlock();
        retry();
        lock.lock();
        less_.wait_for(lock, std::chrono::milliseconds(100));
    }
    return pieces_.empty();
}

}  // namespace quarry::queue
