// Calls over a real connection, to a process that this one forks. Goals: a call with little data under 0.25 ms, 200 MB
// at 1 GB/s or more in either direction.
#include "platform/ipc/Connection.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/ipc/RunLoop.h"

#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

namespace {

using namespace halden;

constexpr std::size_t kLargeLength = 200'000'000;
constexpr std::u16string_view kName = u"Benchmark";
std::string folder;

// Touches every byte, as a receiver would.
std::uint64_t sum(const Data& data) {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i + sizeof total <= data.length(); i += sizeof total) {
        std::uint64_t word = 0;
        std::memcpy(&word, data.bytes() + i, sizeof word);
        total += word;
    }
    return total;
}

Data largeData() {
    return Data(std::vector<std::uint8_t>(kLargeLength, 0x5A));
}

class Service : public HaldenImExport {
public:
    std::optional<Data> PDFImageRepOfFile(std::u16string_view) override { return large_; }
    std::optional<Dictionary> imageWithContentsOfFile(std::u16string_view, ImageWithContentsOfFileOptions) override {
        return Dictionary{{u"Thumbnail", thumbnail_}};
    }
    std::optional<Dictionary> attributedStringWithPDF(const Data&, AttributedStringWithPDFOptions) override {
        return std::nullopt;
    }
    std::optional<Dictionary> posterImageForMovieWithFile(std::u16string_view) override { return std::nullopt; }
    std::optional<Dictionary> attributedStringWithContentsOfFile(std::u16string_view) override { return std::nullopt; }
    std::optional<Dictionary> searchableTextOfWebArchive(std::u16string_view) override { return std::nullopt; }
    bool writeRTFDDataToFile(const Data& rtfd, std::u16string_view) override { return sum(rtfd) != 0; }
    std::optional<Data> RTFDWithHTML(const Data&, const std::optional<std::u16string>&,
                                     const std::optional<std::u16string>&, RTFDWithHTMLOptions) override {
        return std::nullopt;
    }
    std::optional<Dictionary> metaDataForFile(std::u16string_view path) override {
        return Dictionary{{u"kMDItemTextContent", std::u16string(600, u'x')},
                          {u"kMDItemPath", path},
                          {u"kMDItemNumberOfPages", 12},
                          {u"kMDItemPageWidth", 595.28},
                          {u"kMDItemAuthors", Array{u"Somebody", u"Else"}},
                          {u"kMDItemContentCreationDate", Date{7e8}}};
    }
    bool supportsFile(std::u16string_view) override { return true; }

private:
    Data large_ = largeData();
    Data thumbnail_ = Data(std::vector<std::uint8_t>(256 << 10, 1));
};

[[noreturn]] void serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    Connection connection;
    connection.setRootObject(std::make_shared<HaldenImExportRootObject>(std::make_shared<Service>()));
    if (!connection.registerName(kName, folder)) std::abort();
    for (;;)
        RunLoop::currentRunLoop().run();
}

HaldenImExportProxy& proxy() {
    static HaldenImExportProxy proxy = [] {
        std::shared_ptr<RootProxy> root;
        while (!root) {
            root = RootProxy::rootProxyForConnectionWithRegisteredName(kName, folder);
            if (!root) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return HaldenImExportProxy(std::move(root));
    }();
    return proxy;
}

void callWithAFlag(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(proxy().supportsFile(u"/a/path/of/ordinary/length.pdf"));
    state.SetLabel("goal: under 0.25 ms");
}
BENCHMARK(callWithAFlag)->UseRealTime()->Unit(benchmark::kMillisecond);

void callWithADictionary(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(proxy().metaDataForFile(u"/a/path/of/ordinary/length.pdf"));
}
BENCHMARK(callWithADictionary)->UseRealTime()->Unit(benchmark::kMillisecond);

void callWithAThumbnail(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(proxy().imageWithContentsOfFile(u"/a/path.jpg", {}));
}
BENCHMARK(callWithAThumbnail)->UseRealTime()->Unit(benchmark::kMillisecond);

void connectAndCall(benchmark::State& state) {
    for (auto _ : state) {
        HaldenImExportProxy fresh(RootProxy::rootProxyForConnectionWithRegisteredName(kName, folder));
        benchmark::DoNotOptimize(fresh.supportsFile(u"/a/path.pdf"));
    }
}
BENCHMARK(connectAndCall)->UseRealTime()->Unit(benchmark::kMillisecond);

void largeArgument(benchmark::State& state) {
    const Data data = largeData();
    for (auto _ : state)
        benchmark::DoNotOptimize(proxy().writeRTFDDataToFile(data, u"/a"));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeLength));
    state.SetLabel("goal: 1 GB/s");
}
BENCHMARK(largeArgument)->UseRealTime()->Unit(benchmark::kMillisecond);

void largeResult(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(sum(*proxy().PDFImageRepOfFile(u"/a")));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeLength));
    state.SetLabel("goal: 1 GB/s");
}
BENCHMARK(largeResult)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    char pattern[] = "/tmp/quarry-bench-XXXXXX";
    if (mkdtemp(pattern) == nullptr) return 1;
    folder = pattern;
    const pid_t server = fork();
    if (server == 0) serve();
    benchmark::RunSpecifiedBenchmarks();
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    std::filesystem::remove_all(folder);
}
