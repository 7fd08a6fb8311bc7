// Decoding of bytes, beside ICU's ways of doing it: UTF-8 of pages and of running text in scripts of two, three and
// four bytes a character, and single-byte sets. Times are for the same bytes into the same kind of buffer.
#include "benchmarks/support/PageCorpus.h"
#include "foundation/TextEncoding.h"
#include "foundation/Unicode.h"
#include "markup/MarkupDecoder.h"

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using halden::CFStringEncoding;

constexpr std::size_t kLength = 4 << 20;

std::string repeated(std::string_view text) {
    std::string bytes;
    while (bytes.size() < kLength)
        bytes += text;
    return bytes;
}

struct Sample {
    const char* name;
    CFStringEncoding encoding;
    const char* converter;
    std::string bytes;
};

std::string bytesOfPages() {
    std::string bytes;
    for (const auto& page : halden::benchmarks::pageCorpus()) {
        if (halden::strictUtf16FromUtf8(page.bytes)) bytes += page.bytes;
        if (bytes.size() > kLength) break;
    }
    return repeated(bytes);
}

const std::vector<Sample>& samples() {
    static const std::vector<Sample> all = {
        {"pages", 0x08000100, "UTF-8", bytesOfPages()},
        {"ASCII", 0x08000100, "UTF-8", repeated("<p>The quick brown fox jumps over the lazy dog.</p>\n")},
        {"German", 0x08000100, "UTF-8",
         repeated("Fran\u00E7ois trinkt gern gr\u00FCnen Tee, w\u00E4hrend es drau\u00DFen regnet. ")},
        {"Russian", 0x08000100, "UTF-8",
         repeated(
             "\u0421\u044A\u0435\u0448\u044C \u0435\u0449\u0451 \u044D\u0442\u0438\u0445 "
             "\u043C\u044F\u0433\u043A\u0438\u0445 \u0444\u0440\u0430\u043D\u0446\u0443\u0437\u0441\u043A\u0438\u0445 "
             "\u0431\u0443\u043B\u043E\u043A, ")},
        {"Japanese", 0x08000100, "UTF-8",
         repeated("\u3044\u308D\u306F\u306B\u307B\u3078\u3068\u3061\u308A\u306C\u308B\u3092\u308F\u304B\u3088\u305F"
                  "\u308C\u305D\u3001\u8272\u306F\u5302\u3078\u3069\u3002")},
        {"emoji", 0x08000100, "UTF-8", repeated("\U0001F600\U0001F601 ok \U0001F680")},
        {"Latin 1", 0x201, "ISO-8859-1", repeated("Fran\xE7ois trinkt gern gr\xFCnen Tee, w\xE4hrend es regnet. ")},
        {"Windows-1251", 0x502, "windows-1251",
         repeated(
             "\xD1\xFA\xE5\xF8\xFC \xE5\xF9\xB8 \xFD\xF2\xE8\xF5 \xEC\xFF\xE3\xEA\xE8\xF5 \xE1\xF3\xEB\xEE\xEA, ")},
        {"KOI8-R", 0xA02, "KOI8-R",
         repeated("\xF3\xDF\xC5\xDB\xD8 \xC5\xDD\xA3 \xDC\xD4\xC9\xC8 \xCD\xD1\xC7\xCB\xC9\xC8 ")},
    };
    return all;
}

const Sample& sampleOf(benchmark::State& state) {
    const Sample& sample = samples()[static_cast<std::size_t>(state.range(0))];
    state.SetLabel(sample.name);
    return sample;
}

template <class Decode>
void measure(benchmark::State& state, Decode decode) {
    const Sample& sample = sampleOf(state);
    std::u16string out(sample.bytes.size(), u'\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(decode(sample, out));
        benchmark::ClobberMemory();
    }
    const double bytes = static_cast<double>(sample.bytes.size()) * static_cast<double>(state.iterations());
    state.counters["MB/s"] = benchmark::Counter(bytes / 1e6, benchmark::Counter::kIsRate);
}

void ours(benchmark::State& state) {
    measure(state, [](const Sample& sample, std::u16string& out) {
        return halden::decodeText(sample.bytes, sample.encoding, out).unitsWritten;
    });
}

void oursIntoAString(benchmark::State& state) {
    measure(state, [](const Sample& sample, std::u16string&) {
        return halden::tryToCreateStringWithEncoding(sample.bytes, sample.encoding)->size();
    });
}

void oursWithDeclaration(benchmark::State& state) {
    measure(state, [](const Sample& sample, std::u16string&) {
        return halden::stringWithMarkupData(sample.bytes,
                                            halden::CFStringConvertEncodingToNSStringEncoding(sample.encoding))
            ->size();
    });
}

void icuStrFromUTF8(benchmark::State& state) {
    if (sampleOf(state).encoding != halden::kCFStringEncodingUTF8) {
        state.SkipWithError("not UTF-8");
        return;
    }
    measure(state, [](const Sample& sample, std::u16string& out) {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t length = 0;
        u_strFromUTF8(out.data(), static_cast<std::int32_t>(out.size()), &length, sample.bytes.data(),
                      static_cast<std::int32_t>(sample.bytes.size()), &error);
        return length;
    });
}

void icuConverter(benchmark::State& state) {
    measure(state, [](const Sample& sample, std::u16string& out) {
        UErrorCode error = U_ZERO_ERROR;
        UConverter* converter = ucnv_open(sample.converter, &error);
        const std::int32_t length =
            ucnv_toUChars(converter, out.data(), static_cast<std::int32_t>(out.size()), sample.bytes.data(),
                          static_cast<std::int32_t>(sample.bytes.size()), &error);
        ucnv_close(converter);
        return length;
    });
}

BENCHMARK(ours)->DenseRange(0, 8)->Unit(benchmark::kMicrosecond);
BENCHMARK(oursIntoAString)->DenseRange(0, 8)->Unit(benchmark::kMicrosecond);
BENCHMARK(oursWithDeclaration)->DenseRange(0, 8)->Unit(benchmark::kMicrosecond);
BENCHMARK(icuStrFromUTF8)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);
BENCHMARK(icuConverter)->DenseRange(0, 8)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
