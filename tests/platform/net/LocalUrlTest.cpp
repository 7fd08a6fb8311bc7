#include "platform/net/LocalUrl.h"

#include <gtest/gtest.h>

#include <chrono>

namespace halden {
namespace {

bool isLocal(const char16_t* url) {
    return isLocalURL(URLWithString(url).value());
}

TEST(LocalUrlTest, WhatHasNoHostIsLocal) {
    EXPECT_TRUE(isLocal(u"file:///etc/hosts"));
    EXPECT_TRUE(isLocal(u"file://example.org/x"));
    EXPECT_TRUE(isLocal(u"data:text/plain,x"));
    EXPECT_TRUE(isLocal(u"about:blank"));
    EXPECT_TRUE(isLocal(u"http:///path"));
    EXPECT_TRUE(isLocal(u"relative/path"));
}

TEST(LocalUrlTest, ThisMachineIsLocal) {
    EXPECT_TRUE(isLocal(u"http://localhost/"));
    EXPECT_TRUE(isLocal(u"http://127.0.0.1:8080/"));
    EXPECT_TRUE(isLocal(u"http://127.9.9.9/"));
    EXPECT_EQ(connectionFlagsForHost("127.0.0.1") & 0x10002u, 0x10002u);
}

TEST(LocalUrlTest, WhatLiesBehindARouterIsRemote) {
    // Set aside for documentation: either there is no route, or it leads through a gateway.
    EXPECT_FALSE(isLocal(u"http://203.0.113.1/"));
    EXPECT_FALSE(isLocal(u"http://198.51.100.7/"));
    EXPECT_FALSE(isLocal(u"http://[2001:db8::1]/"));
    EXPECT_FALSE(isLocal(u"http://[::ffff:203.0.113.1]/"));
}

TEST(LocalUrlTest, UnknownNamesHaveNoFlags) {
    EXPECT_EQ(connectionFlagsForHost("no-such-host.invalid"), 0u);
    EXPECT_EQ(connectionFlagsForHost(""), 0u);
    EXPECT_EQ(connectionFlagsForHost(nullptr), 0u);
    EXPECT_EQ(connectionFlagsForHost("a b"), 0u);
    EXPECT_FALSE(isLocal(u"http://no-such-host.invalid/"));
}

}  // namespace
}  // namespace halden
