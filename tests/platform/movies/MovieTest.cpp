// Movies that are made here, and what the service says of them.
#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "helper/MoviePoster.h"
#include "platform/movies/Movie.h"
#include "tests/platform/movies/Atoms.h"
#include "tests/platform/movies/MadeMovie.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace halden {
namespace {

namespace fs = std::filesystem;
using testing::makeMovie;
using testing::makeMp3;
using testing::MovieForm;

class MovieTest : public ::testing::Test {
protected:
    MovieTest() {
        std::string name = "/tmp/quarry-test-XXXXXX";
        folder_ = mkdtemp(name.data());
        // The engines stand where the helper has them.
        const auto here = fs::read_symlink("/proc/self/exe").parent_path();
        EXPECT_NE(moviesEngineStatus().engine, nullptr) << here << moviesEngineStatus().reason;
    }
    ~MovieTest() override { fs::remove_all(folder_); }

    std::u16string path(const std::string& name) { return stringFromPathBytes((folder_ / name).string()); }
    std::u16string made(const std::string& name, const MovieForm& form) {
        makeMovie(folder_ / name, form);
        return path(name);
    }
    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
    }
    std::string contents(const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
        return text.str();
    }
    /// The grey level at a place, given in parts of the width and the height.
    static int grey(const Bitmap& bitmap, double x, double y) {
        const auto column = static_cast<std::size_t>(x * bitmap.width);
        const auto row = static_cast<std::size_t>(y * bitmap.height);
        return bitmap.pixels.at(row * bitmap.rowLength() + column * static_cast<std::size_t>(bitmap.channels));
    }
    /// The second of the movie that the picture is from.
    static int second(const Bitmap& bitmap) {
        // Luma from 16 to 235 becomes 0 to 255.
        const double luma = 16 + grey(bitmap, 0.25, 0.5) * 219.0 / 255;
        return static_cast<int>(std::lround((luma - 20) / 10));
    }

    fs::path folder_;
};

TEST_F(MovieTest, ThePictureIsTheMiddleOneInWholeSecondsButNoneAfterFifteen) {
    struct Row {
        double seconds;
        int second;
    };
    for (const Row& row : {Row{0.8, 0}, Row{3, 1}, Row{10, 5}, Row{36, 15}}) {
        for (const std::string kind : {"mov", "mp4", "avi", "mkv"}) {
            const auto movie = made("a." + kind, {.seconds = row.seconds});
            const auto image = Movie::middleImageForMovieWithFile(movie);
            ASSERT_TRUE(image) << kind << row.seconds;
            EXPECT_EQ(second(*image), row.second) << kind << " of " << row.seconds << " s";
            EXPECT_NEAR(Movie::initWithFile(movie)->movieDuration(), row.seconds, 0.11) << kind;
        }
    }
}

TEST_F(MovieTest, PicturesAreShownAsAPlayerShowsThem) {
    const auto wide = made("wide.mov", {.aspect = 2});
    EXPECT_EQ(Movie::initWithFile(wide)->movieSize(), (Size{128, 48}));
    const auto image = Movie::middleImageForMovieWithFile(wide);
    EXPECT_EQ(image->width, 128);
    EXPECT_EQ(image->height, 48);
    const auto mirrored = Movie::middleImageForMovieWithFile(made("mirrored.mov", {.isMirrored = true}));
    ASSERT_TRUE(mirrored);
    EXPECT_GT(grey(*mirrored, 0.2, 0.5), 200);
    EXPECT_LT(grey(*mirrored, 0.8, 0.5), 60);
    struct Row {
        int degrees;
        Size size;
        double lightX, lightY;  // in the half that is white
    };
    for (const Row& row : {Row{90, {48, 64}, 0.5, 0.8}, Row{180, {64, 48}, 0.2, 0.5}, Row{270, {48, 64}, 0.5, 0.2}}) {
        const auto movie = made("turned.mov", {.degrees = row.degrees});
        EXPECT_EQ(Movie::initWithFile(movie)->movieSize(), row.size) << row.degrees;
        const auto turned = Movie::middleImageForMovieWithFile(movie);
        ASSERT_TRUE(turned);
        EXPECT_EQ(turned->width, row.size.width);
        EXPECT_GT(grey(*turned, row.lightX, row.lightY), 200) << row.degrees;
        EXPECT_LT(grey(*turned, 1 - row.lightX, 1 - row.lightY), 60) << row.degrees;
    }
}

TEST_F(MovieTest, ThePosterIsTheFirstPictureThatIsNotBlank) {
    const auto image = Movie::posterImageForMovieWithFile(made("a.mov", {.seconds = 5, .blank = 2}));
    ASSERT_TRUE(image);
    EXPECT_EQ(second(*image), 2);
    const auto blank = Movie::posterImageForMovieWithFile(made("b.mov", {.seconds = 2, .blank = 2}));
    ASSERT_TRUE(blank);
    EXPECT_EQ(grey(*blank, 0.5, 0.5), 0);
}

TEST_F(MovieTest, ThePosterTimeOfTheFileCountsBeforeThat) {
    (void)made("a.mov", {.seconds = 8});
    std::string file = contents("a.mov");
    const auto header = file.find("mvhd");
    ASSERT_NE(header, std::string::npos);
    file.replace(header + 4 + 80, 4, testing::number(3500, 4));  // the movie counts in 1/1000 s
    write("a.mov", file);
    const auto image = Movie::posterImageForMovieWithFile(path("a.mov"));
    ASSERT_TRUE(image);
    EXPECT_EQ(second(*image), 3);
    EXPECT_EQ(second(Movie::middleImageForMovieWithFile(path("a.mov")).value()), 4);
}

TEST_F(MovieTest, SoundHasItsCoverAndNoSize) {
    write("a.mp3", makeMp3({.seconds = 2, .cover = true}));
    const auto movie = Movie::initWithFile(path("a.mp3"));
    ASSERT_TRUE(movie);
    EXPECT_EQ(movie->movieSize(), Size{});
    EXPECT_NEAR(movie->movieDuration(), 2, 0.1);
    EXPECT_FALSE(movie->middleImage());
    const auto image = movie->thumbnailImage();
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 32);
    EXPECT_NEAR(grey(*image, 0.2, 0.5), 98, 8);
    EXPECT_GT(grey(*image, 0.8, 0.5), 240);
}

TEST_F(MovieTest, WithoutMarksInTheFileTheKeyFrameIsFoundAllTheSame) {
    // One key frame; one has no index, the others do not say at which time they start.
    for (const char* name : {"a.ts", "a.nut", "a.mkv"}) {
        const auto movie = Movie::initWithFile(made(name, {.seconds = 10.4, .framesInSecond = 25, .keyFrames = 1000}));
        ASSERT_TRUE(movie) << name;
        const auto image = movie->middleImage();
        ASSERT_TRUE(image) << name;
        EXPECT_EQ(second(*image), 5) << name;
    }
}

TEST_F(MovieTest, WhatIsThrownIsLoggedAndOthersPass) {
    std::string line;
    setLogSink([&](LogLevel, std::string_view message) { line = message; });
    const auto movie = made("a.mov", {.seconds = 3});
    std::optional<MovieAttributes> attributes = MovieAttributes{};
    const Exception thrown("Name", "the reason");
    EXPECT_FALSE(Movie::thumbnailImageForMovieWithFile(movie, &attributes, [&](double) { throw thrown; }));
    setLogSink({});
    EXPECT_FALSE(attributes);
    EXPECT_TRUE(line.starts_with("thumbnailImageForMovieWithFile:attributes: (QTMovie):\nName\nthe reason\n")) << line;
    EXPECT_THROW((void)Movie::thumbnailImageForMovieWithFile(movie, nullptr, [](double) { throw 7; }), int);
}

TEST_F(MovieTest, ClaimsOfManyFramesTakeNeitherMemoryNorTime) {
    const auto type = testing::atom("ftyp", "qt  " + std::string(4, 0) + "qt  ");
    const auto header = testing::atom("mvhd", testing::movieHeader(600, 6000, 0));
    const auto media = testing::atom("mdat", std::string(5000, 0));
    const auto most = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    };
    const auto before = most();
    rlimit limitBefore{};
    getrlimit(RLIMIT_AS, &limitBefore);
    for (const auto& [count, tracks] : {std::pair(1'000'000'000, 1), std::pair(4'000'000, 12)}) {
        std::string all;
        for (int i = 0; i < tracks; ++i)
            all += testing::emptyTrack(static_cast<std::uint64_t>(count));
        write("a.mov", type + testing::atom("moov", header + all) + media);
        EXPECT_FALSE(Movie::thumbnailImageForMovieWithFile(path("a.mov"))) << count;
    }
    EXPECT_LT(most() - before, 900);
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    EXPECT_EQ(limit.rlim_cur, limitBefore.rlim_cur);
}

TEST_F(MovieTest, TheServiceAlwaysGivesADictionary) {
    int idled = 0;
    const auto idling = [&](double seconds) {
        ++idled;
        EXPECT_EQ(seconds, 0.05);
    };
    const Dictionary movie = quarry::posterImageForMovieWithFile(made("a.mov", {.seconds = 3}), idling);
    EXPECT_EQ(idled, 1);
    ASSERT_EQ(movie.size(), 3U);
    EXPECT_EQ(movie.begin()[0].key, u"Duration");
    EXPECT_EQ(movie.begin()[1].value, Value(u"{64, 48}"));
    EXPECT_EQ(movie.begin()[2].key, u"Thumbnail");
    EXPECT_TRUE(movie.begin()[2].value.as<Data>()->view().starts_with("II*"));

    const Dictionary sound =
        quarry::posterImageForMovieWithFile(made("a.wav", {.seconds = 2, .isSound = true}), idling);
    EXPECT_EQ(sound, (Dictionary{{u"Duration", 2.0}, {u"Size", u"{0, 0}"}}));

    std::ofstream(folder_ / "text.mov") << "this is no movie";
    const Dictionary nothing{{u"Duration", 0.0}, {u"Size", u"{0, 0}"}};
    EXPECT_EQ(quarry::posterImageForMovieWithFile(path("text.mov"), idling), nothing);
    EXPECT_EQ(quarry::posterImageForMovieWithFile(path("missing.mov"), idling), nothing);
    EXPECT_EQ(quarry::posterImageForMovieWithFile(path(""), idling), nothing);
    EXPECT_EQ(quarry::posterImageForMovieWithFile(u"", idling), nothing);
    EXPECT_EQ(idled, 2);
}

TEST_F(MovieTest, WhatIsDamagedGivesWhatDecodes) {
    (void)made("a.avi", {.seconds = 10});
    const std::string whole = contents("a.avi");
    std::size_t pictures = 0;
    for (std::size_t length = 0; length < whole.size(); length += whole.size() / 40) {
        write("cut.avi", whole.substr(0, length));
        pictures += Movie::thumbnailImageForMovieWithFile(path("cut.avi")) ? 1 : 0;
        std::string damaged = whole;
        for (std::size_t i = length; i < std::min(length + 200, whole.size()); ++i)
            damaged[i] = static_cast<char>(damaged[i] ^ 0x5A);
        write("damaged.avi", damaged);
        pictures += Movie::thumbnailImageForMovieWithFile(path("damaged.avi")) ? 1 : 0;
    }
    EXPECT_GT(pictures, 40U);
}

TEST_F(MovieTest, FilesThatNameOthersReachNothing) {
    (void)made("secret.mov", {.seconds = 2});
    const std::string secret = folder_ / "secret.mov";
    std::ofstream(folder_ / "list.m3u8") << "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n"
                                         << secret << "\n#EXT-X-ENDLIST\n";
    std::ofstream(folder_ / "list.ffconcat") << "ffconcat version 1.0\nfile '" << secret << "'\n";
    std::ofstream(folder_ / "list.sdp") << "v=0\nc=IN IP4 127.0.0.1\nm=video 5004 RTP/AVP 96\n";
    for (const char* name : {"list.m3u8", "list.ffconcat", "list.sdp"})
        EXPECT_FALSE(Movie::thumbnailImageForMovieWithFile(path(name))) << name;
}

TEST_F(MovieTest, LoopModes) {
    Movie movie(nullptr);
    for (const auto& [mode, expected] : {std::pair(0, 0), std::pair(1, 1), std::pair(2, 2), std::pair(3, 0)}) {
        movie.setLoopMode(1);
        movie.setLoopMode(mode);
        EXPECT_EQ(movie.loopMode(), expected);
    }
}

TEST_F(MovieTest, TypesAreExtensionsInAnyCaseOrExactCodes) {
    const auto& types = QuickTimeFileTypes();
    EXPECT_EQ(&types, &QuickTimeFileTypes());
    EXPECT_EQ(std::set<std::u16string>(types.begin(), types.end()).size(), types.size());
    EXPECT_EQ(types.front(), u"mov");
    EXPECT_EQ(types.back(), u"m4v");
    struct Row {
        std::u16string_view extension;
        std::u16string_view type;
        bool isMovie;
    };
    for (const Row& row : {Row{u"MOV", u"", true}, Row{u"mqv", u"", true}, Row{u"", u"'MPG '", true},
                           Row{u"", u"'mpg '", false}, Row{u"txt", u"'TEXT'", false}, Row{u"txt", u"'SMIL'", true}})
        EXPECT_EQ(isQuickTimeExtension(row.extension, row.type), row.isMovie);
    EXPECT_TRUE(isQuickTimeFile(u"/a/b.Mp4"));
    EXPECT_FALSE(isQuickTimeFile(u"/a/b"));
}

}  // namespace
}  // namespace halden
