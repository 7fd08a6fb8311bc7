// What a hostile client may send: the server goes on, and the sender learns of it.
#include "platform/ipc/RootObject.h"
#include "tests/platform/ipc/EchoService.h"
#include "tests/platform/ipc/ForgedMessages.h"
#include "tests/platform/ipc/RawClient.h"
#include "tests/platform/ipc/ServerProcess.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <random>
#include <thread>

namespace halden::testing {
namespace {

class BadMessagesTest : public ::testing::Test {
protected:
    void start(std::vector<std::string> arguments = {}) {
        server_ = std::make_unique<ServerProcess>(folder_.path(), std::move(arguments));
    }

    // Another client is served as ever, by the same process.
    void expectServing() {
        const auto root = connectTo(folder_.path());
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->processIdentifier(), server_->pid());
        EXPECT_EQ(EchoServiceProxy(root).echoString(u"still here"), u"still here");
    }

    GPointer<GDBusConnection> connect() {
        const std::string address = "unix:path=" + folder_.path() + "/EchoService.sock";
        return GPointer<GDBusConnection>(g_dbus_connection_new_for_address_sync(
            address.c_str(), G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr, nullptr, nullptr));
    }

    // The name of the error that the call ends with; empty when it succeeds.
    static std::string errorOf(GDBusConnection* connection, const char* interface, const char* member, GVariant* body,
                               GUnixFDList* descriptors = nullptr) {
        GErrorSlot error;
        const GPointer<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_sync(
            connection, nullptr, kRootObjectPath, interface, member, body, nullptr, G_DBUS_CALL_FLAGS_NONE, 20000,
            descriptors, nullptr, nullptr, &error));
        if (reply) return {};
        const GPointer<char> name(g_dbus_error_get_remote_error(error.get()));
        return name ? name.get() : error.message();
    }

    TemporaryFolder folder_;
    std::unique_ptr<ServerProcess> server_;
};

constexpr const char* kInvalidArguments = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr const char* kEcho = "org.quarry.EchoService1";

TEST_F(BadMessagesTest, ForgedValuesAreAnsweredWithAnError) {
    start();
    const auto connection = connect();
    ASSERT_NE(connection, nullptr);
    for (const auto& message : forgedMessages()) {
        SCOPED_TRACE(message.name);
        // The same value, where one is required and where it may be nil.
        EXPECT_EQ(errorOf(connection.get(), kEcho, "EchoArray", message.body.get(), message.descriptors.get()),
                  kInvalidArguments);
        const GPointer<GVariant> value(g_variant_get_child_value(message.body.get(), 0));
        GVariant* const elements[] = {value.get()};
        GVariant* const list = g_variant_new_array(G_VARIANT_TYPE_VARIANT, elements, 1);
        EXPECT_EQ(errorOf(connection.get(), kEcho, "Echo", g_variant_new_tuple(&list, 1), message.descriptors.get()),
                  kInvalidArguments);
    }
    expectServing();
}

TEST_F(BadMessagesTest, WrongArgumentsAreAnsweredWithAnError) {
    start();
    const auto connection = connect();
    ASSERT_NE(connection, nullptr);
    const auto error = [&](const char* member, const char* body) {
        return errorOf(connection.get(), kEcho, member, g_variant_parse(nullptr, body, nullptr, nullptr, nullptr));
    };
    EXPECT_EQ(error("EchoString", "()"), kInvalidArguments);
    EXPECT_EQ(error("EchoString", "('a',)"), kInvalidArguments);
    EXPECT_EQ(error("EchoString", "(<'a'>, <'b'>)"), kInvalidArguments);
    EXPECT_EQ(error("EchoString", "(<true>,)"), kInvalidArguments);
    EXPECT_EQ(error("EchoString", "(<@ay []>,)"), kInvalidArguments);
    EXPECT_EQ(error("EchoData", "([<'a'>],)"), kInvalidArguments);
    EXPECT_EQ(error("EchoData", "([<@ay []>, <@ay []>],)"), kInvalidArguments);
    EXPECT_EQ(error("EchoDictionary", "(<@av []>,)"), kInvalidArguments);
    EXPECT_EQ(error("AreMarked", "(@av [], <true>, false)"), kInvalidArguments);
    EXPECT_EQ(error("Nonesuch", "()"), "org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_EQ(errorOf(connection.get(), "org.quarry.Nonesuch", "Echo", nullptr),
              "org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_EQ(errorOf(connection.get(), kRootObjectInterface, "RespondsToSelector", g_variant_new("(i)", 1)),
              kInvalidArguments);
    EXPECT_EQ(error("EchoString", "(<'a'>,)"), "");
    expectServing();
}

TEST_F(BadMessagesTest, DescriptorsThatNobodyAskedForAreClosed) {
    start();
    const auto connection = connect();
    ASSERT_NE(connection, nullptr);
    // More than the server may have open at a time.
    for (int i = 0; i < 200; ++i) {
        std::vector<int> descriptors;
        for (int j = 0; j < 10; ++j)
            descriptors.push_back(memoryFile(1, 0));
        const auto list = descriptorList(std::move(descriptors));
        ASSERT_EQ(
            errorOf(connection.get(), kEcho, "EchoString", g_variant_new("(v)", g_variant_new_string("a")), list.get()),
            "");
    }
    expectServing();
}

TEST_F(BadMessagesTest, GarbageIsHungUpOn) {
    start({"request-timeout", "3"});
    const std::string good = callBytes("EchoString", g_variant_new("(v)", g_variant_new_string("a")), 1);
    std::string longBody = good;
    longBody.replace(4, 4, "\xFF\xFF\xFF\x7F");
    std::string deep;
    for (int i = 0; i < 200; ++i)
        deep += '(';
    const std::string cases[] = {
        std::string(64, '\0'),
        std::string(64, 'l'),
        "GET / HTTP/1.1\r\n\r\n",
        longBody,
        good.substr(0, 1) + "\x09" + good.substr(2),  // a message type of its own is ignored, what follows is not
        std::string(4096, '\xFF'),
        deep};
    for (const auto& bytes : cases) {
        RawClient client(folder_.path());
        client.authenticate();
        client.send(bytes);
        client.send(std::string(256, '\xFE'));
        EXPECT_TRUE(client.isHungUp(20)) << bytes.substr(0, 20);
    }
    RawClient beforeHandshake(folder_.path());
    beforeHandshake.send(good);
    EXPECT_TRUE(beforeHandshake.isHungUp(20));
    expectServing();
}

TEST_F(BadMessagesTest, DamagedMessagesDoNotEndTheServer) {
    start();
    std::mt19937 random(1);
    GVariant* const nest = g_variant_parse(
        nullptr, "([<{'a': <[<int64 1>, <'text'>, <@aq [1, 2]>, <(byte 0x64, handle 0, uint64 0, uint64 9)>]>}>],)",
        nullptr, nullptr, nullptr);
    const GPointer<GVariant> body(g_variant_ref_sink(nest));
    for (int round = 0; round < 300; ++round) {
        std::string bytes = callBytes("Echo", body.get(), 1);
        for (auto flips = random() % 4; flips < 4; ++flips)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        RawClient client(folder_.path());
        client.authenticate();
        client.send(bytes);
    }
    expectServing();
}

TEST_F(BadMessagesTest, AClientThatNeverReadsIsDropped) {
    start({"reply-timeout", "0.4"});
    RawClient client(folder_.path());
    client.authenticate();
    for (unsigned serial = 1; serial <= 8; ++serial)
        client.send(callBytes("MakeStrings", g_variant_new("(v)", g_variant_new_int64(20000)), serial));
    EXPECT_TRUE(client.isHungUp(30));
    expectServing();
}

TEST_F(BadMessagesTest, AClientThatReadsInTimeIsKept) {
    start({"reply-timeout", "0.3"});
    const auto root = connectTo(folder_.path());
    ASSERT_NE(root, nullptr);
    EchoServiceProxy echo(root);
    // Longer than several time-outs, with the server idle, working and answering.
    for (int i = 0; i < 3; ++i) {
        (void)echo.makeStrings(20000);
        (void)echo.sleep(0.5);
    }
    EXPECT_TRUE(root->isValid());
}

TEST_F(BadMessagesTest, AClientThatDoesNotAuthenticateIsDropped) {
    start({"request-timeout", "0.3"});
    RawClient client(folder_.path());
    EXPECT_TRUE(client.isHungUp(30));
    expectServing();
}

TEST_F(BadMessagesTest, ManyClientsDoNotTakeAllDescriptors) {
    start();
    expectServing();
    const rlimit few{64, 64};
    ASSERT_EQ(prlimit(server_->pid(), RLIMIT_NOFILE, &few, nullptr), 0);
    {
        std::vector<std::unique_ptr<RawClient>> clients;
        for (int i = 0; i < 100; ++i)
            clients.push_back(std::make_unique<RawClient>(folder_.path()));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    for (int tries = 0; connectTo(folder_.path()) == nullptr && tries < 200; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    expectServing();
}

TEST_F(BadMessagesTest, WaitingRequestsDoNotTakeAllDescriptors) {
    start();
    const auto connection = connect();
    ASSERT_NE(connection, nullptr);
    const auto send = [&](const char* member, GVariant* body, GUnixFDList* descriptors) {
        const GPointer<GDBusMessage> message(g_dbus_message_new_method_call(nullptr, kRootObjectPath, kEcho, member));
        g_dbus_message_set_body(message.get(), body);
        if (descriptors != nullptr) g_dbus_message_set_unix_fd_list(message.get(), descriptors);
        g_dbus_connection_send_message(connection.get(), message.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                       nullptr);
    };
    send("Sleep", g_variant_new("(v)", g_variant_new_double(1)), nullptr);
    const auto descriptors = descriptorList({memoryFile(1, 0)});
    for (int i = 0; i < 200; ++i)
        send("EchoString", g_variant_new("(v)", g_variant_new_string("a")), descriptors.get());
    for (int tries = 0; g_dbus_connection_is_closed(connection.get()) == FALSE && tries < 200; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(g_dbus_connection_is_closed(connection.get()));
    expectServing();
}

TEST_F(BadMessagesTest, AClientThatFloodsIsDropped) {
    start();
    RawClient client(folder_.path());
    client.authenticate();
    client.send(callBytes("Sleep", g_variant_new("(v)", g_variant_new_double(1)), 1));
    const std::string call = callBytes("EchoString", g_variant_new("(v)", g_variant_new_string("a")), 2);
    for (int i = 0; i < 2000; ++i)
        client.send(call);
    EXPECT_TRUE(client.isHungUp(30));
    expectServing();
}

}  // namespace
}  // namespace halden::testing
