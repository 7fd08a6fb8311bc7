#include "queue/MergedResults.h"

#include "queue/Nats.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quarry::queue {

std::string textOf(ResultKey key) {
    return key.line == 0 ? std::to_string(key.sequence) : fmt::format("{}.{}", key.sequence, key.line);
}

ResultKey resultKeyFrom(std::string_view text) {
    ResultKey key;
    const char* const end = text.data() + text.size();
    const auto [place, error] = std::from_chars(text.data(), end, key.sequence);
    if (error != std::errc() || (place != end && *place != '.')) {
        return {};
    }
    if (place == end) {
        return key;
    }
    const auto [rest, lineError] = std::from_chars(place + 1, end, key.line);
    return lineError == std::errc() && rest == end ? key : ResultKey{};
}

MergedResults::MergedResults(const tools::ResultOptions& options, const std::string& job)
    : results_(options, journal_) {
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    auto problem = journal_.open(options.folder + "/journal", job);
    if (!problem) {
        problem = results_.open();
    }
    if (problem) {
        throw QueueError(*problem, NATS_ERR);
    }
}

void MergedResults::add(ResultKey key, std::string_view line) {
    const tools::BatchJournal::Record record{
        .key = key.sequence * 0x9E3779B97F4A7C15 + key.line, .fingerprint = key.sequence, .status = {}};
    const std::scoped_lock lock(mutex_);
    if (journal_.contains(record)) {
        return;
    }
    if (!results_.add(line, record)) {
        throw QueueError(results_.problem(), NATS_ERR);
    }
    journal_.note(record);
    ++count_;
}

void MergedResults::commit() {
    const std::scoped_lock lock(mutex_);
    if (!results_.finish()) {
        throw QueueError(results_.problem(), NATS_ERR);
    }
}

std::uint64_t MergedResults::count() const {
    const std::scoped_lock lock(mutex_);
    return count_;
}

}  // namespace quarry::queue
