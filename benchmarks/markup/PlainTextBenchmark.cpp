// HTML to text and the stripping of tags, on pages. The peer in the same run is libxml2's parse alone, where it is
// there.
#include "benchmarks/support/PageCorpus.h"
#include "markup/Html2Text.h"
#include "markup/Stripping.h"

#include <benchmark/benchmark.h>

#if defined(QUARRY_HAS_LIBXML2)
#include <libxml/HTMLparser.h>
#endif

namespace {

using halden::benchmarks::Page;
using halden::benchmarks::pageCorpus;

/// GB/s of UTF-16, and MB/s of the pages' bytes (by which parsers of bytes compare).
void setCounters(benchmark::State& state) {
    double units = 0;
    double bytes = 0;
    for (const Page& page : pageCorpus()) {
        units += static_cast<double>(page.text.size());
        bytes += static_cast<double>(page.bytes.size());
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["GB/s"] = benchmark::Counter(units * 2 * rounds / 1e9, benchmark::Counter::kIsRate);
    state.counters["MB/s of bytes"] = benchmark::Counter(bytes * rounds / 1e6, benchmark::Counter::kIsRate);
}

template <class Convert>
void convertAll(benchmark::State& state, Convert convert) {
    for (auto _ : state) {
        for (const Page& page : pageCorpus())
            benchmark::DoNotOptimize(convert(page));
    }
    setCounters(state);
}

void plainText(benchmark::State& state) {
    convertAll(state, [](const Page& page) { return halden::stringByConvertingHtml2PlainText(page.text); });
}

void plainTextOfTheBody(benchmark::State& state) {
    constexpr halden::PlainTextOptions kOptions{
        .entities = true, .stdEntities = true, .onlyBody = true, .removeJunk = true, .imageAlts = true};
    convertAll(state, [&](const Page& page) { return halden::stringByConvertingHtml2PlainText(page.text, kOptions); });
}

void strippedOfTags(benchmark::State& state) {
    convertAll(state, [](const Page& page) { return halden::stripTags(page.text); });
}

BENCHMARK(plainText)->Unit(benchmark::kMillisecond);
BENCHMARK(plainTextOfTheBody)->Unit(benchmark::kMillisecond);
BENCHMARK(strippedOfTags)->Unit(benchmark::kMillisecond);

#if defined(QUARRY_HAS_LIBXML2)
void libxml2Sax(benchmark::State& state) {
    static std::size_t characters;
    htmlSAXHandler handler{};
    handler.characters = [](void*, const xmlChar*, int length) { characters += static_cast<std::size_t>(length); };
    convertAll(state, [&](const Page& page) {
        htmlParserCtxtPtr context =
            htmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
        htmlCtxtUseOptions(context, HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_RECOVER);
        htmlParseChunk(context, page.bytes.data(), static_cast<int>(page.bytes.size()), 1);
        htmlFreeParserCtxt(context);
        return characters;
    });
}
BENCHMARK(libxml2Sax)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
