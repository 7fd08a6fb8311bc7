// `quarry importer`: what it writes, and what it finds wrong.
#include "tests/importers/TestBundles.h"
#include "tests/tools/CommandRun.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(ImporterCommand, NewWritesAProjectOnce) {
    const Surroundings surroundings;
    const Outcome outcome = surroundings.run({"importer", "new", "Notes"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "Notes/CMakeLists.txt\nNotes/Info.plist\nNotes/importer.c\n");
    for (const char* file : {"CMakeLists.txt", "Info.plist", "importer.c"})
        EXPECT_TRUE(fs::exists(surroundings.folder() / "Notes" / file));
    EXPECT_EQ(surroundings.run({"importer", "new", "Notes"}).status, 1);
    for (const char* name : {"../x", "a b", "9a", "a\"b"})
        EXPECT_EQ(surroundings.run({"importer", "new", name}).status, 1) << name;
    EXPECT_EQ(surroundings.run({"importer", "newer", "Notes"}).status, 2);
    EXPECT_EQ(surroundings.run({"importer", "new"}).status, 2);
}

TEST(ImporterCommand, CheckShowsWhatIsInOrder) {
    const Surroundings surroundings;
    const auto bundle = makeBundle(surroundings.folder(), "Good", "First", infoForExtension("first"));
    const std::string sample = surroundings.write("a.first", "x");
    const Outcome outcome = surroundings.run({"importer", "check", bundle.string(), sample});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(outcome.out, HasSubstr("ok       reads org.quarry.test.first\n"));
    EXPECT_THAT(outcome.out, HasSubstr("ok       integer: 42\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("PROBLEM")));
}

TEST(ImporterCommand, CheckSaysWhatIsWrong) {
    const Surroundings surroundings;
    BundleInfo untyped = infoForExtension("x");
    untyped.types = {};
    BundleInfo dynamic = infoForExtension("x");
    dynamic.dynamicRegistration = "<true/>";
    BundleInfo unmade = infoForExtension("x");
    unmade.factories = {"noSuchFunction"};
    const struct {
        const char *name, *executable;
        BundleInfo info;
        const char *sample, *problem;
    } cases[] = {
        {"Untyped", "Good", untyped, "", "lists a content type"},
        {"Dynamic", "Good", dynamic, "", "CFPlugInDynamicRegistration"},
        {"Unmade", "Good", unmade, "", "no factory makes an instance"},
        {"Other", "Good", infoForExtension("x"), "a.txt", "which the bundle does not read"},
        {"Missing", "Good", infoForExtension("x"), "none.x", "cannot be reached"},
        {"Empty", "FillsNothing", infoForExtension("x"), "a.x", "fills nothing"},
        {"Crash", "Aborts", infoForExtension("x"), "a.x", "crashed"},
    };
    surroundings.write("a.txt", "x");
    surroundings.write("a.x", "x");
    for (const auto& row : cases) {
        const auto bundle = makeBundle(surroundings.folder(), row.name, row.executable, row.info);
        std::vector<std::string> words{"importer", "check", bundle.string()};
        if (*row.sample != '\0') words.push_back((surroundings.folder() / row.sample).string());
        const Outcome outcome = surroundings.run(words);
        EXPECT_EQ(outcome.status, 1) << row.name;
        EXPECT_THAT(outcome.out, HasSubstr("PROBLEM")) << row.name;
        EXPECT_THAT(outcome.out, HasSubstr(row.problem)) << row.name;
    }
    const auto broken = makeBundle(surroundings.folder(), "Broken", "Good", infoForExtension("x"));
    fs::resize_file(broken / "Contents/Linux/Broken", 100);
    EXPECT_THAT(surroundings.run({"importer", "check", broken.string()}).out, HasSubstr("cannot be loaded"));
    fs::remove(broken / "Contents/Linux/Broken");
    EXPECT_THAT(surroundings.run({"importer", "check", broken.string()}).out, HasSubstr("has no executable"));
    const fs::path info = broken / "Contents/Info.plist";
    std::ostringstream text;
    text << std::ifstream(info).rdbuf();
    const std::string whole = text.str();
    const std::size_t factory = whole.find("<key>", whole.find("CFPlugInFactories") + 1) + 5;
    const std::pair<std::string, const char*> infos[] = {
        {std::string(whole).replace(factory, 4, "ZZZZ"), "is no UUID"},
        {std::string(whole).replace(factory, 4, "ABCD"), "has no factory"},
        {whole.substr(0, 50), "is no property list"},
    };
    for (const auto& [bytes, problem] : infos) {
        std::ofstream(info) << bytes;
        EXPECT_THAT(surroundings.run({"importer", "check", broken.string()}).out, HasSubstr(problem)) << bytes;
    }
    fs::remove(info);
    EXPECT_THAT(surroundings.run({"importer", "check", broken.string()}).out, HasSubstr("Info.plist is missing"));
    EXPECT_THAT(surroundings.run({"importer", "check", "/nowhere"}).out, HasSubstr("no such folder"));
}

}  // namespace
}  // namespace quarry::test
