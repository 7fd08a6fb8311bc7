#include "queue/Collector.h"

#include "queue/Publisher.h"

#include <fmt/format.h>
#include <zstd.h>

#include <charconv>
#include <cstdio>
#include <utility>

namespace quarry::queue {
namespace {

constexpr int kBatch = 256;
constexpr std::int64_t kFetchMilliseconds = 1000;
constexpr unsigned long long kLongestResult = 1ULL << 30;
constexpr std::size_t kMostParts = 4096;

std::string header(natsMsg* message, const char* name) {
    const char* value = nullptr;
    return natsMsgHeader_Get(message, name, &value) == NATS_OK && value != nullptr ? value : "";
}

/// "2/3": which part, from 0 on, and how many there are; one part where the text is none.
std::pair<std::size_t, std::size_t> partFrom(const std::string& text) {
    std::size_t number = 0;
    std::size_t count = 0;
    if (std::sscanf(text.c_str(), "%zu/%zu", &number, &count) == 2 && number >= 1 && number <= count &&
        count <= kMostParts) {
        return {number - 1, count};
    }
    return {0, 1};
}

/// nullopt for bytes that are no frame.
std::optional<std::string> unpacked(const std::string& frame) {
    const unsigned long long size = ::ZSTD_getFrameContentSize(frame.data(), frame.size());
    if (size == ZSTD_CONTENTSIZE_ERROR || size == ZSTD_CONTENTSIZE_UNKNOWN || size > kLongestResult) {
        return std::nullopt;
    }
    std::string bytes(size, '\0');
    const std::size_t length = ::ZSTD_decompress(bytes.data(), bytes.size(), frame.data(), frame.size());
    return ::ZSTD_isError(length) == 0 && length == size ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace

Collector::Collector(const Connection& connection, const Job& job, MergedResults& results)
    : connection_(connection), job_(job), results_(results), context_(connection.context()) {
    connection_.ask([this] {
        job_.make(context_.get());
        subscription_ = job_.subscribeToResults(context_.get());
    });
}

void Collector::run(bool forever) {
    while (!stops_) {
        const bool isSomething = fetch();
        connection_.throwIfRefused();
        results_.commit();
        for (const MessageOwner& message : finished_) {
            natsMsg_Ack(message.get(), nullptr);
        }
        finished_.clear();
        if (isSomething || forever) {
            continue;
        }
        JobNumbers numbers;
        connection_.ask([&] { numbers = job_.numbers(context_.get()); });
        if (numbers.pending == 0 && numbers.running == 0 && parts_.empty()) {
            break;
        }
    }
}

/// Whether there was anything.
bool Collector::fetch() {
    natsMsgList list{};
    jsErrCode code{};
    const natsStatus status = natsSubscription_Fetch(&list, subscription_.get(), kBatch, kFetchMilliseconds, &code);
    if (status != NATS_OK) {
        natsMsgList_Destroy(&list);
        return status != NATS_TIMEOUT;
    }
    for (int i = 0; i < list.Count; ++i) {
        take(MessageOwner(std::exchange(list.Msgs[i], nullptr)));
    }
    natsMsgList_Destroy(&list);
    return true;
}

void Collector::take(MessageOwner message) {
    std::string payload(natsMsg_GetData(message.get()), static_cast<std::size_t>(natsMsg_GetDataLength(message.get())));
    const std::string result = header(message.get(), kResultHeader);
    const bool isCompressed = header(message.get(), kEncodingHeader) == "zstd";
    const auto [number, count] = partFrom(header(message.get(), kPartHeader));
    if (count == 1) {
        complete(result, std::move(payload), isCompressed);
        finished_.push_back(std::move(message));
        return;
    }
    Parts& parts = parts_[result];
    if (parts.pieces.size() != count) {
        parts.pieces.assign(count, {});
        parts.missing = count;
    }
    if (parts.pieces[number].empty()) {
        parts.pieces[number] = std::move(payload);
        --parts.missing;
    }
    parts.messages.push_back(std::move(message));
    if (parts.missing != 0) {
        return;
    }
    std::string whole;
    for (const std::string& piece : parts.pieces) {
        whole += piece;
    }
    complete(result, std::move(whole), isCompressed);
    for (MessageOwner& part : parts.messages) {
        finished_.push_back(std::move(part));
    }
    parts_.erase(result);
}

/// Messages that are nobody's result are passed over.
void Collector::complete(const std::string& result, std::string payload, bool isCompressed) {
    const ResultKey key = resultKeyFrom(result);
    if (key.sequence == 0) {
        return;
    }
    const auto line = isCompressed ? unpacked(payload) : std::optional(std::move(payload));
    if (line && line->ends_with('\n')) {
        results_.add(key, *line);
    }
}

}  // namespace quarry::queue
