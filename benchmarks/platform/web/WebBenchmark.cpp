// Pages as rich text. In real time, since the work is other processes'. Goals: the first page, with the start of the
// engine, below 0.8 s, small pages below 30 ms, one of 170 KB below 300 ms; after
// 500 pages the processes hold at most 20 % more than after the first ones.
#include "platform/web/HtmlRenderer.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace {

using halden::Data;
using halden::HtmlRenderer;

const Data& smallPage() {
    static const Data page = Data::copying(
        "<h1>Title</h1><p>Some <b>bold</b> and <a href='http://h/'>linked</a> text.</p><ul><li>a<li>b</ul>");
    return page;
}

const Data& largePage() {
    static const Data page = [] {
        std::string html = "<style>p{margin:1em} b{color:#123}</style>";
        while (html.size() < 170000)
            html +=
                "<h2>Part</h2><p>A sentence with <b>bold</b>, <i>slanted</i> and <a href='/x'>linked</a> words, and "
                "some more of them so that it becomes a paragraph.</p><ul><li>one<li>two</ul>";
        return Data::copying(html);
    }();
    return page;
}

void render(benchmark::State& state, HtmlRenderer& renderer, const Data& page) {
    if (!renderer.attributedStringWithHTML(page, {})) state.SkipWithError("not rendered");
}

void First(benchmark::State& state) {
    for (auto _ : state) {
        HtmlRenderer renderer;
        render(state, renderer, smallPage());
    }
}
BENCHMARK(First)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

void Small(benchmark::State& state) {
    HtmlRenderer renderer({.pages = 100000});
    render(state, renderer, smallPage());
    for (auto _ : state)
        render(state, renderer, smallPage());
}
BENCHMARK(Small)->Unit(benchmark::kMillisecond)->UseRealTime();

void Large(benchmark::State& state) {
    HtmlRenderer renderer({.pages = 100000});
    render(state, renderer, smallPage());
    for (auto _ : state)
        render(state, renderer, largePage());
}
BENCHMARK(Large)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Kilobytes that a process and all below it hold, shared ones by their share.
long kilobytesOf(const std::string& process) {
    long total = 0;
    std::ifstream usage("/proc/" + process + "/smaps_rollup");
    for (std::string line; std::getline(usage, line);) {
        if (line.starts_with("Pss:")) total = std::strtol(line.c_str() + 4, nullptr, 10);
    }
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + process + "/task", gone)) {
        std::ifstream children(task.path() / "children");
        for (std::string child; children >> child;)
            total += kilobytesOf(child);
    }
    return total;
}

/// With the renewal of the worker that users have.
void Memory(benchmark::State& state) {
    for (auto _ : state) {
        HtmlRenderer renderer;
        for (int i = 0; i < 10; ++i)
            render(state, renderer, i % 10 == 9 ? largePage() : smallPage());
        const long start = kilobytesOf(std::to_string(renderer.process()));
        for (int i = 0; i < 500; ++i)
            render(state, renderer, i % 10 == 9 ? largePage() : smallPage());
        const long end = kilobytesOf(std::to_string(renderer.process()));
        state.counters["startMB"] = static_cast<double>(start) / 1024;
        state.counters["endMB"] = static_cast<double>(end) / 1024;
        state.counters["growth"] = static_cast<double>(end) / static_cast<double>(start);
    }
}
BENCHMARK(Memory)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
