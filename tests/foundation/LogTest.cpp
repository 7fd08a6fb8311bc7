#include "foundation/Log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace halden {
namespace {

TEST(Log, TheSinkTakesEveryMessage) {
    std::vector<std::string> messages;
    setLogSink([&](LogLevel, std::string_view message) { messages.emplace_back(message); });
    logError("one");
    logDebug("two\nlines");
    EXPECT_TRUE(isLogged(LogLevel::debug));
    setLogSink({});
    EXPECT_EQ(messages, (std::vector<std::string>{"one", "two\nlines"}));
}

// Each test is a process of its own, so that the variable is read here for the first time.
TEST(Log, TheVariableNamesLevelAndFile) {
    const std::string path = std::filesystem::temp_directory_path() / ("quarry-log-" + std::to_string(getpid()));
    setenv("QUARRY_LOG", ("warning," + path).c_str(), 1);
    logError("kept");
    logWarning("kept as well");
    logInfo("dropped");
    EXPECT_FALSE(isLogged(LogLevel::info));
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    std::filesystem::remove(path);
    EXPECT_EQ(text.str(), "foundation_tests: error: kept\nfoundation_tests: warning: kept as well\n");
}

}  // namespace
}  // namespace halden
