#include "platform/ipc/Connection.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/ipc/RunLoop.h"
#include "tests/platform/ipc/EchoService.h"
#include "tests/platform/ipc/ServerProcess.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace halden::testing {
namespace {

using std::chrono::steady_clock;

class ConnectionTest : public ::testing::Test {
protected:
    void start(std::vector<std::string> arguments = {}) {
        server_ = std::make_unique<ServerProcess>(folder_.path(), std::move(arguments));
        root_ = connectTo(folder_.path());
        ASSERT_NE(root_, nullptr);
        echo_ = std::make_unique<EchoServiceProxy>(root_);
    }

    // The answer of a second connection to one call, on a thread of its own.
    template <class Body>
    std::thread other(Body body) {
        return std::thread([this, body] {
            const auto root = connectTo(folder_.path());
            ASSERT_NE(root, nullptr);
            EchoServiceProxy echo(root);
            body(echo);
        });
    }

    TemporaryFolder folder_;
    std::unique_ptr<ServerProcess> server_;
    std::shared_ptr<RootProxy> root_;
    std::unique_ptr<EchoServiceProxy> echo_;
};

TEST_F(ConnectionTest, CarriesEachKindOfArgumentAndResult) {
    start();
    EXPECT_EQ(echo_->echo(std::nullopt), std::nullopt);
    EXPECT_EQ(echo_->echo(Value()), Value());
    EXPECT_EQ(echo_->echo(Value(Dictionary())), Value(Dictionary()));
    EXPECT_EQ(echo_->echoString(u"\u00E4"), u"\u00E4");
    EXPECT_EQ(echo_->echoData(std::nullopt), std::nullopt);
    EXPECT_EQ(echo_->echoData(Data()), Data());
    EXPECT_EQ(echo_->echoArray({1, u"2", 3.5}), (Array{1, u"2", 3.5}));
    EXPECT_EQ(echo_->areMarked(std::nullopt, {.second = true}), u"nil-+");
    EXPECT_EQ(echo_->areMarked(u"http://x/", {.first = true}), u"http://x/+-");
}

TEST_F(ConnectionTest, TellsItsPeerAndItsVersion) {
    start();
    EXPECT_EQ(root_->processIdentifier(), server_->pid());
    EXPECT_EQ(root_->version(), QUARRY_VERSION);
    EXPECT_TRUE(root_->isValid());
}

}  // namespace
}  // namespace halden::testing
