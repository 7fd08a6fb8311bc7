// What the importer of movies reports.
#include "foundation/Unicode.h"
#include "tests/importers/system/SystemBundles.h"
#include "tests/platform/movies/MadeMovie.h"

#include <fstream>
#include <sstream>

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;
using halden::Value;
using halden::testing::makeMovie;
using halden::testing::MovieForm;

class MovieImporterTest : public SystemBundles {
protected:
    [[nodiscard]] auto made(const std::string& name, const MovieForm& form) const {
        const auto path = folder_.write(name, "");
        makeMovie(path, form);
        return metaDataOf(path);
    }
};

TEST_F(MovieImporterTest, ReportsWhatAPlayerShows) {
    const auto attributes = made("a.mp4", {.seconds = 4,
                                           .aspect = 2,
                                           .degrees = 90,
                                           .entries = {{"title", "A title"},
                                                       {"artist", "Ann"},
                                                       {"comment", "Two\nlines"},
                                                       {"copyright", "2020 Ed"},
                                                       {"genre", "Drama"},
                                                       {"creation_time", "2020-01-02T03:04:05Z"}}});
    ASSERT_TRUE(attributes);
    const Dictionary expected{{u"kMDItemTitle", u"A title"},
                              {u"kMDItemAuthors", Array{u"Ann"}},
                              {u"kMDItemComment", u"Two lines"},
                              {u"kMDItemCopyright", u"2020 Ed"},
                              {u"kMDItemGenre", u"Drama"},
                              {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1577934245)},
                              {u"kMDItemPixelWidth", 48},
                              {u"kMDItemPixelHeight", 128},
                              {u"kMDItemMediaTypes", Array{u"Video"}},
                              {u"kMDItemCodecs", Array{u"MPEG-4 part 2"}},
                              {u"kMDItemDurationSeconds", 4.0}};
    for (const auto& [key, value] : expected) {
        ASSERT_TRUE(attributes->contains(key)) << halden::utf8FromUtf16(key);
        EXPECT_EQ(*attributes->find(key), value) << halden::utf8FromUtf16(key);
    }
    for (const auto* key : {u"kMDItemTotalBitRate", u"kMDItemVideoBitRate"})
        EXPECT_GT(*attributes->find(key)->as<std::int64_t>(), 1000) << halden::utf8FromUtf16(key);
    EXPECT_FALSE(attributes->contains(u"kMDItemAudioSampleRate"));
}

TEST_F(MovieImporterTest, OtherContainersAndSoundWithoutTags) {
    for (const char* name : {"a.mkv", "a.avi", "a.mov", "a.ts"}) {
        const auto attributes = made(name, {.seconds = 4});
        ASSERT_TRUE(attributes) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemPixelWidth"), Value(64)) << name;
        EXPECT_NEAR(*attributes->find(u"kMDItemDurationSeconds")->as<double>(), 4, 0.11) << name;
    }
    for (const char* name : {"a.w64", "a.mka"}) {
        const auto attributes = made(name, {.seconds = 2, .isSound = true});
        ASSERT_TRUE(attributes) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemAudioSampleRate"), Value(8000)) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemAudioChannelCount"), Value(1)) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemMediaTypes"), Value(Array{u"Sound"})) << name;
        EXPECT_FALSE(attributes->contains(u"kMDItemPixelWidth")) << name;
    }
}

TEST_F(MovieImporterTest, DatesHaveOffsetsAndPlacesSigns) {
    struct Row {
        const char* text;
        std::optional<double> date;
    };
    for (const Row& row : {Row{"2020-01-02T03:04:05+0130", 1577928845}, Row{"2020-01-02T03:04:05-01:00", 1577937845},
                           Row{"2020-01-02T03:04:05.123456Z", 1577934245}, Row{"2020", std::nullopt},
                           Row{"1904-01-01T00:00:00Z", std::nullopt}, Row{"2020-13-02T03:04:05Z", std::nullopt}}) {
        const auto attributes = made("a.mkv", {.entries = {{"com.apple.quicktime.creationdate", row.text}}});
        const auto* const date = attributes->find(u"kMDItemContentCreationDate");
        ASSERT_EQ(date != nullptr, row.date.has_value()) << row.text;
        if (date != nullptr) {
            EXPECT_EQ(*date, Value(Date::fromUnixSeconds(*row.date))) << row.text;
        }
    }
    const auto attributes = made("a.mkv", {.entries = {{"location", "+48.1371-011.5754+519.000/"}}});
    EXPECT_EQ(*attributes->find(u"kMDItemLatitude"), Value(48.1371));
    EXPECT_EQ(*attributes->find(u"kMDItemLongitude"), Value(-11.5754));
    EXPECT_EQ(*attributes->find(u"kMDItemAltitude"), Value(519.0));
    EXPECT_FALSE(made("b.mkv", {.entries = {{"location", "+98-011/"}}})->contains(u"kMDItemLatitude"));
}

TEST_F(MovieImporterTest, OtherFilesAndDamageDoNoHarm) {
    EXPECT_FALSE(metaData("a.mp4", "this is no movie"));
    EXPECT_FALSE(metaData("b.avi", ""));
    ASSERT_TRUE(made("a.mkv", {.seconds = 2}));
    std::ostringstream text;
    text << std::ifstream(folder_.path() / "a.mkv", std::ios::binary).rdbuf();
    const std::string file = text.str();
    for (std::size_t length = 0; length < file.size(); length += file.size() / 50)
        (void)metaData("c.mkv", file.substr(0, length));
}

}  // namespace
}  // namespace quarry::test
