#include "foundation/Path.h"
#include "platform/bundles/PlugIn.h"
#include "platform/bundles/SharedObject.h"
#include "tests/importers/TestBundles.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace halden {
namespace {

namespace fs = std::filesystem;

/// What the loader itself says, in a process of its own: libraries that are loaded already would be found anywhere.
bool loads(const std::string& path) {
    const pid_t child = fork();
    if (child == 0) _exit(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(LibrarySearch, AgreesWithTheLoader) {
    const std::pair<const char*, bool> rows[] = {
        {"rpath.so", true},         // holds for what libouter needs, too
        {"rpath_braces.so", true},  // the second folder, the other spelling
        {"runpath.so", false},      // finds libouter; what that needs, it does not
        {"nowhere.so", false},
    };
    for (const auto& [name, expected] : rows) {
        const std::string path = std::string(QUARRY_BUILD_PREFIX "/tests/libraries/") + name;
        std::string reason;
        EXPECT_EQ(canLoadSharedObject(path, reason), expected) << name << ": " << reason;
        EXPECT_EQ(loads(path), expected) << name;
        if (std::string_view(name) == "runpath.so") {
            EXPECT_NE(reason.find("needs libinner.so"), std::string::npos) << reason;
        }
    }
}

TEST(LibrarySearch, ALibraryThatDoesNotFitIsPassedOver) {
    const quarry::test::TemporaryFolder folder;
    const fs::path built = QUARRY_BUILD_PREFIX "/tests/libraries";
    fs::copy(built, folder.path(), fs::copy_options::recursive);
    const std::string object = folder / "rpath.so";
    std::string reason;
    ASSERT_TRUE(canLoadSharedObject(object, reason)) << reason;
    fs::resize_file(folder / "lib/libinner.so", 100);
    EXPECT_FALSE(canLoadSharedObject(object, reason));
    EXPECT_NE(reason.find("needs libinner.so"), std::string::npos) << reason;
}

TEST(PlugIn, WhatIsLoadedIsNotLookedAtAgain) {
    const quarry::test::TemporaryFolder folder;
    const fs::path bundle = quarry::test::makeBundle(folder.path(), "Once", "Good", {.types = {"x"}});
    const std::u16string path = stringFromPathBytes(bundle.string());
    ASSERT_TRUE(PlugIn::plugInWithPath(path));
    // Put in place of it, as an installer does: the code in memory stays what it was.
    const fs::path executable = bundle / "Contents/Linux/Once";
    std::ofstream(folder / "new") << "no shared object";
    fs::rename(folder / "new", executable);
    EXPECT_TRUE(PlugIn::plugInWithPath(path));
    fs::remove(executable);
    EXPECT_FALSE(PlugIn::plugInWithPath(path));
}

}  // namespace
}  // namespace halden
