// What the importer of sound reports.
#include "foundation/Unicode.h"
#include "tests/importers/system/SystemBundles.h"
#include "tests/platform/movies/MadeMovie.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;
using halden::Value;
using halden::testing::makeMovie;
using halden::testing::makeMp3;
using halden::testing::textFrame;

class AudioImporterTest : public SystemBundles {
protected:
    [[nodiscard]] auto tagged(const std::string& frames, int seconds = 1) const {
        return metaData("a.mp3", makeMp3({.seconds = seconds, .frames = frames}));
    }
};

TEST_F(AudioImporterTest, ReportsTagsAndSound) {
    const auto attributes =
        tagged(textFrame("TIT2", "A  title\x01") + textFrame("TPE1", "Ann") + textFrame("TALB", "Album") +
                   textFrame("TCOM", "Cy") + textFrame("TEXT", "Di") + textFrame("TCON", "Jazz") +
                   textFrame("TYER", "2004") + textFrame("TRCK", "3/12") + textFrame("TBPM", "120") +
                   textFrame("TCOP", "2004 Ed") + textFrame("TPUB", "Press"),
               2);
    ASSERT_TRUE(attributes);
    const Dictionary expected{{u"kMDItemTitle", u"A title"},
                              {u"kMDItemAlbum", u"Album"},
                              {u"kMDItemComposer", u"Cy"},
                              {u"kMDItemLyricist", u"Di"},
                              {u"kMDItemMusicalGenre", u"Jazz"},
                              {u"kMDItemCopyright", u"2004 Ed"},
                              {u"kMDItemAuthors", Array{u"Ann"}},
                              {u"kMDItemPublishers", Array{u"Press"}},
                              {u"kMDItemRecordingYear", 2004},
                              {u"kMDItemAudioTrackNumber", 3},
                              {u"kMDItemTempo", 120},
                              {u"kMDItemAudioBitRate", 128000},
                              {u"kMDItemTotalBitRate", 128000},
                              {u"kMDItemAudioSampleRate", 32000},
                              {u"kMDItemAudioChannelCount", 1},
                              {u"kMDItemMediaTypes", Array{u"Sound"}}};
    for (const auto& [key, value] : expected) {
        ASSERT_TRUE(attributes->contains(key)) << halden::utf8FromUtf16(key);
        EXPECT_EQ(*attributes->find(key), value) << halden::utf8FromUtf16(key);
    }
    EXPECT_EQ(attributes->size(), expected.size() + 1);
    EXPECT_NEAR(*attributes->find(u"kMDItemDurationSeconds")->as<double>(), 2, 0.1);
}

TEST_F(AudioImporterTest, ADayIsADateAndLyricsAreText) {
    const auto attributes =
        tagged(textFrame("TDRC", "2004-05-06") + textFrame("USLT", std::string("eng\0", 4) + "La\rla\x02"));
    EXPECT_EQ(*attributes->find(u"kMDItemRecordingYear"), Value(2004));
    EXPECT_EQ(*attributes->find(u"kMDItemRecordingDate"), Value(Date::fromUnixSeconds(1083801600)));
    EXPECT_EQ(stringOf(attributes, u"kMDItemTextContent"), u"La\nla");
}

TEST_F(AudioImporterTest, WhatIsNotKnownIsLeftOut) {
    const auto attributes = tagged(textFrame("TIT2", "") + textFrame("TRCK", "B2") + textFrame("TYER", "0"));
    ASSERT_TRUE(attributes);
    for (const auto* key : {u"kMDItemTitle", u"kMDItemAudioTrackNumber", u"kMDItemRecordingYear", u"kMDItemAuthors"})
        EXPECT_FALSE(attributes->contains(key)) << halden::utf8FromUtf16(key);
    EXPECT_FALSE(metaData("b.mp3", "this is no sound"));
    EXPECT_FALSE(metaData("c.flac", "fLaC"));
    EXPECT_FALSE(metaData("d.m4a", ""));
}

TEST_F(AudioImporterTest, OtherKindsOfFiles) {
    for (const char* name : {"a.wav", "a.aiff"}) {
        const auto path = folder_.write(name, "");
        makeMovie(path, {.seconds = 2, .isSound = true});
        const auto attributes = metaDataOf(path);
        ASSERT_TRUE(attributes) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemDurationSeconds"), Value(2.0)) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemAudioSampleRate"), Value(8000)) << name;
        EXPECT_EQ(*attributes->find(u"kMDItemAudioBitRate"), Value(128000)) << name;
    }
}

TEST_F(AudioImporterTest, DamageDoesNoHarm) {
    const std::string file = makeMp3({.cover = true, .frames = textFrame("TIT2", "Title")});
    for (std::size_t length = 0; length < file.size(); length += 997) {
        (void)metaData("a.mp3", file.substr(0, length));
        std::string damaged = file;
        damaged[length] = static_cast<char>(damaged[length] ^ 0xFF);
        (void)metaData("b.mp3", damaged);
    }
}

}  // namespace
}  // namespace quarry::test
