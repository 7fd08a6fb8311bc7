// Word-processor documents as RTF, through our worker and through LibreOffice's own command.
//
//     bench_office [DOCUMENT...] [Google Benchmark's options]
//
// Measures a document generated here, and the documents given (of the folders of $QUARRY_CORPUS/richtext without them),
// in real time, since the work is other processes'. Goals: the first document below 2 s, the following below 0.5 s.
//
//   First      a new converter: a process is started for the document
//   Following  the process was started after the document before; a person's pause lies between them
//   AtOnce     the same, without a pause
//   Soffice    `soffice --convert-to rtf` with a profile that it has used before
//   SofficeNew the same with a new profile
#include "documents/Recognition.h"
#include "foundation/Log.h"
#include "platform/office/OfficeConverter.h"
#include "platform/process/Task.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using halden::Data;
using halden::OfficeConverter;
using halden::OfficeFormat;
using quarry::DocumentKind;

struct Document {
    std::string path;
    Data data;
    OfficeFormat format;
};
using Documents = std::vector<Document>;

std::optional<OfficeFormat> formatOf(const Data& data) {
    switch (quarry::recognizeDocument(data.span(), quarry::TypeHint::other)) {
        case DocumentKind::doc:
            return OfficeFormat::doc;
        case DocumentKind::docx:
            return OfficeFormat::docx;
        case DocumentKind::odt:
            return OfficeFormat::odt;
        case DocumentKind::fodt:
            return OfficeFormat::fodt;
        case DocumentKind::wordML:
            return OfficeFormat::wordML2003;
        default:
            return std::nullopt;
    }
}

void add(Documents& documents, const std::string& path) {
    const auto data = Data::contentsOfFile(path);
    if (const auto format = data ? formatOf(*data) : std::nullopt) documents.push_back({path, *data, *format});
}

/// A folder that goes with the object.
struct Folder {
    Folder() {
        std::string name = fs::temp_directory_path() / "quarry-bench-XXXXXX";
        path = mkdtemp(name.data());
    }
    ~Folder() { fs::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    fs::path path;
};

std::string generatedDocument(const Folder& folder) {
    const std::string path = folder.path / "generated.fodt";
    std::ofstream file(path);
    file << R"(<?xml version="1.0"?><office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0")"
            R"( xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2")"
            R"( office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)";
    for (int i = 0; i < 400; ++i)
        file << "<text:p>Paragraph " << i << ": the quick brown fox jumps over the lazy dog, again and again.</text:p>";
    file << "</office:text></office:body></office:document>";
    return path;
}

/// Time that counts, and what came of it.
class Tally {
public:
    /// Runs `convert` against the clock.
    template <class Convert>
    void add(Convert convert) {
        const auto start = std::chrono::steady_clock::now();
        read_ += convert() ? 1 : 0;
        const std::chrono::duration<double, std::milli> used = std::chrono::steady_clock::now() - start;
        slowest_ = std::max(slowest_, used.count());
        total_ += used.count();
        ++all_;
    }
    void report(benchmark::State& state) const {
        state.SetIterationTime(total_ / 1e3);
        state.counters["documents"] = all_;
        state.counters["read"] = read_;
        state.counters["ms_each"] = total_ / all_;
        state.counters["ms_slowest"] = slowest_;
    }

private:
    double total_ = 0;
    double slowest_ = 0;
    double all_ = 0;
    double read_ = 0;
};

enum class Pause { none, asPeopleMake };

void convertAll(benchmark::State& state, const Documents& documents, bool isFirst, Pause pause) {
    OfficeConverter lasting;
    if (!isFirst) (void)lasting.rtfFromDocument(documents[0].data, documents[0].format);
    for (auto _ : state) {
        Tally tally;
        for (const Document& document : documents) {
            const auto converter = isFirst ? std::make_unique<OfficeConverter>() : nullptr;
            if (pause == Pause::asPeopleMake) std::this_thread::sleep_for(600ms);
            tally.add([&] {
                return (isFirst ? *converter : lasting).rtfFromDocument(document.data, document.format).has_value();
            });
        }
        tally.report(state);
    }
}

void runSoffice(benchmark::State& state, const Documents& documents, bool hasNewProfile) {
    const Folder folder;
    for (auto _ : state) {
        Tally tally;
        for (const Document& document : documents) {
            if (hasNewProfile) fs::remove_all(folder.path / "profile");
            halden::Task task;
            task.setLaunchPath("/usr/bin/soffice");
            task.setArguments({"-env:UserInstallation=file://" + (folder.path / "profile").string(), "--headless",
                               "--convert-to", "rtf", "--outdir", folder.path / "out", document.path});
            task.setStandardOutputToNullDevice();
            task.setStandardErrorToNullDevice();
            tally.add([&] {
                task.launch();
                task.waitUntilExit();
                return true;
            });
        }
        tally.report(state);
    }
}

template <class Run>
void registerRun(const char* name, Run run) {
    benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    benchmark::Initialize(&argumentCount, arguments);
    halden::setLogSink([](halden::LogLevel, std::string_view) {});
    const Folder folder;
    Documents documents;
    add(documents, generatedDocument(folder));
    for (int i = 1; i < argumentCount; ++i)
        add(documents, arguments[i]);
    if (const char* corpus = std::getenv("QUARRY_CORPUS"); corpus != nullptr && argumentCount == 1) {
        for (const char* kind : {"doc", "docx", "odt", "fodt", "xml"}) {
            std::vector<std::string> files;
            for (const auto& entry : fs::directory_iterator(fs::path(corpus) / "richtext" / kind))
                files.push_back(entry.path());
            std::sort(files.begin(), files.end());
            files.resize(std::min<std::size_t>(files.size(), 6));
            for (const std::string& file : files)
                add(documents, file);
        }
    }
    registerRun("OfficeFirst", [&](benchmark::State& state) { convertAll(state, documents, true, Pause::none); });
    registerRun("OfficeFollowing",
                [&](benchmark::State& state) { convertAll(state, documents, false, Pause::asPeopleMake); });
    registerRun("OfficeAtOnce", [&](benchmark::State& state) { convertAll(state, documents, false, Pause::none); });
    if (access("/usr/bin/soffice", X_OK) == 0) {
        registerRun("Soffice", [&](benchmark::State& state) { runSoffice(state, documents, false); });
        registerRun("SofficeNew", [&](benchmark::State& state) { runSoffice(state, documents, true); });
    }
    benchmark::RunSpecifiedBenchmarks();
}
