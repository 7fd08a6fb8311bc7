#include "tools/batch/Tally.h"

#include <fmt/format.h>

#include <cmath>
#include <numeric>

namespace quarry::tools {
namespace {

std::string grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3; place -= 3) {
        digits.insert(place - 3, ",");
    }
    return digits;
}

std::string rateText(std::uint64_t count, std::chrono::duration<double> elapsed) {
    const double rate = static_cast<double>(count) / std::max(elapsed.count(), 1e-3);
    return rate < 10 ? fmt::format("{:.1f}/s", rate) : fmt::format("{}/s", grouped(static_cast<std::uint64_t>(rate)));
}

/// "0:07", "1:02:03".
std::string clockText(double seconds) {
    const auto whole = static_cast<std::uint64_t>(std::llround(seconds));
    constexpr std::uint64_t kHour = 3600;
    return whole < kHour ? fmt::format("{}:{:02}", whole / 60, whole % 60)
                         : fmt::format("{}:{:02}:{:02}", whole / kHour, whole % kHour / 60, whole % 60);
}

/// "2 crash, 1 timeout" of the statuses from `first` on.
std::string countsText(const BatchTally& tally, BatchStatus first) {
    std::string text;
    for (auto i = static_cast<std::size_t>(first); i < tally.counts.size(); ++i) {
        if (tally.counts[i] != 0) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", grouped(tally.counts[i]),
                                nameOf(static_cast<BatchStatus>(i)));
        }
    }
    return text;
}

}  // namespace

std::uint64_t BatchTally::done() const noexcept {
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

std::uint64_t BatchTally::failed() const noexcept {
    return std::accumulate(counts.begin() + static_cast<std::ptrdiff_t>(BatchStatus::missing), counts.end(),
                           std::uint64_t{0});
}

std::string progressText(const BatchTally& tally, std::optional<std::uint64_t> total,
                         std::chrono::duration<double> elapsed) {
    const std::uint64_t done = tally.done();
    std::string text = grouped(done + tally.skipped);
    if (total) {
        text += " of " + grouped(*total);
    }
    text += " done";
    if (tally.failed() != 0) {
        text += fmt::format(", {} failed ({})", grouped(tally.failed()), countsText(tally, BatchStatus::missing));
    }
    text += ", " + rateText(done, elapsed);
    if (total && done != 0 && *total > done + tally.skipped) {
        const auto left = static_cast<double>(*total - done - tally.skipped);
        text += fmt::format(", {} left", clockText(left * elapsed.count() / static_cast<double>(done)));
    }
    return text;
}

std::string summaryText(const BatchTally& tally, std::chrono::duration<double> elapsed) {
    const std::uint64_t done = tally.done();
    std::string text = fmt::format("{} document{} in {:.1f} s ({})", grouped(done), done == 1 ? "" : "s",
                                   elapsed.count(), rateText(done, elapsed));
    if (done != 0) {
        text += ": " + countsText(tally, BatchStatus::ok);
    }
    if (tally.skipped != 0) {
        text += fmt::format("; {} {} done before", grouped(tally.skipped), tally.skipped == 1 ? "was" : "were");
    }
    return text;
}

}  // namespace quarry::tools
