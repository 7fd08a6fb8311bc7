// The command for movies.
#include "foundation/Json.h"
#include "tests/platform/movies/MadeMovie.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <fstream>

namespace quarry::test {
namespace {

using halden::Dictionary;
using halden::Value;

class PosterCommand : public ::testing::Test {
protected:
    Surroundings surroundings_;
};

TEST_F(PosterCommand, PrintsTheFormAndWritesThePicture) {
    halden::testing::makeMovie(surroundings_.folder() / "a.mov", {.seconds = 3});
    const Outcome outcome = surroundings_.run({"poster", "a.mov", "--thumbnail", "out.tif"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    const auto answer = halden::valueFromJson(outcome.out);
    ASSERT_TRUE(answer && answer->is<Dictionary>()) << outcome.out;
    const Dictionary& dictionary = *answer->as<Dictionary>();
    ASSERT_EQ(dictionary.size(), 3U);
    EXPECT_NEAR(*dictionary.find(u"Duration")->as<double>(), 3, 0.01);
    EXPECT_EQ(*dictionary.find(u"Size"), Value(u"{64, 48}"));
    EXPECT_TRUE(dictionary.contains(u"Thumbnail"));
    std::string head(3, 0);
    std::ifstream(surroundings_.folder() / "out.tif").read(head.data(), 3);
    EXPECT_EQ(head, "II*");
    EXPECT_TRUE(surroundings_.processes().empty());
}

TEST_F(PosterCommand, SoundHasADurationAndWhatIsNoMovieNone) {
    halden::testing::makeMovie(surroundings_.folder() / "a.wav", {.seconds = 2, .isSound = true});
    const Outcome sound = surroundings_.run({"poster", "a.wav"});
    EXPECT_EQ(sound.status, 1);
    EXPECT_EQ(halden::valueFromJson(sound.out), Value(Dictionary{{u"Duration", 2.0}, {u"Size", u"{0, 0}"}}));
    surroundings_.write("a.txt", "words");
    const Outcome text = surroundings_.run({"poster", "a.txt"});
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(halden::valueFromJson(text.out), Value(Dictionary{{u"Duration", 0.0}, {u"Size", u"{0, 0}"}}));
}

}  // namespace
}  // namespace quarry::test
