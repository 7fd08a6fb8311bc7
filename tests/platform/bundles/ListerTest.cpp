#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/bundles/Paths.h"
#include "platform/plists/PropertyList.h"
#include "platform/process/Task.h"
#include "tests/importers/TestBundles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(Lister, ListsTheUsersImportersBeforeTheSystems) {
    const quarry::test::TemporaryFolder folder;
    for (const char* name : {"B.mdimporter", "a.MDIMPORTER", "caf\xE9.mdimporter"}) {
        folder.write(std::string("data/quarry/Spotlight/") + name + "/Contents/Info.plist", "");
    }
    folder.write("home/Applications/App/Contents/Library/Spotlight/C.mdimporter/Contents/Info.plist", "");
    Pipe pipe;
    Task lister;
    lister.setLaunchPath(QUARRY_BUILD_PREFIX "/libexec/quarry/mdimport");
    lister.setArguments({"-L"});
    lister.setEnvironmentVariable("XDG_DATA_HOME", folder / "data");
    lister.setEnvironmentVariable("HOME", folder / "home");
    lister.setStandardError(pipe);
    lister.launch();
    const std::string output(pipe.readDataToEndOfFile().view());
    lister.waitUntilExit();
    EXPECT_EQ(lister.terminationStatus(), 0);

    const std::size_t list = output.find("(\n");
    ASSERT_NE(list, std::string::npos);
    EXPECT_GT(list, 0U);  // after a line of its own
    const auto paths = propertyListFromData(Data::copying(output.substr(list)));
    ASSERT_TRUE(paths && paths->is<Array>());
    std::vector<std::string> listed;
    for (const Value& path : *paths->as<Array>())
        listed.push_back(*pathBytesFromString(*path.as<std::u16string>()));
    const std::string user = folder / "data/quarry/Spotlight/";
    ASSERT_GE(listed.size(), 4U);
    EXPECT_EQ(listed[0], user + "B.mdimporter");
    EXPECT_EQ(listed[1], user + "a.MDIMPORTER");
    EXPECT_EQ(listed[2], user + "caf\xE9.mdimporter");
    EXPECT_THAT(listed, ::testing::Contains(folder / "home/Applications/App/Contents/Library/Spotlight/C.mdimporter"));
}

TEST(Paths, TheLibraryFolderIsFoundOnce) {
    setenv("XDG_DATA_HOME", "relative", 1);  // invalid: counts as none
    setenv("HOME", "/home/somebody", 1);
    EXPECT_EQ(libraryDirectory(), u"/home/somebody/.local/share/quarry");
    setenv("XDG_DATA_HOME", "/data", 1);
    EXPECT_EQ(pathInLibraryDirectory(u"Spotlight"), u"/home/somebody/.local/share/quarry/Spotlight");
}

}  // namespace
}  // namespace halden
