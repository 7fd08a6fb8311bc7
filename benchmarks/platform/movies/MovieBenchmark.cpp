// The picture of a movie, beside the ffmpeg command.
//
//     bench_movies [Google Benchmark's options]
//
// The movie is made here by ffmpeg: 45 s of 1080p H.264. All times are of the processor, in ffmpeg's case those of the
// child; that ours has the same pixels as ffmpeg's is seen to first.
#include "foundation/Unicode.h"
#include "helper/MoviePoster.h"
#include "platform/images/ImagesEngine.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

double secondsOf(const rusage& usage) {
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double processorTime(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return secondsOf(usage);
}

/// Ends the program when the command does not succeed.
void runFfmpeg(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {QUARRY_FFMPEG, "-nostdin", "-v", "error", "-y"});
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    const bool isDone = posix_spawn(&child, QUARRY_FFMPEG, nullptr, nullptr, pointers.data(), environ) == 0 &&
                        waitpid(child, &status, 0) == child && status == 0;
    if (isDone) return;
    std::fprintf(stderr, "bench_movies: ffmpeg failed\n");
    std::exit(1);
}

/// A folder with the movie, removed at the end.
class MadeMovie {
public:
    MadeMovie() {
        std::string name = fs::temp_directory_path() / "quarry-bench-XXXXXX";
        folder_ = mkdtemp(name.data());
        runFfmpeg({"-f",         "lavfi",
                   "-i",         "testsrc2=size=1920x1080:rate=25:duration=45",
                   "-f",         "lavfi",
                   "-i",         "sine=duration=45",
                   "-vf",        "noise=alls=6:allf=t",
                   "-c:v",       "libx264",
                   "-preset",    "veryfast",
                   "-bf",        "3",
                   "-pix_fmt",   "yuv420p",
                   "-c:a",       "aac",
                   path("a.mp4")});
    }
    MadeMovie(const MadeMovie&) = delete;
    MadeMovie& operator=(const MadeMovie&) = delete;
    ~MadeMovie() { fs::remove_all(folder_); }

    [[nodiscard]] std::string path(const std::string& name) const { return folder_ / name; }

private:
    fs::path folder_;
};

const MadeMovie& movie() {
    static const MadeMovie made;
    return made;
}

std::optional<halden::Bitmap> ourPicture() {
    const auto file = halden::moviesEngineStatus().engine->open(movie().path("a.mp4"));
    return file ? file->frameAtTime(15) : std::nullopt;
}

bool isSamePicture() {
    const auto ours = ourPicture();
    runFfmpeg({"-ss", "15", "-i", movie().path("a.mp4"), "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24",
               movie().path("a.rgb")});
    std::ifstream file(movie().path("a.rgb"), std::ios::binary);
    const std::vector<char> theirs{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return ours && ours->pixels.size() == theirs.size() &&
           std::equal(theirs.begin(), theirs.end(), ours->pixels.begin(),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

template <class Body>
void measure(benchmark::State& state, int who, const Body& body) {
    for (auto _ : state) {
        const double before = processorTime(who);
        body();
        state.SetIterationTime(processorTime(who) - before);
    }
}

void framePicture(benchmark::State& state) {
    measure(state, RUSAGE_SELF, [] { benchmark::DoNotOptimize(ourPicture()); });
}

void framePictureByFfmpeg(benchmark::State& state) {
    measure(state, RUSAGE_CHILDREN, [] {
        runFfmpeg({"-ss", "15", "-i", movie().path("a.mp4"), "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24",
                   movie().path("a.rgb")});
    });
}

void posterWithTiff(benchmark::State& state) {
    const std::u16string path = halden::utf16FromUtf8(movie().path("a.mp4"));
    measure(state, RUSAGE_SELF, [&] { benchmark::DoNotOptimize(quarry::posterImageForMovieWithFile(path, {})); });
}

void posterWithTiffByFfmpeg(benchmark::State& state) {
    measure(state, RUSAGE_CHILDREN, [] {
        runFfmpeg({"-ss", "15", "-i", movie().path("a.mp4"), "-frames:v", "1", "-compression_algo", "lzw", "-pix_fmt",
                   "rgb24", movie().path("a.tiff")});
    });
}

constexpr int kRounds = 5;
BENCHMARK(framePicture)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(kRounds);
BENCHMARK(framePictureByFfmpeg)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(kRounds);
BENCHMARK(posterWithTiff)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(kRounds);
BENCHMARK(posterWithTiffByFfmpeg)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(kRounds);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (halden::moviesEngineStatus().engine == nullptr || halden::imagesEngineStatus().engine == nullptr) {
        std::fprintf(stderr, "bench_movies: an engine is missing\n");
        return 1;
    }
    if (!isSamePicture()) {
        std::fprintf(stderr, "bench_movies: the picture is not that of ffmpeg\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
