// Reading RTF, as each of the three writers writes it, and what is hard about it. Goals: 50 MB/s on one core, and at
// most 12 times the memory of the file. Of $QUARRY_CORPUS/richtext/rtf, where there is one, all files together; beside
// them LibreOffice's own conversion of the same files to text, where it is installed.
#include "foundation/Data.h"
#include "richtext/RtfReader.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

namespace {

// All that is allocated now, and the most since `startPeak`.
std::atomic<std::size_t> allocated{0};
std::atomic<std::size_t> peak{0};

void count(std::size_t size) noexcept {
    const std::size_t now = allocated.fetch_add(size, std::memory_order_relaxed) + size;
    if (now > peak.load(std::memory_order_relaxed)) peak.store(now, std::memory_order_relaxed);
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const block = std::malloc(size);
    if (!block) throw std::bad_alloc();
    count(malloc_usable_size(block));
    return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    if (block) allocated.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kDocumentSize = 20'000'000;

std::string repeatedTo(std::size_t size, std::string_view head, std::string_view part) {
    std::string document(head);
    document.reserve(size + part.size() + 1);
    while (document.size() < size)
        document += part;
    return document + '}';
}

/// What a text editor of the platform writes: long runs, few words.
std::string cocoaDocument() {
    return repeatedTo(
        kDocumentSize,
        "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2513{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;\\f1\\fswiss"
        "\\fcharset0 Helvetica-Bold;}{\\colortbl;\\red255\\green255\\blue255;\\red0\\green0\\blue0;}\\f0\\fs24 \n",
        "\\pard\\tx560\\tx1120\\tx1680\\tx2240\\pardirnatural\\partightenfactor0\n\n\\f1\\b \\cf2 Headings of a few "
        "words\n\\f0\\b0 \\\nA paragraph of the usual length, in which there\\'92s a quotation \\'93like this\\'94, "
        "and after which comes the next one, with its sentences and their commas.\\\n");
}

/// What a word processor writes: more formatting than text.
std::string wordDocument() {
    return repeatedTo(
        kDocumentSize,
        "{\\rtf1\\adeflang1025\\ansi\\ansicpg1252\\uc1\\deff0{\\fonttbl{\\f0\\froman\\fcharset0\\fprq2 Times New "
        "Roman;}"
        "{\\f1\\fswiss\\fcharset0\\fprq2 Arial;}}{\\stylesheet{\\ql\\fs24 \\snext0 Normal;}{\\s1\\ql\\b\\fs32 "
        "\\sbasedon0 "
        "heading 1;}}",
        "\\pard\\plain \\ltrpar\\s1\\ql "
        "\\li0\\ri0\\sb240\\sa60\\keepn\\widctlpar\\wrapdefault\\aspalpha\\aspnum\\faauto"
        "\\outlinelevel0\\adjustright\\rin0\\lin0\\itap0 \\rtlch\\fcs1 \\ab\\af1\\afs32\\alang1025 \\ltrch\\fcs0 "
        "\\b\\f1\\fs32"
        "\\lang1033\\langfe1033\\kerning32\\cgrid {\\rtlch\\fcs1 \\af1 \\ltrch\\fcs0 \\insrsid1 A heading\\par "
        "}\\pard\\plain "
        "\\ltrpar\\ql \\li0\\ri0\\widctlpar\\rin0\\lin0\\itap0 \\rtlch\\fcs1 \\af0\\afs24 \\ltrch\\fcs0 "
        "\\fs24\\lang1033 "
        "{\\rtlch\\fcs1 \\ab\\af0 \\ltrch\\fcs0 \\b\\insrsid2 Bold}{\\rtlch\\fcs1 \\af0 \\ltrch\\fcs0 \\insrsid3  and "
        "plain text "
        "with \\u8220\\'93quotes\\u8221\\'94 in a paragraph.}{\\field{\\*\\fldinst {HYPERLINK \"http://a.example/\"}}"
        "{\\fldrslt {\\cs15\\ul\\cf2 a link}}}\\par ");
}

std::string unicodeDocument() {
    return repeatedTo(
        kDocumentSize, "{\\rtf1\\ansi{\\fonttbl\\f0\\fcharset0 Helvetica;}\\f0 \\uc0",
        "\\u1053 \\u1086 \\u1074 \\u1086 \\u1077  \\u1074  \\u1085 \\u1072 \\u1095 \\u1072 \\u1083 \\u1077 \\\n");
}

std::string japaneseDocument() {
    return repeatedTo(kDocumentSize, "{\\rtf1\\ansi\\ansicpg932{\\fonttbl{\\f0\\fcharset128 MS Mincho;}}\\f0 ",
                      "\\'93\\'fa\\'96\\'7b\\'8c\\'ea\\'82\\'cc\\'95\\'b6\\'8f\\'cd\\par ");
}

std::string plainDocument() {
    return repeatedTo(kDocumentSize, "{\\rtf1\\ansi ",
                      "A line of text without any formatting at all, some eighty characters long.\\par\r\n");
}

std::string tableDocument() {
    std::string row = "\\trowd\\trgaph108\\trleft-108";
    std::string cells;
    for (int cell = 1; cell <= 6; ++cell) {
        row +=
            "\\clvertalt\\clbrdrt\\brdrs\\brdrw10 \\clbrdrl\\brdrs\\brdrw10 \\cltxlrtb\\clftsWidth3\\clwWidth1476 "
            "\\cellx" +
            std::to_string(1476 * cell);
        cells += "cell " + std::to_string(cell) + "\\cell ";
    }
    return repeatedTo(kDocumentSize, "{\\rtf1\\ansi ", row + "\\pard\\intbl " + cells + "\\row\n");
}

std::string pictureDocument() {
    return repeatedTo(
        kDocumentSize, "{\\rtf1\\ansi ",
        "{\\pict\\pngblip\\picwgoal200\\pichgoal200 89504e470d0a1a0a" + std::string(100'000, '7') + "}\\par\n");
}

void readDocuments(benchmark::State& state, const std::vector<std::string>& documents) {
    std::size_t bytes = 0;
    double memory = 0;
    for (const std::string& document : documents) {
        bytes += document.size();
        const std::size_t before = allocated;
        peak = before;
        benchmark::DoNotOptimize(halden::documentFromRtf(document));
        memory = std::max(memory, static_cast<double>(peak - before) / static_cast<double>(document.size()));
    }
    for (auto _ : state) {
        for (const std::string& document : documents)
            benchmark::DoNotOptimize(halden::documentFromRtf(document));
    }
    state.counters["MB/s"] = benchmark::Counter(
        static_cast<double>(bytes) * static_cast<double>(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
    state.counters["memory/file"] = memory;
    state.SetLabel("goal: 50 MB/s, 12 times the file");
}

std::vector<std::string> corpusPaths() {
    std::vector<std::string> paths;
    const char* const corpus = std::getenv("QUARRY_CORPUS");
    if (!corpus) return paths;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(fs::path(corpus) / "richtext" / "rtf", error))
        paths.push_back(entry.path());
    std::ranges::sort(paths);
    return paths;
}

void readCorpus(benchmark::State& state) {
    std::vector<std::string> documents;
    for (const std::string& path : corpusPaths()) {
        if (const auto data = halden::Data::contentsOfFile(path)) documents.emplace_back(data->view());
    }
    if (documents.empty()) return state.SkipWithError("no corpus");
    readDocuments(state, documents);
    // Small files are mostly what every document takes.
    state.counters["memory/file"] = 0;
}

/// `soffice --convert-to txt` of all files in one run, with a profile of its own that a first run has filled.
void libreOfficeCorpus(benchmark::State& state) {
    const std::vector<std::string> paths = corpusPaths();
    if (paths.empty()) return state.SkipWithError("no corpus");
    if (std::system("command -v soffice >/dev/null 2>&1") != 0) return state.SkipWithError("no LibreOffice");
    const fs::path folder = fs::temp_directory_path() / ("rtf-benchmark-" + std::to_string(::getpid()));
    std::string command = "soffice -env:UserInstallation=file://" + (folder / "profile").string() +
                          " --headless --convert-to txt:Text --outdir " + folder.string();
    const std::string first = command + " " + paths.front();
    double bytes = 0;
    for (const std::string& path : paths) {
        command += " '" + path + "'";
        bytes += static_cast<double>(fs::file_size(path));
    }
    bool failed = std::system((first + " >/dev/null 2>&1").c_str()) != 0;
    for (auto _ : state)
        failed = std::system((command + " >/dev/null 2>&1").c_str()) != 0 || failed;
    std::error_code error;
    fs::remove_all(folder, error);
    if (failed) return state.SkipWithError("LibreOffice failed");
    state.counters["MB/s"] =
        benchmark::Counter(bytes * static_cast<double>(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(readDocuments, cocoa, {cocoaDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, word, {wordDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, unicode, {unicodeDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, japanese, {japaneseDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, plain, {plainDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, tables, {tableDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readDocuments, pictures, {pictureDocument()})->Unit(benchmark::kMillisecond);
BENCHMARK(readCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(libreOfficeCorpus)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
