#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "importers/ImporterDiscovery.h"
#include "platform/plists/PropertyList.h"
#include "tests/importers/TestBundles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using test::makeBundle;
using test::TemporaryFolder;
using Paths = std::vector<std::u16string>;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

std::u16string pathString(const fs::path& path) {
    return halden::stringFromPathBytes(path.string());
}

class ImporterDiscoveryTest : public ::testing::Test {
protected:
    ImporterDiscoveryTest() {
        for (const char* name : {"user", "local", "system", "apps"})
            fs::create_directory(folder_ / name);
        locations_.userFolder = pathString(folder_ / "user");
        locations_.localFolder = pathString(folder_ / "local");
        locations_.systemFolder = pathString(folder_ / "system");
        locations_.applicationDirectories = {pathString(folder_ / "apps")};
        halden::setLogSink([this](halden::LogLevel, std::string_view line) { log_.emplace_back(line); });
    }
    ~ImporterDiscoveryTest() override { halden::setLogSink({}); }

    std::u16string bundle(const std::string& where, const std::string& dynamicRegistration = {}) {
        const fs::path path = folder_ / where;
        return pathString(makeBundle(path.parent_path(), path.filename(), "",
                                     {.types = {"public.x"}, .dynamicRegistration = dynamicRegistration}));
    }

    /// A lister that prints `output` on standard error.
    void listerPrints(const std::string& output) {
        folder_.write("output", output);
        const fs::path lister = folder_.write(
            "lister", "#!/bin/sh\n[ \"$1\" = -L ] || exit 1\n/bin/cat '" + (folder_ / "output").string() + "' >&2\n");
        fs::permissions(lister, fs::perms::owner_all);
        locations_.lister = lister;
    }
    void listerLists(const Paths& paths) { listerPrints("list:\n" + halden::oldTextPropertyListOfStrings(paths)); }

    TemporaryFolder folder_;
    halden::ImporterLocations locations_;
    std::vector<std::string> log_;
};

TEST_F(ImporterDiscoveryTest, FoldersComeInOrderEachReversed) {
    const auto elsewhere = bundle("elsewhere/E");
    const auto a = bundle("user/A");
    const auto system = bundle("system/S");
    const auto b = bundle("user/B");
    const auto local = bundle("local/L");
    const auto further = bundle("elsewhere/F");
    listerLists({elsewhere, a, system, b, local, further});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(b, a, local, system, elsewhere, further));
}

TEST_F(ImporterDiscoveryTest, ThePrefixTestLooksForNoSeparator) {
    const auto lookAlike = bundle("userX/A");
    const auto local = bundle("local/L");
    listerLists({local, lookAlike});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(lookAlike, local));
}

TEST_F(ImporterDiscoveryTest, DynamicRegistrationDropsAnImporterOnEitherPath) {
    const auto plain = bundle("local/A", "<string>NO</string>");
    const auto byBoolean = bundle("local/B", "<true/>");
    const auto byString = bundle("local/C", "<string>YES</string>");
    const auto elsewhere = bundle("elsewhere/D", "<true/>");
    listerLists({plain, byBoolean, byString, elsewhere});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(plain));
    listerPrints("");
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(plain));
}

TEST_F(ImporterDiscoveryTest, TheMailImporterIsRescuedOnlyForALister) {
    const auto mail = bundle("system/Mail");
    const auto other = bundle("elsewhere/O");
    listerLists({other});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(other, mail));
    EXPECT_THAT(log_, ElementsAre("Added: " + (folder_ / "system/Mail.mdimporter").string()));
    log_.clear();
    listerLists({other, mail});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(mail, other));
    EXPECT_TRUE(log_.empty());
}

TEST_F(ImporterDiscoveryTest, WithoutAListTheFoldersAreScannedApplicationsFirst) {
    const auto user = bundle("user/U");
    const auto local = bundle("local/L");
    const auto system = bundle("system/S");
    const auto carried = bundle("apps/Some.app/Contents/Library/Spotlight/C");
    bundle("apps/NotHere");                                           // directly in the folder: not looked at
    folder_.write("apps/file/Contents/Library/Spotlight", "a file");  // no folder at that place
    for (const char* output :
         {"", "nothing parseable", "(\n)\n", "(\n\"unfinished", "list: (\"x\")", "(\n\"caf\xC3\xA9\"\n)"}) {
        listerPrints(output);
        EXPECT_THAT(discoverImporters(locations_), ElementsAre(carried, user, local, system)) << output;
    }
}

TEST_F(ImporterDiscoveryTest, TheExtensionIsComparedIgnoringCase) {
    const auto lower = bundle("local/A");
    fs::rename((folder_ / "local/A.mdimporter"), folder_ / "local/A.MDImporter");
    folder_.write("local/B.txt", "");
    listerPrints("");
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(pathString(folder_ / "local/A.MDImporter")));
}

TEST_F(ImporterDiscoveryTest, OutputThatIsNoUtf8EndsTheSearch) {
    bundle("user/U");
    listerPrints("(\n\"\xFF\"\n)\n");
    EXPECT_TRUE(discoverImporters(locations_).empty());
}

TEST_F(ImporterDiscoveryTest, AListLongerThanAPipeHoldsIsReadToItsEnd) {
    Paths paths;
    for (int i = 0; i < 5000; ++i)
        paths.push_back(u"/nowhere/" + std::u16string(60, u'x') + u".mdimporter");
    listerLists(paths);
    EXPECT_EQ(discoverImporters(locations_).size(), paths.size());
}

TEST_F(ImporterDiscoveryTest, SomethingLeftRunningByTheListerIsNotWaitedFor) {
    // It would hold the pipe open for as long as this test may last.
    locations_.lister =
        folder_.write("lister", "#!/bin/sh\n/bin/sleep 600 &\necho $! >'" + (folder_ / "left").string() +
                                    "'\nprintf '(\\n\"/nowhere/A.mdimporter\"\\n)\\n' >&2\n");
    fs::permissions(locations_.lister, fs::perms::owner_all);
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(u"/nowhere/A.mdimporter"));
    pid_t left = 0;
    std::ifstream(folder_ / "left") >> left;
    ASSERT_GT(left, 0);
    EXPECT_EQ(kill(left, SIGKILL), 0) << "it ended before";
}

TEST_F(ImporterDiscoveryTest, PathsThatAreNoUtf8ComeThroughTheList) {
    const auto odd = bundle("user/caf\xE9");
    listerLists({odd});
    EXPECT_THAT(discoverImporters(locations_), ElementsAre(odd));
}

TEST_F(ImporterDiscoveryTest, AListerThatCannotBeStartedRaises) {
    locations_.lister = folder_ / "missing";
    EXPECT_THROW((void)discoverImporters(locations_), halden::Exception);
}

TEST_F(ImporterDiscoveryTest, ATildeIsExpandedForListingOnly) {
    bundle("Applications/Some.app/Contents/Library/Spotlight/C");
    setenv("HOME", folder_.path().c_str(), 1);
    Paths importers;
    loadPluginsFromApplicationsDirectory(importers, u"~/Applications");
    EXPECT_TRUE(importers.empty());
    // Taken as it is written: a folder called "~" in the working folder.
    const fs::path before = fs::current_path();
    fs::current_path(folder_.path());
    bundle("~/Applications/Some.app/Contents/Library/Spotlight/D");
    loadPluginsFromApplicationsDirectory(importers, u"~/Applications");
    fs::current_path(before);
    EXPECT_THAT(importers, ElementsAre(u"~/Applications/Some.app/Contents/Library/Spotlight/D.mdimporter"));
}

}  // namespace
}  // namespace quarry
