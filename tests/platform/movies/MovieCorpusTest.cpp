// Real files, movies and others, when there is a folder of them: $QUARRY_CORPUS, else shared/corpus beside the tree.
#include "foundation/Path.h"
#include "platform/movies/Movie.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace halden {
namespace {

namespace fs = std::filesystem;

fs::path corpus() {
    const char* folder = std::getenv("QUARRY_CORPUS");
    return fs::path(folder != nullptr ? folder : QUARRY_SOURCE_DIR "/../shared/corpus") / "files";
}

enum Outcome : int { kNoMovie = 10, kSound, kPicture };

int outcomeOf(const fs::path& path) {
    const auto movie = Movie::initWithFile(stringFromPathBytes(path.native()));
    if (!movie) return kNoMovie;
    return movie->thumbnailImage() ? kPicture : kSound;
}

TEST(MovieCorpus, IsReadWithoutACrashInOneGigabyte) {
    if (!fs::is_directory(corpus())) GTEST_SKIP() << "no corpus";
    ASSERT_NE(moviesEngineStatus().engine, nullptr);
    int pictures = 0;
    for (const auto& entry : fs::directory_iterator(corpus())) {
        if (!entry.is_regular_file()) continue;
        const pid_t child = fork();
        if (child == 0) {
            alarm(30);
            _exit(outcomeOf(entry.path()));
        }
        int status = 0;
        rusage usage{};
        wait4(child, &status, 0, &usage);
        ASSERT_TRUE(WIFEXITED(status)) << entry.path();
        EXPECT_LT(usage.ru_maxrss, 1024 * 1024) << entry.path();
        pictures += WEXITSTATUS(status) == kPicture ? 1 : 0;
        if (entry.path().extension() == ".mp3" || entry.path().extension() == ".flac") {
            EXPECT_NE(WEXITSTATUS(status), kNoMovie) << entry.path();
        }
    }
    EXPECT_GT(pictures, 0);
}

}  // namespace
}  // namespace halden
