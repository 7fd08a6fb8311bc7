// Character references to characters and back. The peers in the same run: a copy of the same bytes (the speed of
// memory), and libxml2, whose parser is fed the same text without any tag, and which has an encoder of its own.
#include "benchmarks/support/PageCorpus.h"
#include "foundation/Unicode.h"
#include "markup/Entities.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#if defined(QUARRY_HAS_LIBXML2)
#include <libxml/HTMLparser.h>
#endif

namespace {

constexpr std::size_t kDenseLength = 4 << 20;

std::u16string without(std::u16string text, std::u16string_view units) {
    for (char16_t& unit : text) {
        if (units.find(unit) != std::u16string_view::npos) unit = u' ';
    }
    return text;
}

/// Pages as text: no tags, all references.
const std::u16string& pages() {
    static const std::u16string text = without(halden::benchmarks::wholePageCorpus(), std::u16string_view(u"<>\0", 3));
    return text;
}

const std::u16string& withoutReferences() {
    static const std::u16string text = without(pages(), u"&");
    return text;
}

/// A reference every few units, of every kind, and addresses, whose "&" begin none.
const std::u16string& dense() {
    static const std::u16string text = [] {
        constexpr std::u16string_view kPart =
            u"caf&eacute; &amp; th&egrave;, &#8220;ol&#xe9;&#8221; &hellip; a &lt; b&nbsp;?a=1&b=2&lang=de&page=3 ";
        std::u16string all;
        while (all.size() < kDenseLength)
            all += kPart;
        return all;
    }();
    return text;
}

using Text = const std::u16string& (*)();

void setCounters(benchmark::State& state, const std::u16string& text) {
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["GB/s"] =
        benchmark::Counter(static_cast<double>(text.size()) * 2 * rounds / 1e9, benchmark::Counter::kIsRate);
    const auto references = static_cast<double>(std::ranges::count(text, u'&'));
    if (references > 0) {
        state.counters["s per &"] =
            benchmark::Counter(references * rounds, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    }
}

void copied(benchmark::State& state, Text text) {
    std::u16string destination(text().size(), u'\0');
    for (auto _ : state) {
        std::ranges::copy(text(), destination.begin());
        benchmark::ClobberMemory();
    }
    setCounters(state, text());
}

void decoded(benchmark::State& state, Text text, halden::EntityDecoding decoding) {
    std::u16string destination(text().size(), u'\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            halden::convertEntities2Characters(text().data(), destination.data(), 0, text().size(), decoding));
        benchmark::ClobberMemory();
    }
    setCounters(state, text());
}

void standardDecoded(benchmark::State& state, Text text) {
    std::u16string destination(text().size(), u'\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            halden::convertStdEntities2Characters(text().data(), destination.data(), 0, text().size()));
        benchmark::ClobberMemory();
    }
    setCounters(state, text());
}

/// A string that goes in and comes out untouched.
void passed(benchmark::State& state, halden::EntityDecoding decoding) {
    std::u16string text = withoutReferences();
    for (auto _ : state) {
        text = halden::stringByConvertingEntitiesToCharacters(std::move(text), decoding);
        benchmark::ClobberMemory();
    }
    setCounters(state, text);
}

template <class Encode>
void encoded(benchmark::State& state, Text text, Encode encode) {
    for (auto _ : state)
        benchmark::DoNotOptimize(encode(text()));
    setCounters(state, text());
}

constexpr halden::EntityDecoding kAll{.decodesSpecials = true};

BENCHMARK_CAPTURE(copied, plain, withoutReferences)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(passed, plain, kAll)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(passed, plainNonUmlauted, halden::EntityDecoding{.nonUmlauted = true})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, plain, withoutReferences, kAll)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, pages, pages, kAll)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, dense, dense, kAll)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, denseNonUmlauted, dense,
                  halden::EntityDecoding{.decodesSpecials = true, .nonUmlauted = true})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(standardDecoded, pages, pages)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(standardDecoded, dense, dense)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encoded, entities, pages, halden::stringByConvertingCharactersToEntities)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encoded, highCharacters, pages, halden::stringByConvertingHighCharactersToEntities)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encoded, standardEntities, pages, halden::stringByConvertingCharactersToStandardEntities)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encoded, json, pages, halden::stringByConvertingCharactersToJSON)->Unit(benchmark::kMillisecond);

#if defined(QUARRY_HAS_LIBXML2)
/// The parser decodes references as it goes, and hands out stretches of text.
void libxml2Decoded(benchmark::State& state, Text text) {
    const std::string bytes = halden::utf8FromUtf16(text());
    static std::size_t length;
    htmlSAXHandler handler{};
    handler.characters = [](void*, const xmlChar*, int count) { length += static_cast<std::size_t>(count); };
    for (auto _ : state) {
        htmlParserCtxtPtr context =
            htmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
        htmlCtxtUseOptions(context, HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_RECOVER);
        htmlParseChunk(context, bytes.data(), static_cast<int>(bytes.size()), 1);
        htmlFreeParserCtxt(context);
        benchmark::DoNotOptimize(length);
    }
    setCounters(state, text());
}

void libxml2Encoded(benchmark::State& state, Text text) {
    const std::string bytes = halden::utf8FromUtf16(text());
    std::vector<unsigned char> out(bytes.size() * 4);
    for (auto _ : state) {
        int outLength = static_cast<int>(out.size());
        int inLength = static_cast<int>(bytes.size());
        if (htmlEncodeEntities(out.data(), &outLength, reinterpret_cast<const unsigned char*>(bytes.data()), &inLength,
                               0) < 0) {
            state.SkipWithError("the text is not encoded");
        }
        benchmark::ClobberMemory();
    }
    setCounters(state, text());
}

BENCHMARK_CAPTURE(libxml2Decoded, plain, withoutReferences)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libxml2Decoded, pages, pages)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libxml2Decoded, dense, dense)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libxml2Encoded, entities, pages)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
