// The cleaning of extracted text, on the texts of pages and of articles: each beside the same rule unit by unit, and
// normalization beside ICU's own. Every round starts with a fresh copy of the text; `copying` says how much of a figure
// that is.
#include "benchmarks/support/PageCorpus.h"
#include "foundation/Characters.h"
#include "foundation/StringConversion.h"
#include "foundation/StringNormalization.h"
#include "foundation/StringWhiteSpace.h"

#include <benchmark/benchmark.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

namespace {

using halden::benchmarks::wholePageCorpus;

/// Words of text with little but ASCII, normal already: what a page's text is after its tags are gone.
const std::u16string& plainText() {
    static const std::u16string text = [] {
        std::u16string result;
        std::size_t i = 0;
        while (result.size() < 512 * 1024) {
            result += u"The helper reads what a document holds, and hands its text on in one piece; ";
            if (++i % 8 == 0) result += u"caf\u00E9 and na\u00EFve are \u201Cquoted\u201D. ";
            if (i % 16 == 0) result += u"\n\n\t  A new paragraph begins here.\n";
        }
        return result;
    }();
    return text;
}

const std::u16string& textOf(const benchmark::State& state) {
    return state.range(0) == 0 ? plainText() : wholePageCorpus();
}

void setCounters(benchmark::State& state, const std::u16string& text) {
    state.SetLabel(state.range(0) == 0 ? "plain text" : "pages");
    const auto bytes = static_cast<double>(text.size() * sizeof(char16_t));
    state.counters["GB/s"] =
        benchmark::Counter(bytes * static_cast<double>(state.iterations()) / 1e9, benchmark::Counter::kIsRate);
}

/// `edit` on a fresh copy of the text each time.
template <class Edit>
void measure(benchmark::State& state, const std::u16string& text, Edit edit) {
    std::u16string string;
    for (auto _ : state) {
        string.assign(text);
        edit(string);
        benchmark::DoNotOptimize(string.data());
        benchmark::ClobberMemory();
    }
    setCounters(state, text);
}

void copying(benchmark::State& state) {
    measure(state, textOf(state), [](std::u16string&) {});
}

// --- removeMultipleSpacesAndFeeds ----------------------------------------------------------------------------------

void collapsing(benchmark::State& state) {
    measure(state, textOf(state),
            [](std::u16string& string) { halden::removeMultipleSpacesAndFeeds(string, halden::CollapsedSet::white); });
}

void collapsingUnitByUnit(benchmark::State& state) {
    const auto& white = halden::whiteCharacterSetRep();
    measure(state, textOf(state), [&](std::u16string& string) {
        std::size_t written = 0;
        bool isInRun = false;
        for (const char16_t unit : string) {
            const bool isWhite = white.contains(unit);
            if (!isWhite) {
                string[written++] = unit;
            } else if (!isInRun) {
                string[written++] = u' ';
            }
            isInRun = isWhite;
        }
        string.resize(written);
    });
}

// --- fixAndNormalizeString, on text that is normal already ---------------------------------------------------------

const std::u16string& normalTextOf(const benchmark::State& state) {
    static const std::u16string pages = halden::fixedAndNormalizedString(wholePageCorpus());
    return state.range(0) == 0 ? plainText() : pages;
}

void repairing(benchmark::State& state) {
    measure(state, normalTextOf(state), halden::fixAndNormalizeString);
}

void repairingUnitByUnitWithIcu(benchmark::State& state) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* formC = icu::Normalizer2::getNFCInstance(status);
    measure(state, normalTextOf(state), [&](std::u16string& string) {
        for (char16_t& unit : string) {
            if (unit == 0 || (unit >= 0xD800 && unit <= 0xDFFF) || (unit >= 0xF400 && unit <= 0xF8FF)) unit = u' ';
        }
        const auto length = static_cast<std::int32_t>(string.size());
        const icu::UnicodeString alias(false, string.data(), length);
        if (formC->spanQuickCheckYes(alias, status) == length) return;
        const icu::UnicodeString normal = formC->normalize(alias, status);
        string.assign(normal.getBuffer(), static_cast<std::size_t>(normal.length()));
    });
}

// --- normalizeString, on decomposed text ---------------------------------------------------------------------------

const std::u16string& decomposedTextOf(const benchmark::State& state) {
    static const std::u16string plain = halden::normalizedString(plainText(), halden::NormalizationForm::d);
    static const std::u16string pages = halden::normalizedString(wholePageCorpus(), halden::NormalizationForm::d);
    return state.range(0) == 0 ? plain : pages;
}

void composing(benchmark::State& state) {
    measure(state, decomposedTextOf(state), [](std::u16string& string) { halden::normalizeString(string); });
}

void composingWithIcu(benchmark::State& state) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* formC = icu::Normalizer2::getNFCInstance(status);
    measure(state, decomposedTextOf(state), [&](std::u16string& string) {
        const icu::UnicodeString alias(false, string.data(), static_cast<std::int32_t>(string.size()));
        const icu::UnicodeString normal = formC->normalize(alias, status);
        string.assign(normal.getBuffer(), static_cast<std::size_t>(normal.length()));
    });
}

// --- nonUmlautedString, lowercaseNonUmlautedString -----------------------------------------------------------------

template <std::u16string (*convert)(std::u16string)>
void converting(benchmark::State& state) {
    measure(state, textOf(state), [](std::u16string& string) { string = convert(std::move(string)); });
}

template <const halden::ConversionTable& (*table)()>
void convertingUnitByUnit(benchmark::State& state) {
    const halden::ConversionTable& units = table();
    measure(state, textOf(state), [&](std::u16string& string) {
        for (char16_t& unit : string)
            unit = units[unit];
    });
}

BENCHMARK(copying)->DenseRange(0, 1);
BENCHMARK(collapsing)->DenseRange(0, 1);
BENCHMARK(collapsingUnitByUnit)->DenseRange(0, 1);
BENCHMARK(repairing)->DenseRange(0, 1);
BENCHMARK(repairingUnitByUnitWithIcu)->DenseRange(0, 1);
BENCHMARK(composing)->DenseRange(0, 1);
BENCHMARK(composingWithIcu)->DenseRange(0, 1);
BENCHMARK(converting<halden::nonUmlautedString>)->DenseRange(0, 1);
BENCHMARK(convertingUnitByUnit<halden::initUmlautsCharsTable>)->DenseRange(0, 1);
BENCHMARK(converting<halden::lowercaseNonUmlautedString>)->DenseRange(0, 1);
BENCHMARK(convertingUnitByUnit<halden::initLowerUmlautsCharsTable>)->DenseRange(0, 1);

}  // namespace

BENCHMARK_MAIN();
