// What importers cost beyond the libraries below them: processor time, warm and in one process, of a bundle loaded as
// the helper loads it, and of its library called bare for the same job.
//
// Usage: importer_costs FOLDER FILE...     the folder with the bundles, PREFIX/lib/quarry/Spotlight
#include "benchmarks/importers/BareLibraries.h"
#include "foundation/Path.h"
#include "importers/ImporterPlugIn.h"

extern "C" {
#include <libavutil/log.h>
}
#include <vips/vips.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Bare {
    const char* bundle;
    void (*read)(const char* path);
    std::vector<std::string> extensions;
};

using namespace quarry::bare;

const std::vector<Bare> kBare = {
    {"Archive", listArchive, {".7z", ".zip", ".tar", ".tgz", ".rar"}},
    {"Audio", readTags, {".mp3", ".flac", ".ogg", ".opus", ".wma", ".aif", ".m4a", ".wav"}},
    {"CHM", readCompiledHelp, {".chm"}},
    {"DjVu", readDjVu, {".djvu"}},
    {"EPUB", readPackage, {".epub"}},
    {"Font", readFont, {".ttf", ".otf", ".pfb"}},
    {"Image", readPicture, {".jpg", ".png", ".tif", ".webp", ".avif", ".heic"}},
    {"Mail", readMail, {".eml"}},
    {"Movie", openMovie, {".mp4", ".mov", ".mkv", ".webm", ".avi", ".ts"}},
    {"OfficeOpenXML", readPackage, {".docx", ".xlsx", ".pptx"}},
    {"OpenDocument", readPackage, {".odt", ".ods", ".odp"}},
    {"Text", readText, {".txt"}},
};

double processorMicroseconds() {
    std::timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double timeOf(const std::function<void()>& job, int count) {
    const double start = processorMicroseconds();
    for (int i = 0; i < count; ++i)
        job();
    return (processorMicroseconds() - start) / count;
}

/// The smallest of several rounds of each, taken in turns, so that both see the same neighbours.
void compare(const Bare& bare, quarry_importer& importer, const std::string& path) {
    constexpr int kRounds = 15;
    const auto ours = [&] { (void)quarry::attributesFromImporter(importer, u"public.data", path); };
    const auto theirs = [&] { bare.read(path.c_str()); };
    ours();
    const int count = std::clamp(static_cast<int>(10'000 / std::max(timeOf(theirs, 2), 1.0)), 1, 1000);
    double oursBest = 1e12;
    double theirsBest = 1e12;
    for (int round = 0; round < kRounds; ++round) {
        oursBest = std::min(oursBest, timeOf(ours, count));
        theirsBest = std::min(theirsBest, timeOf(theirs, count));
    }
    std::printf("| %s | %s | %.0f | %.0f | %.2f |\n", bare.bundle, std::filesystem::path(path).filename().c_str(),
                oursBest, theirsBest, oursBest / theirsBest);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: importer_costs FOLDER FILE...\n", stderr);
        return 2;
    }
    std::setlocale(LC_CTYPE, "C.UTF-8");  // libarchive converts names by it
    av_log_set_level(AV_LOG_QUIET);
    if (VIPS_INIT(argv[0]) != 0) return 1;
    std::puts("| Bundle | File | importer us | library us | ratio |\n|---|---|---:|---:|---:|");
    for (const Bare& bare : kBare) {
        const std::string bundle = std::string(argv[1]) + "/" + bare.bundle + ".mdimporter";
        quarry_importer* const importer = quarry::importerInterfaceOfBundle(halden::stringFromPathBytes(bundle));
        for (int i = 2; importer != nullptr && i < argc; ++i) {
            const std::string extension = std::filesystem::path(argv[i]).extension();
            if (std::ranges::find(bare.extensions, extension) != bare.extensions.end())
                compare(bare, *importer, argv[i]);
        }
    }
}
