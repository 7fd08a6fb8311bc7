#include "platform/ipc/Connection.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/ipc/RunLoop.h"
#include "tests/platform/ipc/EchoService.h"
#include "tests/platform/ipc/RandomValues.h"
#include "tests/platform/ipc/ServerProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <thread>

namespace halden::testing {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class ConnectionTest : public ::testing::Test {
protected:
    void start(std::vector<std::string> arguments = {}) {
        server_ = std::make_unique<ServerProcess>(folder_.path(), std::move(arguments));
        root_ = connectTo(folder_.path());
        ASSERT_NE(root_, nullptr);
        echo_ = std::make_unique<EchoServiceProxy>(root_);
    }

    // The deepest nesting that is seen when a second request arrives while the first one runs the run loop.
    std::int64_t deepestOfTwoRequests(const std::shared_ptr<RootProxy>& second) {
        std::thread first([this] { (void)echo_->runLoopFor(1.5); });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const Value deepest = EchoServiceProxy(second).runLoopFor(0);
        first.join();
        return *deepest.as<std::int64_t>();
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
    EXPECT_EQ(echo_->echoDictionary({{u"a", 1}}), (Dictionary{{u"a", 1}}));
    EXPECT_EQ(echo_->echoArray({1, u"2", 3.5}), (Array{1, u"2", 3.5}));
    EXPECT_EQ(echo_->areMarked(std::nullopt, {.second = true}), u"nil-+");
    EXPECT_EQ(echo_->areMarked(u"http://x/", {.first = true}), u"http://x/+-");
}

TEST_F(ConnectionTest, RandomValuesCrossBothWaysAndComeBackEqual) {
    start();
    for (unsigned seed = 0; seed < 500; ++seed) {
        RandomValues random(seed);
        const Value value = random.value(7);
        ASSERT_EQ(echo_->echo(value), value) << "seed " << seed;
        const std::u16string string = random.string();
        ASSERT_EQ(echo_->echoString(string), string) << "seed " << seed;
    }
}

TEST_F(ConnectionTest, ThreeHundredMegabytesCrossBothWays) {
    start();
    std::vector<std::uint8_t> bytes(300'000'000);
    for (std::size_t i = 0; i < bytes.size(); i += 4096)
        bytes[i] = static_cast<std::uint8_t>(i >> 12);
    bytes.back() = 0xEE;
    const Data data(std::move(bytes));
    EXPECT_EQ(echo_->echoData(data), data);
    const std::u16string string(50'000'000, u'\xDC00');
    EXPECT_EQ(echo_->echoString(string), string);
}

TEST_F(ConnectionTest, TheDeepestValuesCross) {
    start();
    for (const std::u16string key : {u"", u"k", u"\xD800"}) {
        Value nest = std::u16string(2 << 20, u'x');
        for (int i = 0; i < 18; ++i) {
            if (key.empty()) {
                nest = Array{std::move(nest)};
            } else {
                nest = Dictionary{{key, std::move(nest)}};
            }
        }
        EXPECT_EQ(echo_->echo(nest), nest);
    }
}

TEST_F(ConnectionTest, TooLargeIsSaidBothWaysAndTheConnectionGoesOn) {
    start();
    EXPECT_NO_THROW((void)echo_->makeNest(18));
    EXPECT_EQ(failureOf([&] { (void)echo_->makeNest(19); }), ConnectionFailure::tooLarge);
    EXPECT_EQ(failureOf([&] { (void)echo_->makeStrings(2'000'000); }), ConnectionFailure::tooLarge);
    Value nest = 1;
    for (int i = 0; i < 19; ++i)
        nest = Array{std::move(nest)};
    EXPECT_EQ(failureOf([&] { (void)echo_->echo(nest); }), ConnectionFailure::tooLarge);
    EXPECT_EQ(failureOf([&] { (void)echo_->echoArray(Array(2'000'000, Value(1))); }), ConnectionFailure::tooLarge);
    EXPECT_EQ(echo_->echoString(u"on"), u"on");
}

TEST_F(ConnectionTest, TheLargestBodyCrosses) {
    start();
    // Just what the encoder allows: the transport must not hang up over it.
    const Array array(600'000, Value(u"sixteen letters."));
    EXPECT_EQ(echo_->echoArray(array), array);
    EXPECT_TRUE(root_->isValid());
}

TEST_F(ConnectionTest, TellsItsPeerAndItsVersion) {
    start();
    EXPECT_EQ(root_->processIdentifier(), server_->pid());
    EXPECT_EQ(root_->version(), QUARRY_VERSION);
    EXPECT_TRUE(root_->isValid());
}

TEST_F(ConnectionTest, AnswersWhichSelectorsItRespondsTo) {
    start();
    for (const char* selector : {"echo:", "areMarked:first:second:", "respondsToSelector:"})
        EXPECT_TRUE(root_->respondsToSelector(selector)) << selector;
    for (const char* selector : {"", "echo", "Echo", "metaDataForFile:", "stillBusy", "\xFF"})
        EXPECT_FALSE(root_->respondsToSelector(selector)) << selector;
    EXPECT_EQ(failureOf([&] { (void)root_->stillBusy(); }), ConnectionFailure::unknownMethod);
}

TEST_F(ConnectionTest, AsksWhetherItIsStillBusy) {
    start({"busy"});
    EXPECT_TRUE(root_->respondsToSelector("stillBusy"));
    for (const bool answer : {true, true, true, false, false})
        EXPECT_EQ(root_->stillBusy(), answer);
}

TEST_F(ConnectionTest, LearnsTheProtocolOfItsPeer) {
    start();
    EXPECT_EQ(root_->invoke("echoString:", {u"by selector"}), Value(u"by selector"));
    EXPECT_EQ(root_->invoke("EchoString", {u"by member"}), Value(u"by member"));
    EXPECT_EQ(root_->invoke("areMarked:first:second:", {std::nullopt, true, false}), Value(u"nil+-"));
    EXPECT_EQ(failureOf([&] { (void)root_->invoke("nonesuch:", {}); }), ConnectionFailure::unknownMethod);
    EXPECT_EQ(failureOf([&] { (void)root_->invoke("echoString:", {}); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)root_->invoke("echoString:", {1}); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)root_->invoke("echoString:", {std::nullopt}); }), ConnectionFailure::badMessage);
}

TEST_F(ConnectionTest, AProtocolThatThePeerLacksIsAnUnknownMethod) {
    start();
    root_->setProtocolForProxy(&haldenImExportProtocol());
    EXPECT_EQ(failureOf([&] { (void)root_->invoke("metaDataForFile:", {u"/x"}); }), ConnectionFailure::unknownMethod);
    HaldenImExportProxy helper(root_);
    EXPECT_EQ(failureOf([&] { (void)helper.supportsFile(u"/x"); }), ConnectionFailure::unknownMethod);
    root_->setProtocolForProxy(nullptr);
    EXPECT_EQ(root_->invoke("echoString:", {u"asked again"}), Value(u"asked again"));
}

TEST_F(ConnectionTest, AReplyOfTheWrongTypeIsRefused) {
    start();
    // The peer answers with a string, whatever we believe.
    for (const char* result : {"<arg type='v' direction='out'><annotation name='org.quarry.Type' value='data'/></arg>",
                               "<arg type='av' direction='out'/>", "<arg type='b' direction='out'/>"}) {
        const auto protocol = Protocol::fromIntrospection(
            std::string("<node><interface name='org.quarry.EchoService1'><method name='EchoString'>"
                        "<arg type='v' direction='in'/>") +
                result + "</method></interface></node>",
            "org.quarry.EchoService1");
        ASSERT_TRUE(protocol);
        root_->setProtocolForProxy(&*protocol);
        EXPECT_EQ(failureOf([&] { (void)root_->invoke("EchoString", {u"x"}); }), ConnectionFailure::badMessage)
            << result;
    }
    EXPECT_EQ(echo_->echoString(u"x"), u"x");
}

TEST_F(ConnectionTest, ExceptionsTravelWithNameAndReason) {
    start();
    struct Row {
        std::u16string kind;
        std::string name;
        std::string reason;
    };
    const Row rows[] = {
        {u"exception", "EchoException", "as asked: \xC3\xA4"},
        {u"standard", "std::out_of_range", "far out"},
        {u"number", "int", ""},
        {u"ill-formed", "Bad\xEF\xBF\xBDName", "nul\xEF\xBF\xBD inside"},
        {u"connection", "ConnectionTimedOut", "of another connection"},
    };
    for (const auto& row : rows) {
        try {
            (void)echo_->raise(row.kind);
            ADD_FAILURE();
        } catch (const ConnectionException& exception) {
            EXPECT_EQ(exception.failure(), ConnectionFailure::raised);
            EXPECT_EQ(exception.name(), row.name);
            EXPECT_EQ(exception.reason(), row.reason);
        }
    }
    EXPECT_FALSE(echo_->raise(u"nothing"));
}

TEST_F(ConnectionTest, ADeadPeerIsSeenAtOnce) {
    for (const int signal : {SIGKILL, SIGABRT, SIGSEGV}) {
        start();
        root_->setReplyTimeout(100);
        const auto start = Clock::now();
        EXPECT_EQ(failureOf([&] { (void)echo_->endProcess(signal); }), ConnectionFailure::peerDied);
        EXPECT_LT(secondsSince(start), 50) << "must not wait for the time-out";
        EXPECT_FALSE(root_->isValid());
        EXPECT_EQ(failureOf([&] { (void)echo_->echoString(u"x"); }), ConnectionFailure::peerDied);
        EXPECT_EQ(failureOf([&] { (void)root_->stillBusy(); }), ConnectionFailure::peerDied);
        server_->wait();
        EXPECT_EQ(connectTo(folder_.path()), nullptr);
    }
}

TEST_F(ConnectionTest, AnIdlePeersDeathIsSeenWithoutACall) {
    start();
    server_->signal(SIGKILL);
    server_->wait();
    EXPECT_FALSE(root_->isValid());
}

TEST_F(ConnectionTest, ALateReplyIsATimeOutAndNoMore) {
    start();
    EXPECT_EQ(root_->replyTimeout(), 0);
    root_->setReplyTimeout(0.1);
    root_->setRequestTimeout(0.1);
    EXPECT_EQ(root_->requestTimeout(), 0.1);
    EXPECT_EQ(failureOf([&] { (void)echo_->sleep(0.5); }), ConnectionFailure::timedOut);
    EXPECT_TRUE(root_->isValid());
    root_->setReplyTimeout(0);
    root_->setRequestTimeout(0);
    EXPECT_EQ(echo_->echoString(u"next"), u"next");
    EXPECT_TRUE(echo_->sleep(0.3)) << "0 is no limit";
}

TEST_F(ConnectionTest, TheRequestTimeOutEndsWithTheSending) {
    start();
    root_->setRequestTimeout(0.1);
    EXPECT_TRUE(echo_->sleep(0.5)) << "sent long ago";
    root_->setReplyTimeout(100);
    server_->signal(SIGSTOP);
    // More than a socket holds, inline, so that it cannot be sent.
    const std::u16string large(400'000, u'x');
    const auto start = Clock::now();
    EXPECT_EQ(failureOf([&] { (void)echo_->echoString(large); }), ConnectionFailure::timedOut);
    EXPECT_LT(secondsSince(start), 50);
    server_->signal(SIGCONT);
    root_->setRequestTimeout(0);
    EXPECT_EQ(echo_->echoString(large), large);
}

TEST_F(ConnectionTest, AProxyOfAStoppedPeerCanBeLetGo) {
    start();
    root_->setRequestTimeout(0.1);
    root_->setReplyTimeout(100);
    server_->signal(SIGSTOP);
    const std::u16string large(400'000, u'x');
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(failureOf([&] { (void)echo_->echoString(large); }), ConnectionFailure::timedOut);
    echo_.reset();
    root_.reset();
}

std::ptrdiff_t openDescriptors(const std::string& process) {
    const std::filesystem::directory_iterator entries("/proc/" + process + "/fd");
    return std::distance(begin(entries), end(entries));
}

TEST_F(ConnectionTest, NothingIsLeftOfAProxy) {
    start();
    const Data data(std::vector<std::uint8_t>(2 << 20));
    const auto connectAndCall = [&] {
        const auto root = connectTo(folder_.path());
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(EchoServiceProxy(root).echoData(data), data);
    };
    for (int i = 0; i < 20; ++i)
        connectAndCall();
    const auto here = openDescriptors("self");
    const auto there = openDescriptors(std::to_string(server_->pid()));
    for (int i = 0; i < 300; ++i)
        connectAndCall();
    EXPECT_LE(openDescriptors("self"), here + 3);
    // The server may be a moment behind.
    for (int tries = 0; tries < 100 && openDescriptors(std::to_string(server_->pid())) > there + 3; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_LE(openDescriptors(std::to_string(server_->pid())), there + 3);
}

TEST_F(ConnectionTest, ConnectingDoesNotWaitForAnOperation) {
    start();
    std::atomic<bool> ended = false;
    std::thread busy([&] {
        (void)echo_->sleep(2);
        ended = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto second = connectTo(folder_.path());
    EXPECT_FALSE(ended);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(EchoServiceProxy(second).echoString(u"x"), u"x");
    EXPECT_TRUE(ended || server_->pid() > 0);
    busy.join();
}

TEST_F(ConnectionTest, RequestsAreServedOneAtATime) {
    start();
    const auto begin = Clock::now();
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([this] { (void)echo_->sleep(0.15); });
    for (auto& caller : callers)
        caller.join();
    EXPECT_GE(secondsSince(begin), 0.6);
}

TEST_F(ConnectionTest, RequestsAreDispatchedInsideAnOperationThatRunsTheRunLoop) {
    start();
    EXPECT_EQ(deepestOfTwoRequests(connectTo(folder_.path())), 2) << "of another client";
    EXPECT_EQ(deepestOfTwoRequests(root_), 2) << "of the same client";
}

TEST_F(ConnectionTest, QueueingHoldsThemBack) {
    start({"queueing"});
    EXPECT_EQ(deepestOfTwoRequests(connectTo(folder_.path())), 1);
}

TEST_F(ConnectionTest, ManyThreadsShareAProxy) {
    start();
    std::vector<std::thread> callers;
    std::atomic<int> wrong = 0;
    for (unsigned i = 0; i < 8; ++i) {
        callers.emplace_back([this, i, &wrong] {
            RandomValues random(i);
            for (int call = 0; call < 100; ++call) {
                const Value value = random.value(3);
                if (echo_->echo(value) != value) ++wrong;
            }
        });
    }
    for (auto& caller : callers)
        caller.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(ConnectionTest, ANameIsGivenUpWithTheConnection) {
    for (int round = 0; round < 3; ++round) {
        Connection connection;
        EXPECT_TRUE(connection.registerName(u"EchoService", folder_.path()));
        EXPECT_EQ(connection.socketPath(), folder_.path() + "/EchoService.sock");
        EXPECT_FALSE(connection.registerName(u"Second", folder_.path())) << "one name a connection";
        const auto root = connectTo(folder_.path());
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(failureOf([&] { (void)root->stillBusy(); }), ConnectionFailure::unknownMethod) << "no root object";
    }
    EXPECT_EQ(connectTo(folder_.path()), nullptr);
}

TEST_F(ConnectionTest, ServesTheRunLoopOfTheProcessItIsIn) {
    class Root : public RootObject {
    public:
        Root() : RootObject(haldenImExportProtocol()) {}
        std::optional<Value> invoke(std::size_t method, const Arguments&) override {
            return method == 9 ? std::optional<Value>(true) : std::nullopt;
        }
    };
    Connection connection;
    EXPECT_EQ(connection.requestTimeout(), 15);
    EXPECT_EQ(connection.replyTimeout(), 15);
    connection.setRootObject(std::make_shared<Root>());
    ASSERT_TRUE(connection.registerName(u"EchoService", folder_.path()));
    const RunLoop loop = RunLoop::currentRunLoop();
    std::thread caller([this, loop] {
        const auto root = connectTo(folder_.path());
        HaldenImExportProxy helper(root);
        EXPECT_TRUE(helper.supportsFile(u"/x"));
        EXPECT_EQ(helper.metaDataForFile(u"/x"), std::nullopt);
        EXPECT_EQ(helper.RTFDWithHTML(Data(), std::nullopt, u"utf-8", {.allowRemoteRequest = true}), std::nullopt);
        // A nullable result is no flag: the object's mistake is an error here, not a wrong answer.
        EXPECT_EQ(failureOf([&] { (void)helper.writeRTFDDataToFile(Data(), u"/x"); }), ConnectionFailure::tooLarge);
        loop.stop();
    });
    loop.run();
    caller.join();
}

std::string outputOf(const std::string& command) {
    std::string text;
    FILE* const output = popen((command + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, output))
        text.append(buffer, length);
    pclose(output);
    return text;
}

TEST_F(ConnectionTest, OrdinaryToolsCanTalkToIt) {
    if (outputOf("gdbus help").find("Usage") == std::string::npos) GTEST_SKIP() << "needs gdbus";
    start();
    const std::string where = " --address unix:path=" + folder_.path() + "/EchoService.sock --dest org.quarry.Any" +
                              " --object-path /QuarryHelper";
    const std::string description = outputOf("gdbus introspect" + where);
    EXPECT_NE(description.find("interface org.quarry.EchoService1"), std::string::npos) << description;
    EXPECT_NE(description.find("readonly s Version = '" QUARRY_VERSION "'"), std::string::npos) << description;
    const std::string call = "gdbus call" + where + " --method org.quarry.";
    EXPECT_EQ(outputOf(call + "EchoService1.EchoString \"<'text'>\""), "(<'text'>,)\n");
    EXPECT_EQ(outputOf(call + "EchoService1.Echo '@av []'"), "(@av [],)\n");
    EXPECT_EQ(outputOf(call + "RootObject1.RespondsToSelector echo:"), "(true,)\n");
    const std::string raised = outputOf(call + "EchoService1.Raise \"<'exception'>\"");
    EXPECT_NE(raised.find("org.quarry.Error.Raised: EchoException: as asked"), std::string::npos) << raised;
}

}  // namespace
}  // namespace halden::testing
