// Movies that are made here, and what the service says of them.
#include "foundation/Path.h"
#include "helper/MoviePoster.h"
#include "platform/movies/Movie.h"
#include "tests/platform/movies/MadeMovie.h"

#include <gtest/gtest.h>
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
    std::ostringstream text;
    text << std::ifstream(folder_ / "a.avi", std::ios::binary).rdbuf();
    const std::string whole = text.str();
    std::size_t pictures = 0;
    for (std::size_t length = 0; length < whole.size(); length += whole.size() / 40) {
        std::ofstream(folder_ / "cut.avi", std::ios::binary) << whole.substr(0, length);
        pictures += Movie::thumbnailImageForMovieWithFile(path("cut.avi")) ? 1 : 0;
        std::string damaged = whole;
        for (std::size_t i = length; i < std::min(length + 200, whole.size()); ++i)
            damaged[i] = static_cast<char>(damaged[i] ^ 0x5A);
        std::ofstream(folder_ / "damaged.avi", std::ios::binary) << damaged;
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
