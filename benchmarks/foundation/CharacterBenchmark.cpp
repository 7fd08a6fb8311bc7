// The searches over UTF-16 text, beside the standard library's and ICU's, on pages.
#include "benchmarks/support/PageCorpus.h"
#include "foundation/CharacterComparison.h"

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

namespace {

using halden::benchmarks::wholePageCorpus;

/// Needles as the engine has them: a tag's end, a word, a declaration; and one that is nowhere.
constexpr std::u16string_view kNeedles[] = {u"</script", u"description", u"no-repeat", u"\u4E00\u4E01\u4E02"};

void setCounters(benchmark::State& state) {
    const auto bytes = static_cast<double>(wholePageCorpus().size() * sizeof(char16_t));
    state.counters["GB/s"] =
        benchmark::Counter(bytes * static_cast<double>(state.iterations()) / 1e9, benchmark::Counter::kIsRate);
}

/// Counts the occurrences of one of the needles.
template <class Find>
void count(benchmark::State& state, Find find) {
    const std::u16string_view needle = kNeedles[state.range(0)];
    const std::u16string_view text = wholePageCorpus();
    for (auto _ : state) {
        std::size_t found = 0;
        std::u16string_view rest = text;
        for (const char16_t* place = find(rest, needle); place != nullptr; place = find(rest, needle)) {
            rest.remove_prefix(static_cast<std::size_t>(place - rest.data()) + 1);
            ++found;
        }
        benchmark::DoNotOptimize(found);
    }
    setCounters(state);
}

void ours(benchmark::State& state) {
    count(state, halden::fastContainsUnichars);
}

void standardSearch(benchmark::State& state) {
    count(state, [](std::u16string_view text, std::u16string_view needle) -> const char16_t* {
        const auto place = std::search(text.begin(), text.end(), needle.begin(), needle.end());
        return place == text.end() ? nullptr : &*place;
    });
}

void icu(benchmark::State& state) {
    count(state, [](std::u16string_view text, std::u16string_view needle) -> const char16_t* {
        return u_strFindFirst(text.data(), static_cast<std::int32_t>(text.size()), needle.data(),
                              static_cast<std::int32_t>(needle.size()));
    });
}

void oursIgnoringCase(benchmark::State& state) {
    count(state, halden::fastCaseInsensitiveContainsUnichars);
}

void standardSearchIgnoringCase(benchmark::State& state) {
    count(state, [](std::u16string_view text, std::u16string_view needle) -> const char16_t* {
        const auto& upper = halden::initUpperCharsTable();
        const auto place = std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                                       [&](char16_t a, char16_t b) { return upper[a] == upper[b]; });
        return place == text.end() ? nullptr : &*place;
    });
}

BENCHMARK(ours)->DenseRange(0, 3);
BENCHMARK(standardSearch)->DenseRange(0, 3);
BENCHMARK(icu)->DenseRange(0, 3);
BENCHMARK(oursIgnoringCase)->DenseRange(0, 3);
BENCHMARK(standardSearchIgnoringCase)->DenseRange(0, 3);

}  // namespace

BENCHMARK_MAIN();
