// What pages say of themselves, on pages. The peer in the same run is libxml2's parse alone, where it is there.
#include "benchmarks/support/PageCorpus.h"
#include "markup/PageLinks.h"
#include "markup/PageMetaData.h"

#include <benchmark/benchmark.h>

#if defined(QUARRY_HAS_LIBXML2)
#include <libxml/HTMLparser.h>
#endif

namespace {

using halden::benchmarks::Page;
using halden::benchmarks::pageCorpus;

template <class Query>
void askAll(benchmark::State& state, Query query) {
    double bytes = 0;
    for (const Page& page : pageCorpus())
        bytes += static_cast<double>(page.bytes.size());
    for (auto _ : state) {
        for (const Page& page : pageCorpus())
            benchmark::DoNotOptimize(query(page));
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["MB/s of bytes"] = benchmark::Counter(bytes * rounds / 1e6, benchmark::Counter::kIsRate);
}

void links(benchmark::State& state) {
    askAll(state, [](const Page& page) { return halden::htmlLinksBaseURL(page.text); });
}

void title(benchmark::State& state) {
    askAll(state, [](const Page& page) { return halden::htmlTitle(page.text); });
}

void metaData(benchmark::State& state) {
    askAll(state, [](const Page& page) { return halden::htmlMetaAttributes(page.text); });
}

void linksTitleAndMetaData(benchmark::State& state) {
    askAll(state, [](const Page& page) {
        const std::size_t title = halden::htmlTitle(page.text).size();
        return title + halden::htmlLinksBaseURL(page.text).size() + halden::htmlMetaAttributes(page.text).size();
    });
}

BENCHMARK(links)->Unit(benchmark::kMillisecond);
BENCHMARK(title)->Unit(benchmark::kMillisecond);
BENCHMARK(metaData)->Unit(benchmark::kMillisecond);
BENCHMARK(linksTitleAndMetaData)->Unit(benchmark::kMillisecond);

#if defined(QUARRY_HAS_LIBXML2)
/// Each start tag with its attributes is seen, and nothing done with it.
void libxml2Sax(benchmark::State& state) {
    static std::size_t elements;
    htmlSAXHandler handler{};
    handler.startElement = [](void*, const xmlChar*, const xmlChar**) { ++elements; };
    askAll(state, [&](const Page& page) {
        htmlParserCtxtPtr context =
            htmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
        htmlCtxtUseOptions(context, HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_RECOVER);
        htmlParseChunk(context, page.bytes.data(), static_cast<int>(page.bytes.size()), 1);
        htmlFreeParserCtxt(context);
        return elements;
    });
}
BENCHMARK(libxml2Sax)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
