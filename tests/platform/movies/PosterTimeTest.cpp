// The movie header's poster time, in files that are written here atom by atom.
#include "platform/movies/module/PosterTime.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

std::string number(std::uint64_t value, int length) {
    std::string bytes;
    for (int i = length - 1; i >= 0; --i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string atom(const std::string& type, const std::string& contents) {
    return number(8 + contents.size(), 4) + type + contents;
}

std::string longAtom(const std::string& type, const std::string& contents) {
    return number(1, 4) + type + number(16 + contents.size(), 8) + contents;
}

std::string header(std::uint64_t scale, std::uint64_t duration, std::uint64_t poster, bool hasLongTimes = false) {
    const int length = hasLongTimes ? 8 : 4;
    return number(hasLongTimes ? 1U << 24 : 0, 4) + number(1, length) + number(2, length) + number(scale, 4) +
           number(duration, length) + std::string(4 + 2 + 10 + 36, '\x7F') + number(9, 4) + number(9, 4) +
           number(poster, 4) + std::string(16, '\x7F');
}

std::string movie(const std::string& contents) {
    return atom("moov", atom("mvhd", contents) + atom("trak", ""));
}

std::optional<double> posterTimeOf(const std::string& file) {
    const auto bytes = MovieBytes::ofMemory({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
    return halden::posterTimeOf(*bytes);
}

TEST(PosterTimeTest, IsWhatTheMovieHeaderSays) {
    const std::string type = atom("ftyp", "qt  ");
    const std::string contents = header(600, 6000, 1500);
    struct Row {
        const char* what;
        std::string file;
        std::optional<double> seconds;
    };
    const Row rows[] = {
        {"after the type", type + movie(contents), 2.5},
        {"after the media", type + atom("wide", "") + atom("mdat", std::string(5000, 'x')) + movie(contents), 2.5},
        {"after media of a long length", type + longAtom("mdat", std::string(70000, 'x')) + movie(contents), 2.5},
        {"times of eight bytes", type + movie(header(1000, 1ULL << 33, 7250, true)), 7.25},
        {"a movie atom to the end", number(0, 4) + "moov" + atom("mvhd", contents), 2.5},
        {"after another atom of the movie", atom("moov", atom("udta", "abc") + atom("mvhd", contents)), 2.5},
        {"no choice", type + movie(header(600, 6000, 0)), std::nullopt},
        {"after the end", type + movie(header(600, 6000, 6000)), std::nullopt},
        {"no scale", type + movie(header(0, 6000, 1500)), std::nullopt},
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
    const std::string file = atom("ftyp", "qt  ") + movie(header(600, 6000, 1500));
    for (std::size_t length = 0; length <= file.size(); ++length) {
        const auto seconds = posterTimeOf(file.substr(0, length));
        EXPECT_TRUE(!seconds || *seconds == 2.5) << length;
    }
}

TEST(PosterTimeTest, ManyAtomsEndTheSearch) {
    std::string file;
    for (int i = 0; i < 100000; ++i)
        file += atom("free", "");
    EXPECT_EQ(posterTimeOf(file + movie(header(600, 6000, 1500))), std::nullopt);
}

}  // namespace
}  // namespace halden
