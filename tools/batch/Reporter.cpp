#include "tools/batch/Reporter.h"

#include "tools/Output.h"

#include <fmt/format.h>

#include <utility>

namespace quarry::tools {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kTick = 200ms;
constexpr auto kBetweenLines = 10s;
constexpr auto kSlow = 1s;  // a document is worth being named after this time
constexpr std::size_t kLongestName = 40;

}  // namespace

BatchReporter::BatchReporter(Batch& batch, bool quiet, std::function<std::uint64_t(const std::stop_token&)> count)
    : batch_(batch), quiet_(quiet), start_(Clock::now()), shown_(start_) {
    if (count && !quiet && errorIsTerminal()) {
        counter_ = std::jthread([this, count = std::move(count)](const std::stop_token& stop) {
            total_ = count(stop);
            isCounted_ = !stop.stop_requested();
        });
    }
    reporter_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

BatchReporter::~BatchReporter() {
    counter_.request_stop();
    reporter_.request_stop();
    reporter_.join();
    showProgress({});
}

std::chrono::duration<double> BatchReporter::elapsed() const noexcept {
    return Clock::now() - start_;
}

void BatchReporter::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, stop, kTick, [] { return false; }) && !stop.stop_requested()) {
        batch_.tick();
        if (!quiet_) {
            show();
        }
    }
}

void BatchReporter::show() {
    const bool isTerminal = errorIsTerminal();
    if (!isTerminal && Clock::now() - shown_ < kBetweenLines) {
        return;
    }
    shown_ = Clock::now();
    std::string text =
        progressText(batch_.tally(), isCounted_ ? std::optional(total_.load()) : std::nullopt, elapsed());
    if (const auto slowest = batch_.slowest(); slowest && shown_ - slowest->since > kSlow) {
        const std::string name = shownName(slowest->path);
        const bool isCut = name.size() > kLongestName;
        text +=
            fmt::format("; {}{} for {} s", isCut ? "..." : "", isCut ? name.substr(name.size() - kLongestName) : name,
                        std::chrono::duration_cast<std::chrono::seconds>(shown_ - slowest->since).count());
    }
    if (isTerminal) {
        showProgress(text);
    } else {
        printError(text);
    }
}

}  // namespace quarry::tools
