// What reading PDF documents costs, from their bytes to the answer, beside the engine called bare and beside pdftotext
// in the same run.
//
//     bench_pdf_reading [Google Benchmark's options]        documents are those of $QUARRY_CORPUS/pdf
//
// Goals: over the corpus at most 1.15 of the CPU time of the engine called bare; at least 1.8 times as fast as
// pdftotext (CPU time of whole processes) on documents of more than 100 pages; 10,000 pages in at most 300 MB, as much
// as a tenth of them need but for the text; the first use of the engine in less than 30 ms.
#include "benchmarks/helper/BareEngine.h"
#include "helper/PdfInformation.h"
#include "platform/pdf/PdfEngine.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using halden::Data;

constexpr int kLongDocument = 100;

double cpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

std::size_t lengthOfAnswer(const Data& pdf) {
    const auto answer = quarry::informationOfPdf(pdf, {}, nullptr);
    const auto* text = answer ? answer->find(u"String") : nullptr;
    return text != nullptr ? text->as<std::u16string>()->size() : 0;
}

struct Document {
    std::string path;
    Data data;
    int pages;
};

std::vector<Document> documentsOfCorpus() {
    std::vector<Document> documents;
    const char* folder = std::getenv("QUARRY_CORPUS");
    if (folder == nullptr) return documents;
    for (const auto& entry : fs::directory_iterator(fs::path(folder) / "pdf")) {
        if (entry.path().extension() != ".pdf") continue;
        const auto data = Data::contentsOfFile(entry.path().string());
        const auto document = data ? halden::PdfDocument::documentWithData(*data) : nullptr;
        if (document && !document->isLocked()) documents.push_back({entry.path(), *data, document->pageCount()});
    }
    return documents;
}

/// The engine and the whole of our reading take turns, document by document.
void readCorpus(benchmark::State& state, const std::vector<Document>& documents) {
    double bare = 0;
    double ours = 0;
    for (auto _ : state) {
        double round = 0;
        for (const Document& document : documents) {
            const double start = cpuSeconds();
            benchmark::DoNotOptimize(quarry::bench::readTextWithBareEngine(document.data));
            const double middle = cpuSeconds();
            benchmark::DoNotOptimize(lengthOfAnswer(document.data));
            bare += middle - start;
            round += cpuSeconds() - middle;
        }
        ours += round;
        state.SetIterationTime(round);
    }
    state.counters["bare_ms"] = bare * 1e3 / static_cast<double>(state.iterations());
    state.counters["ratio"] = ours / bare;
    state.SetLabel("goal: ratio at most 1.15");
}

struct Run {
    double cpu = 0;
    double peakMegabytes = 0;
    bool succeeded = false;
};

Run run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failure = posix_spawnp(&child, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) return {};
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {.cpu = seconds(usage.ru_utime) + seconds(usage.ru_stime),
            .peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024,
            .succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

/// This program as a reader of one document, with the loading of the engine.
Run runReader(const std::string& path) {
    return run({"/proc/self/exe", "--read", path});
}

int read(const char* path) {
    const auto data = Data::mappedContentsOfFile(path);
    return data && lengthOfAnswer(*data) > 0 ? 0 : 1;
}

void readBesidePdftotext(benchmark::State& state, const std::string& path) {
    std::vector<double> ours;
    std::vector<double> theirs;
    for (auto _ : state) {
        const Run their = run({"pdftotext", path, "/dev/null"});
        const Run our = runReader(path);
        if (!our.succeeded) return state.SkipWithError("it was not read");
        if (!their.succeeded) return state.SkipWithError("pdftotext is not there or failed");
        ours.push_back(our.cpu);
        theirs.push_back(their.cpu);
        state.SetIterationTime(our.cpu);
    }
    state.counters["pdftotext_ms"] = median(theirs) * 1e3;
    state.counters["times_as_fast"] = median(theirs) / median(ours);
    state.SetLabel("goal: 1.8 times");
}

/// A document of text whose fonts, as those of real ones, are shared by the pages.
std::string writeDocument(const fs::path& folder, int pages) {
    const fs::path path = folder / ("pages-" + std::to_string(pages) + ".pdf");
    std::string bytes = "%PDF-1.7\n";
    std::vector<std::size_t> offsets;
    const auto add = [&](const std::string& body) {
        offsets.push_back(bytes.size());
        bytes += std::to_string(offsets.size()) + " 0 obj\n" + body + "\nendobj\n";
    };
    std::string kids;
    for (int page = 0; page < pages; ++page)
        kids += std::to_string(4 + 2 * page) + " 0 R ";
    add("<< /Type /Catalog /Pages 2 0 R >>");
    add("<< /Type /Pages /Count " + std::to_string(pages) + " /Kids [" + kids +
        "] /MediaBox [0 0 595 842] /Resources << /Font << /F 3 0 R >> >> >>");
    add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
    for (int page = 0; page < pages; ++page) {
        std::string contents = "BT /F 11 Tf 14 TL 72 760 Td\n";
        for (int line = 0; line < 45; ++line)
            contents += "(Page " + std::to_string(page) + ", line " + std::to_string(line) +
                        ": words of a document that is long enough to be worth measuring.) Tj T*\n";
        contents += "ET";
        add("<< /Type /Page /Parent 2 0 R /Contents " + std::to_string(offsets.size() + 2) + " 0 R >>");
        add("<< /Length " + std::to_string(contents.size()) + " >>\nstream\n" + contents + "\nendstream");
    }
    std::ofstream file(path, std::ios::binary);
    file << bytes << "xref\n0 " << offsets.size() + 1 << "\n0000000000 65535 f \n";
    for (const std::size_t offset : offsets) {
        const std::string digits = std::to_string(offset);
        file << std::string(10 - digits.size(), '0') << digits << " 00000 n \n";
    }
    file << "trailer\n<< /Size " << offsets.size() + 1 << " /Root 1 0 R >>\nstartxref\n" << bytes.size() << "\n%%EOF\n";
    return path;
}

void readManyPages(benchmark::State& state, const std::string& path) {
    double peak = 0;
    for (auto _ : state) {
        const Run reader = runReader(path);
        if (!reader.succeeded) return state.SkipWithError("it was not read");
        peak = std::max(peak, reader.peakMegabytes);
        state.SetIterationTime(reader.cpu);
    }
    state.counters["peak_MB"] = peak;
    state.counters["document_MB"] = static_cast<double>(fs::file_size(path)) / (1 << 20);
    state.SetLabel("goal: 10,000 pages in 300 MB");
}

/// From the first question for the engine to the first answer about a document.
int useForTheFirstTime(const char* path, const char* result) {
    const auto data = Data::contentsOfFile(path);
    const double start = quarry::steadySeconds();
    if (!data || lengthOfAnswer(*data) == 0) return 1;
    std::ofstream(result) << (quarry::steadySeconds() - start);
    return 0;
}

void firstUse(benchmark::State& state, const std::string& path, const fs::path& folder) {
    std::vector<double> times;
    for (auto _ : state) {
        const std::string result = folder / "first-use";
        if (!run({"/proc/self/exe", "--first-use", path, result}).succeeded)
            return state.SkipWithError("it was not read");
        double seconds = 0;
        std::ifstream(result) >> seconds;
        times.push_back(seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["median_ms"] = median(times) * 1e3;
    state.SetLabel("goal: 30 ms");
}

void addAll(const std::vector<Document>& documents, const fs::path& folder) {
    if (!documents.empty()) {
        benchmark::RegisterBenchmark("text/corpus", [&documents](auto& state) { readCorpus(state, documents); })
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(5);
    }
    for (const Document& document : documents) {
        if (document.pages <= kLongDocument) continue;
        benchmark::RegisterBenchmark(("long/" + fs::path(document.path).filename().string()).c_str(),
                                     [path = document.path](auto& state) { readBesidePdftotext(state, path); })
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(5);
    }
    for (const int pages : {1'000, 10'000}) {
        benchmark::RegisterBenchmark(
            ("memory/" + std::to_string(pages)).c_str(),
            [&folder, pages](auto& state) { readManyPages(state, writeDocument(folder, pages)); })
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(2);
    }
    benchmark::RegisterBenchmark("long/generated",
                                 [&folder](auto& state) { readBesidePdftotext(state, writeDocument(folder, 1'000)); })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(5);
    benchmark::RegisterBenchmark("firstUse",
                                 [&folder](auto& state) { firstUse(state, writeDocument(folder, 1), folder); })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(21);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "--read") return read(argv[2]);
    if (mode == "--first-use" && argc > 3) return useForTheFirstTime(argv[2], argv[3]);
    benchmark::Initialize(&argc, argv);
    std::string pattern = fs::temp_directory_path() / "quarry-benchmark-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) return 1;
    const fs::path folder = pattern;
    const auto documents = documentsOfCorpus();
    addAll(documents, folder);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(folder);
    return 0;
}
