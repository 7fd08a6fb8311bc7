// The bundle of movies stands alone, and loads its reader when there is something to read. Nothing of the reader's
// libraries is linked here.
#include "importers/ImporterPlugIn.h"
#include "tests/importers/system/SystemBundles.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace quarry::test {
namespace {

using namespace std::string_literals;

/// A second of silence in the form of old workstations: one channel, 8000 samples of 8 bits.
const std::string kSound = ".snd\0\0\0\x18\0\0\x1f\x40\0\0\0\x01\0\0\x1f\x40\0\0\0\x01"s + std::string(8000, '\x7f');

std::string contentsOf(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool isReaderLoaded() {
    return contentsOf("/proc/self/maps").find("libavformat") != std::string::npos;
}

class MovieBundleTest : public SystemBundles {
protected:
    /// A copy of the bundle, which is the one that the files below are read with.
    MovieBundleTest() {
        const std::filesystem::path installed = QUARRY_BUILD_PREFIX "/lib/quarry/Spotlight/Movie.mdimporter";
        std::filesystem::copy(installed, bundle_, std::filesystem::copy_options::recursive);
        locations_.systemFolder = halden::stringFromPathBytes((folder_ / "copied").string());
    }

    const std::filesystem::path bundle_ = [this] {
        std::filesystem::create_directory(folder_ / "copied");
        return folder_ / "copied" / "Movie.mdimporter";
    }();
};

TEST_F(MovieBundleTest, LoadsItsReaderForTheFirstFile) {
    ASSERT_NE(importerInterfaceOfBundle(halden::stringFromPathBytes(bundle_.string())), nullptr);
    EXPECT_FALSE(isReaderLoaded());
    const auto attributes = metaData("a.au", kSound);
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"kMDItemAudioSampleRate"), halden::Value(8000));
    EXPECT_TRUE(isReaderLoaded());
}

TEST_F(MovieBundleTest, SaysOnceThatItsReaderIsMissing) {
    std::filesystem::remove_all(bundle_ / "Contents" / "PlugIns");
    const auto log = folder_ / "log";
    setenv("QUARRY_LOG", ("warning," + log.string()).c_str(), 1);
    EXPECT_FALSE(metaData("a.au", kSound));
    EXPECT_FALSE(metaData("b.au", kSound));
    const std::string text = contentsOf(log);
    const auto message = text.find("movies are not imported: MovieReader.so is not installed");
    ASSERT_NE(message, std::string::npos) << text;
    EXPECT_EQ(text.find("movies are not imported", message + 1), std::string::npos) << text;
}

}  // namespace
}  // namespace quarry::test
