#include "queue/Commands.h"

#include "foundation/Json.h"
#include "queue/Collector.h"
#include "queue/Submitter.h"
#include "queue/Worker.h"
#include "tools/Guardian.h"
#include "tools/Interruption.h"
#include "tools/batch/Documents.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

namespace quarry::queue {
namespace {

using namespace std::chrono_literals;
using tools::Invocation;
using tools::printError;
using tools::Status;

ServerOptions serverOf(const Invocation& invocation) {
    ServerOptions server;
    server.url = invocation.queue.server;
    server.credentials = invocation.queue.credentials;
    server.authority = invocation.queue.authority;
    server.patience = invocation.queue.patience;
    return server;
}

tools::ResultOptions resultsOf(const Invocation& invocation) {
    return {.folder = invocation.batch.output,
            .compression = invocation.batch.compression,
            .shardSize = invocation.batch.shardSize};
}

/// The shell that waits must see the signal.
void endBySignal() {
    ::signal(SIGINT, SIG_DFL);
    ::raise(SIGINT);
}

std::string stateText(const JobNumbers& numbers) {
    return fmt::format("{} pending, {} running ({} redelivered), {} results, {} dead", numbers.pending, numbers.running,
                       numbers.redelivered, numbers.results, numbers.dead);
}

/// How fast results come, and when the pending ones will be there.
class Rate {
public:
    std::string next(const JobNumbers& numbers) {
        const auto now = std::chrono::steady_clock::now();
        const double seconds = std::chrono::duration<double>(now - time_).count();
        const double rate =
            time_ == decltype(time_)() ? 0 : static_cast<double>(numbers.results - results_) / std::max(seconds, 1e-3);
        time_ = now;
        results_ = numbers.results;
        const auto left = static_cast<double>(numbers.pending + numbers.running);
        return rate > 0 ? fmt::format(", {:.1f}/s, {:.0f} s left", rate, left / rate) : std::string();
    }

private:
    std::chrono::steady_clock::time_point time_;
    std::uint64_t results_ = 0;
};

Status watch(const Invocation& invocation, const Connection& connection, const Job& job) {
    const ContextOwner context = connection.context();
    Rate rate;
    while (true) {
        JobNumbers numbers;
        connection.ask([&] { numbers = job.numbers(context.get()); });
        if (!tools::print(stateText(numbers) + rate.next(numbers) + "\n")) {
            return Status::result;
        }
        if (!invocation.queue.watch) {
            return numbers.dead == 0 ? Status::result : Status::none;
        }
        std::this_thread::sleep_for(2s);
    }
}

Status collect(const Invocation& invocation, const Connection& connection, const Job& job) {
    MergedResults results(resultsOf(invocation), job.workStream());
    Collector collector(connection, job, results);
    {
        const tools::Interruption interruption([] {}, [&] { collector.stopSoon(); });
        collector.run(invocation.queue.watch);
    }
    printError(fmt::format("{} results collected", results.count()));
    return Status::result;
}

}  // namespace

Status submitCommand(const Invocation& invocation) {
    const int standardInput = ::dup(STDIN_FILENO);
    const Connection connection(serverOf(invocation));
    Submitter submitter(connection, invocation.queue.job);
    Submitted submitted;
    if (invocation.queue.shardLines != 0) {
        for (const std::string& file : invocation.files) {
            submitted = submitter.submitShards(file, invocation.queue.shardLines);
        }
    } else {
        const auto input = tools::batchInputOf(invocation, standardInput, -1);
        submitted = submitter.submitRequests(*input);
    }
    printError(fmt::format("{} submitted, {} of them were there before", submitted.messages, submitted.repeated));
    return Status::result;
}

Status workerCommand(const Invocation& invocation) {
    tools::keepStandardOutput();
    ::signal(SIGXFSZ, SIG_IGN);
    ::unsetenv("QUARRY_QUEUE");  // it may hold a password, which is not for programs that read documents
    const std::unique_ptr<tools::Guardian> guardian = tools::Guardian::start(true);
    if (!guardian) {
        printError(fmt::format("no guardian process or no private folder: {}", std::strerror(errno)));
        return Status::failed;
    }
    const Connection connection(serverOf(invocation));
    const Job job(invocation.queue.job);
    std::unique_ptr<MergedResults> folder;
    if (!invocation.batch.output.empty()) {
        folder = std::make_unique<MergedResults>(resultsOf(invocation), job.workStream());
    }
    WorkerOptions options{.slots = invocation.batch.slots != 0 ? invocation.batch.slots
                                                               : std::max(1U, std::thread::hardware_concurrency()),
                          .slot = {},
                          .data = invocation.data,
                          .operation = invocation.batch.operation,
                          .untilEmpty = invocation.queue.untilEmpty};
    options.slot.document = invocation.document;
    options.slot.renewal = invocation.batch.renewal;
    Worker worker(connection, job, std::move(options), guardian->folder(), folder.get());
    std::atomic<bool> stopped = false;
    const auto start = std::chrono::steady_clock::now();
    {
        const tools::Interruption interruption([&] { guardian->finish(true); },
                                               [&] {
                                                   stopped = true;
                                                   worker.stopSoon();
                                               });
        worker.run();
    }
    if (!invocation.batch.quiet) {
        printError(tools::summaryText(worker.tally(), std::chrono::steady_clock::now() - start));
    }
    if (stopped) {
        guardian->finish(false);
        endBySignal();
    }
    return Status::result;
}

Status queueCommand(const Invocation& invocation) {
    const Connection connection(serverOf(invocation));
    const Job job(invocation.queue.job);
    if (!invocation.batch.output.empty()) {
        return collect(invocation, connection, job);
    }
    return watch(invocation, connection, job);
}

}  // namespace quarry::queue
