#include "client/RespondsToListener.h"
#include "foundation/Log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quarry {
namespace {

TEST(RespondsToListener, LogsWhatItDoesNotRespondTo) {
    std::vector<std::string> lines;
    halden::setLogSink([&](halden::LogLevel, std::string_view line) { lines.emplace_back(line); });
    const auto listener = RespondsToListener::sharedInstance();
    EXPECT_EQ(RespondsToListener::sharedInstance(), listener);
    EXPECT_TRUE(listener->respondsToSelector(u"respondsToSelector:"));
    EXPECT_FALSE(listener->respondsToSelector(u"webView:didStartLoad:"));
    halden::setLogSink({});
    EXPECT_EQ(lines, std::vector<std::string>{"webView:didStartLoad:"});
}

}  // namespace
}  // namespace quarry
