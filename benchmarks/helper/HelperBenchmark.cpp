// What a helper costs before it has done anything: the time from its start to the first connection, the memory it
// holds, and the smallest call.
//
// Goals: under 10 ms from exec to accepting connections, under 10 MB resident before any document library is used,
// under 0.25 ms for a call.
#include "client/HelperTask.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/process/Task.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using halden::RootProxy;

constexpr std::u16string_view kName = u"QuarryHelper64";
constexpr const char* kHelper = QUARRY_BUILD_PREFIX "/libexec/quarry/quarry-helper";

/// A helper with a registry folder of its own.
class RunningHelper {
public:
    RunningHelper() {
        std::string pattern = fs::temp_directory_path() / "quarry-benchmark-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        folder_ = pattern;
        task_.setLaunchPath(kHelper);
        task_.setEnvironmentVariable("QUARRY_RUNTIME_DIR", folder_);
        task_.setStandardErrorToNullDevice();
    }
    ~RunningHelper() {
        task_.kill();
        task_.waitUntilExit();
        fs::remove_all(folder_);
    }
    RunningHelper(const RunningHelper&) = delete;
    RunningHelper& operator=(const RunningHelper&) = delete;

    /// Launches it and returns as soon as it accepts a connection.
    std::shared_ptr<RootProxy> start() {
        task_.launch();
        for (;;) {
            if (auto proxy = RootProxy::rootProxyForConnectionWithRegisteredName(kName, folder_)) return proxy;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    [[nodiscard]] double residentMegabytes() const {
        std::ifstream statm("/proc/" + std::to_string(task_.processIdentifier()) + "/statm");
        double total = 0;
        double resident = 0;
        statm >> total >> resident;
        return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
    }

private:
    std::string folder_;
    halden::Task task_;
};

void startToConnection(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            RunningHelper helper;
            state.ResumeTiming();
            benchmark::DoNotOptimize(helper.start());
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}
BENCHMARK(startToConnection)->Unit(benchmark::kMillisecond)->UseRealTime();

void smallestCall(benchmark::State& state) {
    RunningHelper helper;
    halden::HaldenImExportProxy proxy(helper.start());
    for (auto _ : state)
        benchmark::DoNotOptimize(proxy.supportsFile(u"/nowhere"));
    state.counters["idle_MB"] = helper.residentMegabytes();
}
BENCHMARK(smallestCall)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
