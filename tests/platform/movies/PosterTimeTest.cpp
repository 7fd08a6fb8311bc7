// The movie header's poster time, in files that are written here atom by atom.
#include "platform/movies/module/PosterTime.h"
#include "tests/platform/movies/Atoms.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

using testing::atom;
using testing::longAtom;
using testing::number;

std::string movie(const std::string& contents) {
    return atom("moov", atom("mvhd", contents) + atom("trak", ""));
}

std::optional<double> posterTimeOf(const std::string& file) {
    const auto bytes = MovieBytes::ofMemory({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
    return halden::posterTimeOf(*bytes);
}

TEST(PosterTimeTest, IsWhatTheMovieHeaderSays) {
    const std::string type = atom("ftyp", "qt  ");
    const std::string contents = testing::movieHeader(600, 6000, 1500);
    struct Row {
        const char* what;
        std::string file;
        std::optional<double> seconds;
    };
    const Row rows[] = {
        {"after the type", type + movie(contents), 2.5},
        {"after the media", type + atom("wide", "") + atom("mdat", std::string(5000, 'x')) + movie(contents), 2.5},
        {"after media of a long length", type + longAtom("mdat", std::string(70000, 'x')) + movie(contents), 2.5},
        {"times of eight bytes", type + movie(testing::movieHeader(1000, 1ULL << 33, 7250, true)), 7.25},
        {"a movie atom to the end", number(0, 4) + "moov" + atom("mvhd", contents), 2.5},
        {"after another atom of the movie", atom("moov", atom("udta", "abc") + atom("mvhd", contents)), 2.5},
        {"no choice", type + movie(testing::movieHeader(600, 6000, 0)), std::nullopt},
        {"after the end", type + movie(testing::movieHeader(600, 6000, 6000)), std::nullopt},
        {"no scale", type + movie(testing::movieHeader(0, 6000, 1500)), std::nullopt},
        {"an unknown version", type + movie("\x02" + contents.substr(1)), std::nullopt},
        {"a header that is cut", type + movie(contents.substr(0, 83)), std::nullopt},
        {"a compressed movie", type + atom("moov", atom("cmov", contents)), std::nullopt},
        {"an atom that is shorter than its head", number(7, 4) + "free" + movie(contents), std::nullopt},
        {"a long length that is none", number(1, 4) + "free" + number(15, 8) + movie(contents), std::nullopt},
        {"a length beyond everything", number(1, 4) + "free" + number(~0ULL, 8) + movie(contents), std::nullopt},
        {"nothing", "", std::nullopt},
    };
    for (const Row& row : rows)
        EXPECT_EQ(posterTimeOf(row.file), row.seconds) << row.what;
}

TEST(PosterTimeTest, NoPrefixOfAFileHasAnother) {
    const std::string file = atom("ftyp", "qt  ") + movie(testing::movieHeader(600, 6000, 1500));
    for (std::size_t length = 0; length <= file.size(); ++length) {
        const auto seconds = posterTimeOf(file.substr(0, length));
        EXPECT_TRUE(!seconds || *seconds == 2.5) << length;
    }
}

TEST(PosterTimeTest, ManyAtomsEndTheSearch) {
    std::string file;
    for (int i = 0; i < 100000; ++i)
        file += atom("free", "");
    EXPECT_EQ(posterTimeOf(file + movie(testing::movieHeader(600, 6000, 1500))), std::nullopt);
}

}  // namespace
}  // namespace halden
