#include "tools/Commands.h"
#include "tools/Guardian.h"
#include "tools/Interruption.h"
#include "tools/batch/Batch.h"
#include "tools/batch/Documents.h"
#include "tools/batch/Reporter.h"
#include "tools/batch/ResultFiles.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <thread>

namespace quarry::tools {
namespace {

/// Says once that there is something to be read on `descriptor()`.
class Event {
public:
    Event() : descriptor_(::eventfd(0, EFD_CLOEXEC)) {}
    ~Event() { ::close(descriptor_); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }
    void signal() const noexcept { ::eventfd_write(descriptor_, 1); }

private:
    int descriptor_;
};

BatchOptions optionsOf(const Invocation& invocation, const ResultFiles& files) {
    BatchOptions options{.slots = invocation.batch.slots != 0 ? invocation.batch.slots
                                                              : std::max(1U, std::thread::hardware_concurrency()),
                         .ordered = invocation.batch.ordered,
                         .data = invocation.data,
                         .slot = {}};
    options.slot.document = invocation.document;
    options.slot.renewal = invocation.batch.renewal;
    if (invocation.batch.files) {
        options.slot.keepResult = [&files](auto& helper, const BatchRequest& request, halden::Value& result) {
            files.keep(helper, request, result);
        };
    }
    return options;
}

Status statusOf(const BatchTally& tally) {
    const auto count = [&](BatchStatus status) { return tally.counts[static_cast<std::size_t>(status)]; };
    if (count(BatchStatus::crash) + count(BatchStatus::timeout) + count(BatchStatus::oom) != 0) {
        return Status::failed;
    }
    const bool isComplete = count(BatchStatus::none) + count(BatchStatus::missing) + count(BatchStatus::error) == 0;
    return isComplete ? Status::result : Status::none;
}

}  // namespace

Status batchCommand(const Invocation& invocation) {
    const BatchArguments& arguments = invocation.batch;
    const int standardInput = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    keepStandardOutput();
    ::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow any more is a write that fails
    const std::unique_ptr<Guardian> guardian = Guardian::start(true);
    if (!guardian) {
        printError(fmt::format("no guardian process or no private folder: {}", std::strerror(errno)));
        return Status::failed;
    }
    const ResultOptions resultOptions{.folder = arguments.output,
                                      .standardOutput = standardOutput(),
                                      .compression = arguments.compression,
                                      .shardSize = arguments.shardSize};
    BatchJournal journal;
    if (!arguments.journal.empty()) {
        if (const auto problem = journal.open(arguments.journal, BatchResults::nameOf(resultOptions))) {
            printError(*problem);
            return Status::usage;
        }
    }
    BatchResults results(resultOptions, journal);
    if (const auto problem = results.open()) {
        printError(*problem);
        return Status::usage;
    }
    const Event stop;
    const ResultFiles files(arguments.output);
    const std::unique_ptr<BatchInput> input = batchInputOf(invocation, standardInput, stop.descriptor());
    Batch batch(optionsOf(invocation, files), guardian->folder(), *input, results, journal);

    std::atomic<bool> stopped = false;
    const bool isShown = !arguments.quiet && (!arguments.output.empty() || ::isatty(standardOutput()) == 0);
    {
        const Interruption interruption([&] { guardian->finish(true); },
                                        [&] {
                                            stopped = true;
                                            batch.stopSoon();
                                            stop.signal();
                                            printWarning("finishing what runs; once more stops at once");
                                        });
        std::function<std::uint64_t(const std::stop_token&)> count;
        if (!invocation.files.empty()) {
            count = [&](const std::stop_token& token) {
                DocumentWalk walk = batchWalkOf(invocation);
                std::uint64_t total = 0;
                while (!token.stop_requested() && walk.next()) {
                    ++total;
                }
                return total;
            };
        }
        std::chrono::duration<double> elapsed{};
        {
            const BatchReporter reporter(batch, !isShown, std::move(count));
            batch.run();
            elapsed = reporter.elapsed();
        }
        if (!arguments.quiet) {
            printError(summaryText(batch.tally(), elapsed));
        }
    }
    if (!results.problem().empty()) {
        printError(results.problem());
        return Status::usage;
    }
    if (stopped) {
        guardian->finish(false);
        ::signal(SIGINT, SIG_DFL);
        ::raise(SIGINT);
    }
    return statusOf(batch.tally());
}

}  // namespace quarry::tools
