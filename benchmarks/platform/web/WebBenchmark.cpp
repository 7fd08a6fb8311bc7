// Pages as rich text. In real time, since the work is other processes'. Goals: the first page, with the start of the
// engine, below 0.8 s, small pages below 30 ms, one of 170 KB below 300 ms.
#include "platform/web/HtmlRenderer.h"

#include <benchmark/benchmark.h>

#include <string>

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

}  // namespace

BENCHMARK_MAIN();
