#include "tools/MemoryGroup.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace quarry::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = 1024 * 1024;

/// A child that takes `megabytes` once it is told to, and ends with status 0 if it lives.
pid_t childThatTakes(int megabytes, int& start) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char unit = 0;
        ::close(ends[1]);
        if (::read(ends[0], &unit, 1) < 0) ::_exit(1);
        for (int i = 0; i < megabytes; ++i) {
            void* const block = std::malloc(kMegabyte);
            if (block == nullptr) ::_exit(2);
            std::memset(block, i + 1, kMegabyte);
        }
        ::_exit(0);
    }
    ::close(ends[0]);
    start = ends[1];
    return child;
}

TEST(MemoryGroup, BoundsItsProcessesWhereTheSystemLetsUs) {
    for (const bool isTooMuch : {false, true}) {
        auto group = MemoryGroup::makeHere(64 * kMegabyte);
        if (!group) GTEST_SKIP() << "no group for memory is handed to us";
        int start = -1;
        const pid_t child = childThatTakes(isTooMuch ? 300 : 8, start);
        EXPECT_TRUE(group->take(child));
        ::close(start);
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, isTooMuch);
        EXPECT_EQ(group->hasKilled(), isTooMuch);
    }
}

TEST(MemoryGroup, IsNoneWhereNoneIsHandedToUs) {
    const fs::path root = fs::path(::testing::TempDir()) / ("groups-" + std::to_string(::getpid()));
    fs::create_directories(root / "service/inner");
    std::ofstream(root / "service/inner/cgroup.controllers") << "cpu io\n";
    std::ofstream(root / "service/inner/cgroup.subtree_control") << "cpu memory_recursiveprot\n";
    for (const char* groups : {"", "0::/service/inner\n", "0::/\n", "0::/../outside\n", "3:cpu,memory:/gone\n0::/\n",
                               "4:memory:/../x\n0::/service/inner\n", "no lines\n:\n::\n", "0::relative\n"}) {
        EXPECT_FALSE(MemoryGroup::make(root, groups, kMegabyte)) << groups;
    }
    // Memory is handed on, but this is no file system of groups: what was begun goes.
    std::ofstream(root / "service/cgroup.subtree_control") << "cpu memory\n";
    EXPECT_FALSE(MemoryGroup::make(root, "0::/service/inner\n", kMegabyte));
    std::size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        count += entry.is_directory() ? 1 : 0;
    EXPECT_EQ(count, 2U);
    fs::remove_all(root);
}

}  // namespace
}  // namespace quarry::tools
