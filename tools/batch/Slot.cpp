#include "tools/batch/Slot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace quarry::tools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostAttempts = 2;

BatchStatus statusOf(HelperFailure::Kind kind) noexcept {
    switch (kind) {
        case HelperFailure::Kind::crash:
            return BatchStatus::crash;
        case HelperFailure::Kind::timeout:
            return BatchStatus::timeout;
        case HelperFailure::Kind::memory:
            return BatchStatus::oom;
        case HelperFailure::Kind::connection:
            break;
    }
    return BatchStatus::error;
}

}  // namespace

std::string obstacleAtPath(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return "Neither a file nor a folder";
    }
    return ::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0 ? std::strerror(errno) : "";
}

BatchSlot::BatchSlot(BatchSlotOptions options, const std::string& registryFolder)
    : options_(std::move(options)), session_(options_.document, registryFolder) {}

BatchOutcome BatchSlot::carryOut(const BatchRequest& request) {
    const Clock::time_point start = Clock::now();
    BatchOutcome outcome;
    if (!request.problem.empty()) {
        outcome.explanation = request.problem;
        if (request.isPassedOver) {
            outcome.status = BatchStatus::missing;
        }
        return outcome;
    }
    outcome.explanation = obstacleAtPath(request.path);
    if (!outcome.explanation.empty()) {
        outcome.status = BatchStatus::missing;
        return outcome;
    }
    setRunning(Running{request.path, start});
    while (outcome.attempts < kMostAttempts && !attempt(request, outcome)) {
    }
    setRunning(std::nullopt);
    outcome.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return outcome;
}

/// Whether the outcome stands; a failure of the helper may be another document's fault.
bool BatchSlot::attempt(const BatchRequest& request, BatchOutcome& outcome) {
    if (options_.renewal != 0 && documentsOfHelper_ >= options_.renewal) {
        session_.endHelper();
        documentsOfHelper_ = 0;
    }
    ++outcome.attempts;
    ++documentsOfHelper_;
    auto answer = session_.ask([&](halden::HaldenImExportProxy& helper) {
        halden::Value result = request.operation->ask(helper, request);
        outcome.status = statusOfResult(*request.operation, result);
        if (options_.keepResult) {
            options_.keepResult(helper, request, result);
        }
        return result;
    });
    if (const auto* failure = std::get_if<HelperFailure>(&answer)) {
        outcome.status = statusOf(failure->kind);
        outcome.explanation = failure->explanation;
        documentsOfHelper_ = 0;
        return false;
    }
    outcome.result = std::move(std::get<0>(answer));
    outcome.explanation.clear();
    return true;
}

std::optional<BatchSlot::Running> BatchSlot::running() const {
    const std::scoped_lock lock(mutex_);
    return running_;
}

void BatchSlot::setRunning(std::optional<Running> running) {
    const std::scoped_lock lock(mutex_);
    running_ = std::move(running);
}

}  // namespace quarry::tools
