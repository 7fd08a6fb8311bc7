// The tag scanner with a handler that counts, page by page. Beside it a bare search for "<" in the same units, and
// libxml2's SAX parser of HTML on the bytes of the same pages, where it is there.
//
// Goals: 2 GB/s of UTF-16 in the geometric mean over the pages and 0.7 on the worst page; 6 times the SAX parser by the
// bytes of the pages.
#include "benchmarks/support/PageCorpus.h"
#include "markup/TagAttributes.h"
#include "markup/TagScanner.h"
#include "markup/TagScannerPaths.h"
#include "markup/UnitBlock.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#if defined(QUARRY_HAS_LIBXML2)
#include <libxml/HTMLparser.h>
#endif

namespace {

using halden::Tag;
using halden::TagScan;
using halden::benchmarks::Page;
using halden::benchmarks::pageCorpus;

// --- Figures -------------------------------------------------------------------------------------------------------

/// The geometric mean of the pages' bytes a second, for each way that was measured; what ratios are made from.
struct Means {
    double scanner = 0;
    double search = 0;
};
Means means;

double cpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Times every page by itself, small ones often enough for the clock, and reports the mean of the rounds.
///
/// Returns the geometric mean over the pages of their bytes a second (the bytes of the page as it came).
template <class Use>
double measure(benchmark::State& state, Use use) {
    const std::vector<Page>& pages = pageCorpus();
    std::vector<double> seconds(pages.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const std::size_t rounds = 1 + 500'000 / (pages[i].text.size() + 1);
            const double start = cpuSeconds();
            for (std::size_t round = 0; round < rounds; ++round)
                benchmark::DoNotOptimize(use(pages[i]));
            seconds[i] += (cpuSeconds() - start) / static_cast<double>(rounds);
        }
    }
    double logarithms = 0;
    double logarithmsOfBytes = 0;
    double worst = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const double each = seconds[i] / static_cast<double>(state.iterations());
        const double speed = static_cast<double>(pages[i].text.size() * sizeof(char16_t)) / each / 1e9;
        worst = std::min(worst, speed);
        logarithms += std::log(speed);
        logarithmsOfBytes += std::log(static_cast<double>(pages[i].bytes.size()) / each);
    }
    const auto count = static_cast<double>(pages.size());
    state.counters["GB/s"] = std::exp(logarithms / count);
    state.counters["worst GB/s"] = worst;
    return std::exp(logarithmsOfBytes / count);
}

// --- Ours ----------------------------------------------------------------------------------------------------------

struct Counts {
    std::size_t tokens = 0;
    std::size_t units = 0;
};

bool count(const Tag& tag, void* context) {
    auto& counts = *static_cast<Counts*>(context);
    ++counts.tokens;
    counts.units += tag.nameLength + tag.text().size();
    return false;
}

void scanner(benchmark::State& state) {
    means.scanner = measure(state, [](const Page& page) {
        Counts counts;
        halden::GetTagsOfString(page.text, count, &counts);
        return counts.tokens + counts.units;
    });
}

template <void (*scan)(const TagScan&)>
void path(benchmark::State& state) {
    measure(state, [](const Page& page) {
        Counts counts;
        scan({.units = page.text.data(), .length = page.text.size(), .handler = count, .context = &counts});
        return counts.tokens + counts.units;
    });
}

/// Each start tag is also asked for two attributes.
void scannerWithAttributes(benchmark::State& state) {
    const auto look = [](const Tag& tag, void* context) {
        auto& counts = *static_cast<Counts*>(context);
        ++counts.tokens;
        if (tag.nameLength > 0) {
            counts.units += halden::rangeOfAttributeOfTagCharacters(tag.tag(), "CLASS").length;
            counts.units += halden::rangeOfAttributeOfTagCharacters(tag.tag(), "HREF").length;
        }
        return false;
    };
    measure(state, [&](const Page& page) {
        Counts counts;
        halden::GetTagsOfString(page.text, look, &counts);
        return counts.tokens + counts.units;
    });
}

// --- Beside it -----------------------------------------------------------------------------------------------------

/// Goes to every "<", with the same blocks.
void searchForOpen(benchmark::State& state) {
    means.search = measure(state, [](const Page& page) {
        std::size_t places = 0;
        std::size_t at = 0;
        for (; at + halden::UnitBlock::kCount <= page.text.size(); at += halden::UnitBlock::kCount) {
            std::uint64_t mask = halden::UnitBlock::load(page.text.data() + at).equal('<');
            for (; mask != 0; mask &= mask - 1)
                places += at + halden::lowestBit(mask);
        }
        for (; at < page.text.size(); ++at)
            places += page.text[at] == u'<' ? at : 0;
        return places;
    });
    state.counters["times ours"] = means.search / means.scanner;
}

#if defined(QUARRY_HAS_LIBXML2)
void libxml2Sax(benchmark::State& state) {
    htmlSAXHandler handler{};
    handler.startElement = [](void* context, const xmlChar*, const xmlChar**) {
        ++*static_cast<std::size_t*>(context);
    };
    handler.endElement = [](void* context, const xmlChar*) { ++*static_cast<std::size_t*>(context); };
    handler.comment = [](void* context, const xmlChar*) { ++*static_cast<std::size_t*>(context); };
    handler.characters = [](void* context, const xmlChar*, int length) {
        *static_cast<std::size_t*>(context) += static_cast<std::size_t>(length);
    };
    handler.cdataBlock = handler.characters;
    handler.ignorableWhitespace = handler.characters;
    const double mean = measure(state, [&](const Page& page) {
        std::size_t counts = 0;
        htmlParserCtxtPtr context =
            htmlCreatePushParserCtxt(&handler, &counts, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
        htmlCtxtUseOptions(context, HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_RECOVER);
        htmlParseChunk(context, page.bytes.data(), static_cast<int>(page.bytes.size()), 1);
        htmlFreeParserCtxt(context);
        return counts;
    });
    state.counters["ours to it"] = means.scanner / mean;
}
#endif

BENCHMARK(scanner)->Unit(benchmark::kMillisecond);
BENCHMARK(path<halden::scanTagsWide>)->Name("scanner/without AVX2")->Unit(benchmark::kMillisecond);
BENCHMARK(path<halden::scanTagsPortably>)->Name("scanner/unit by unit")->Unit(benchmark::kMillisecond);
BENCHMARK(scannerWithAttributes)->Unit(benchmark::kMillisecond);
BENCHMARK(searchForOpen)->Unit(benchmark::kMillisecond);
#if defined(QUARRY_HAS_LIBXML2)
BENCHMARK(libxml2Sax)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
