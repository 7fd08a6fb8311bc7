// Keys of addresses, and addresses cut into their parts, one after the other as a program that collects them would.
//
// The addresses are those of $QUARRY_CORPUS/urls (every line of a .txt file that is one with a host), or else some made
// here. `bench_urls --addresses` prints them, so that others can be measured on the same.
#include "foundation/Unicode.h"
#include "foundation/Url.h"
#include "foundation/UrlSimplification.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using halden::UrlSimplification;

std::vector<std::u16string> made() {
    std::vector<std::u16string> addresses;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        for (const std::string& address :
             {"http://www.example.org/articles/" + number + "/index.html", "https://Example.com/a%20page/" + number,
              "http://shop.example.net/list.php?PHPSESSID=0123456789abcdef&item=" + number + "&sort=",
              "https://www.example.com/" + number + "/story.html?utm_source=feed&utm_medium=rss#top"}) {
            addresses.push_back(halden::utf16FromUtf8(address));
        }
    }
    return addresses;
}

std::vector<std::u16string> read(const std::filesystem::path& folder) {
    std::vector<std::u16string> addresses;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (entry.path().extension() != ".txt") continue;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            const auto url = halden::URLWithNormalizedStringURL(halden::utf16FromUtf8(line));
            if (url && !url->scheme().empty() && !url->host().empty()) addresses.push_back(halden::utf16FromUtf8(line));
        }
    }
    return addresses;
}

const std::vector<std::u16string>& addresses() {
    static const std::vector<std::u16string> all = [] {
        const char* corpus = std::getenv("QUARRY_CORPUS");
        std::vector<std::u16string> found;
        if (corpus != nullptr) found = read(std::filesystem::path(corpus) / "urls");
        return found.empty() ? made() : found;
    }();
    return all;
}

/// What one address takes, which counts the copy that a function is given.
template <class Function>
void forEachAddress(benchmark::State& state, Function function) {
    const std::vector<std::u16string>& all = addresses();
    std::size_t units = 0;
    for (const std::u16string& address : all)
        units += address.size();
    for (auto _ : state) {
        for (const std::u16string& address : all) {
            auto result = function(address);
            benchmark::DoNotOptimize(result);
        }
    }
    const auto count = static_cast<double>(all.size());
    state.counters["per address"] =
        benchmark::Counter(count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["units"] = static_cast<double>(units) / count;
}

void key(benchmark::State& state) {
    constexpr UrlSimplification kAll{
        .sessionIDs = true, .analytics = true, .indexPages = true, .emptyParams = true, .anchors = true};
    forEachAddress(state, [](const std::u16string& address) {
        return halden::simplifiedStringURLByRemovingSessionIDs(address, kAll);
    });
    state.SetLabel("goal: at most 1.5 us per address");
}

void parts(benchmark::State& state) {
    forEachAddress(state, [](const std::u16string& address) { return halden::URLWithNormalizedStringURL(address); });
}

BENCHMARK(key)->Unit(benchmark::kMillisecond);
BENCHMARK(parts)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--addresses") {
        for (const std::u16string& address : addresses())
            std::cout << halden::utf8FromUtf16(address) << '\n';
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
