#include "foundation/Path.h"
#include "platform/bundles/Bundle.h"
#include "platform/bundles/DirectoryContents.h"
#include "platform/bundles/PlugIn.h"
#include "tests/importers/TestBundles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

namespace fs = std::filesystem;
using quarry::test::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

std::u16string pathString(const fs::path& path) {
    return stringFromPathBytes(path.string());
}

std::string plist(const std::string& entries) {
    return "<plist><dict>" + entries + "</dict></plist>";
}

TEST(Bundle, IsAFolderWhateverItsInfoSays) {
    const TemporaryFolder folder;
    EXPECT_FALSE(Bundle::bundleWithPath(pathString(folder / "missing")));
    EXPECT_FALSE(Bundle::bundleWithPath(pathString(folder.write("file.mdimporter", ""))));
    for (const char* info : {"", "no property list", "<plist><array/></plist>"}) {
        folder.write("a.mdimporter/Contents/Info.plist", info);
        const auto bundle = Bundle::bundleWithPath(pathString(folder / "a.mdimporter"));
        ASSERT_TRUE(bundle) << info;
        EXPECT_TRUE(bundle->infoDictionary().empty());
    }
}

TEST(Bundle, BooleansAreSpelledInManyWays) {
    const TemporaryFolder folder;
    const std::pair<const char*, bool> rows[] = {
        {"<true/>", true},
        {"<false/>", false},
        {"<string>YES</string>", true},
        {"<string>no</string>", false},
        {"<string>Yes</string>", true},
        {"<integer>1</integer>", true},
        {"<integer>0</integer>", false},
        {"<real>0.5</real>", true},
        {"<string> +01</string>", true},
        {"<string>0</string>", false},
        {"<string>t</string>", true},
        {"<array/>", false},
    };
    for (const auto& [xml, expected] : rows) {
        folder.write("a.mdimporter/Contents/Info.plist", plist(std::string("<key>k</key>") + xml));
        const auto bundle = Bundle::bundleWithPath(pathString(folder / "a.mdimporter"));
        EXPECT_EQ(bundle->boolForInfoDictionaryKey(u"k"), expected) << xml;
        EXPECT_FALSE(bundle->boolForInfoDictionaryKey(u"absent"));
    }
}

TEST(Bundle, TheExecutableIsFoundUnderBothNamesAndNeverOutside) {
    const TemporaryFolder folder;
    folder.write("outside", "");
    folder.write("a.mdimporter/Contents/Linux/liba.so", "");
    const auto executable = [&](const std::string& name) {
        folder.write("a.mdimporter/Contents/Info.plist",
                     name.empty() ? plist("") : plist("<key>CFBundleExecutable</key><string>" + name + "</string>"));
        return Bundle::bundleWithPath(pathString(folder / "a.mdimporter"))->executablePath();
    };
    EXPECT_EQ(executable(""), (folder / "a.mdimporter/Contents/Linux/liba.so").string());
    folder.write("a.mdimporter/Contents/Linux/a", "");
    EXPECT_EQ(executable(""), (folder / "a.mdimporter/Contents/Linux/a").string());
    EXPECT_EQ(executable("other"), std::nullopt);
    EXPECT_EQ(executable("../../../outside"), std::nullopt);
    EXPECT_EQ(executable(".."), std::nullopt);
}

TEST(PlugIn, FactoriesAreFoundWhateverTheCaseOfIdentifiers) {
    const TemporaryFolder folder;
    const auto path = quarry::test::makeBundle(folder.path(), "Good", "Good", {.types = {"x"}});
    folder.write("Good.mdimporter/Contents/Info.plist",
                 plist("<key>CFPlugInTypes</key><dict><key>8b08c4bf-415b-11d8-b3f9-0003936726fc</key>"
                       "<string>0000000A-0000-0000-0000-000000000000</string></dict>"
                       "<key>CFPlugInFactories</key><dict><key>0000000a-0000-0000-0000-000000000000</key>"
                       "<string>makeTestImporter</string></dict>"));
    const auto plugIn = PlugIn::plugInWithPath(pathString(path));
    ASSERT_TRUE(plugIn);
    const Uuid type = *Uuid::fromString(u"8B08C4BF-415B-11D8-B3F9-0003936726FC");
    const auto factories = plugIn->factoriesForPlugInType(type);
    ASSERT_EQ(factories.size(), 1U);
    EXPECT_NE(plugIn->createInstance(factories[0], type), nullptr);
    EXPECT_EQ(plugIn->createInstance(type, type), nullptr);
    EXPECT_THAT(plugIn->factoriesForPlugInType(Uuid()), IsEmpty());
}

TEST(Uuid, OnlyTheTextFormIsRead) {
    EXPECT_EQ(Uuid::fromString(u"00000000-0000-0000-0000-0000000000Ff")->bytes[15], 0xFF);
    for (const auto text : {u"", u"00000000-0000-0000-0000-00000000000", u"00000000-0000-0000-0000-0000000000000",
                            u"00000000x0000-0000-0000-000000000000", u"0000000g-0000-0000-0000-000000000000"}) {
        EXPECT_FALSE(Uuid::fromString(text));
    }
}

TEST(DirectoryContents, ExtensionsCompareIgnoringCase) {
    const TemporaryFolder folder;
    for (const char* name : {"a.TXT", "b.txt", "c", "d.text", ".txt", "caf\xE9.txt"})
        folder.write(name, "");
    const auto path = pathString(folder.path());
    EXPECT_THAT(directoryContentsAtPath(path, u"txt"), UnorderedElementsAre(u"a.TXT", u"b.txt", u"caf\xDCE9.txt"));
    EXPECT_THAT(directoryContentsAtPath(path, u"text", EntryForm::fullPath), ElementsAre(path + u"/d.text"));
    EXPECT_EQ(directoryContentsAtPath(path).size(), 6U);
    EXPECT_THAT(directoryContentsAtPath(path, std::nullopt), IsEmpty());
    EXPECT_THAT(directoryContentsAtPath(u"/nowhere", u"txt"), IsEmpty());
}

}  // namespace
}  // namespace halden
