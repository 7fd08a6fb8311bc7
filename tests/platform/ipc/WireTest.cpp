#include "platform/ipc/WireDecoder.h"
#include "platform/ipc/WireEncoder.h"
#include "tests/platform/ipc/ForgedMessages.h"
#include "tests/platform/ipc/RandomValues.h"
#include "tests/platform/ipc/ServerProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cmath>

namespace halden::testing {
namespace {

const ProtocolArgument kValue{"value", ArgumentType::value, false};
const ProtocolArgument kNullableValue{"value", ArgumentType::value, true};

WireMessage encode(const Value& value) {
    const std::optional<Value> argument = value;
    return encodeMessage({&kValue, 1}, {&argument, 1});
}

Value decode(const WireMessage& message) {
    return decodeMessage({&kValue, 1}, message.body.get(), message.descriptors.get())[0].value();
}

Value roundTrip(const Value& value) {
    return decode(encode(value));
}

std::string printed(const WireMessage& message) {
    const GPointer<char> text(g_variant_print(message.body.get(), TRUE));
    return text.get();
}

TEST(WireTest, HasTheDocumentedForms) {
    const std::pair<Value, const char*> cases[] = {
        {Null{}, "(<(byte 0x00,)>,)"},
        {true, "(<true>,)"},
        {-7, "(<int64 -7>,)"},
        {0.5, "(<0.5>,)"},
        {Date{1.5}, "(<(1.5,)>,)"},
        {u"\u00E4\xD83D\xDE00", "(<'\u00E4\U0001F600'>,)"},
        {Value(std::u16string(1, u'\0')), "(<[uint16 0]>,)"},
        {u"a\xD800", "(<[uint16 97, 55296]>,)"},
        {Data::copying(std::string_view("ab")), "(<[byte 0x61, 0x62]>,)"},
        {Array{1, Array{}}, "(<[<int64 1>, <@av []>]>,)"},
        {Dictionary{{u"b", 1}, {u"a", 2}}, "(<{'b': <int64 1>, 'a': <int64 2>}>,)"},
        {Dictionary{{u"b", 1}, {u"\xDC00", 2}}, "(<[(<'b'>, <int64 1>), (<[uint16 56320]>, <int64 2>)]>,)"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(printed(encode(value)), text);
    const std::optional<Value> nil;
    EXPECT_EQ(printed(encodeMessage({&kNullableValue, 1}, {&nil, 1})), "(@av [],)");
}

TEST(WireTest, RandomValuesComeBackEqual) {
    for (unsigned seed = 0; seed < 2000; ++seed) {
        RandomValues random(seed);
        const Value value = random.value(6);
        EXPECT_EQ(roundTrip(value), value) << "seed " << seed;
    }
}

TEST(WireTest, KeepsTheOrderOfKeysAndTheBitsOfNaN) {
    const Value value = Dictionary{{u"z", 1}, {u"a", std::nan("")}, {u"m", 3}};
    const Value back = roundTrip(value);
    const auto* entry = back.as<Dictionary>()->begin();
    EXPECT_EQ(entry[0].key, u"z");
    EXPECT_EQ(entry[1].key, u"a");
    EXPECT_TRUE(std::isnan(*entry[1].value.as<double>()));
    EXPECT_EQ(entry[2].key, u"m");
}

TEST(WireTest, MovesToOneSealedFileAboveAMebibyte) {
    const Data half(std::vector<std::uint8_t>(kMaxInlinePayload / 2));
    const Value atLimit = Array{half, half};
    EXPECT_EQ(encode(atLimit).descriptors, nullptr);
    const Value above = Array{half, half, std::u16string(40000, u'\xD800'), u"x", std::u16string(600, u'y')};
    const WireMessage message = encode(above);
    ASSERT_NE(message.descriptors, nullptr);
    int count = 0;
    const int* const files = g_unix_fd_list_peek_fds(message.descriptors.get(), &count);
    ASSERT_EQ(count, 1);
    const int seals = fcntl(files[0], F_GET_SEALS);
    EXPECT_EQ(seals & (F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL),
              F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
    EXPECT_NE(fcntl(files[0], F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(decode(message), above);
}

TEST(WireTest, ManySmallBlobsAreWrittenWhole) {
    // More parts than the system takes in one call.
    RandomValues random(7);
    Array parts;
    for (int i = 0; i < 3000; ++i) {
        std::u16string text(512 + random.number(100), static_cast<char16_t>(i));
        parts.emplace_back(std::move(text));
        parts.emplace_back(Data(std::vector<std::uint8_t>(kMinBlob + random.number(9), static_cast<std::uint8_t>(i))));
    }
    EXPECT_EQ(roundTrip(parts), Value(parts));
}

TEST(WireTest, LargeDataKeepTheMappingAlive) {
    Value data;
    {
        const WireMessage message = encode(Data(std::vector<std::uint8_t>(3 << 20, 0x41)));
        data = decode(message);
    }
    EXPECT_EQ(*data.as<Data>(), Data(std::vector<std::uint8_t>(3 << 20, 0x41)));
}

Value nested(int depth, const std::u16string& key) {
    Value value = std::u16string(3 << 20, u'x');
    for (int i = 0; i < depth; ++i) {
        if (key.empty()) {
            value = Array{std::move(value)};
        } else {
            value = Dictionary{{key, std::move(value)}};
        }
    }
    return value;
}

TEST(WireTest, LimitsDepthInBothDirections) {
    for (const std::u16string key : {u"", u"key", u"\xD800"}) {
        EXPECT_EQ(roundTrip(nested(kMaxWireDepth, key)), nested(kMaxWireDepth, key));
        EXPECT_EQ(failureOf([&] { (void)encode(nested(kMaxWireDepth + 1, key)); }), ConnectionFailure::tooLarge);
    }
}

TEST(WireTest, LimitsTheBody) {
    EXPECT_EQ(failureOf([] { (void)encode(Array(kMaxWireBody / 32, Value(1))); }), ConnectionFailure::tooLarge);
    const std::u16string longKey(kMaxWireBody / 3, u'k');
    EXPECT_EQ(failureOf([&] { (void)encode(Dictionary{{longKey, 1}}); }), ConnectionFailure::tooLarge);
    // As values, strings have all the room of the memory file.
    EXPECT_EQ(roundTrip(std::u16string(kMaxWireBody, u'v')), Value(std::u16string(kMaxWireBody, u'v')));
}

TEST(WireTest, TakesAHundredThousandKeysAndTheLastOfEqualOnes) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
    for (int i = 0; i < 200000; ++i) {
        const std::string key = std::to_string(i % 100000);
        g_variant_builder_add(&builder, "{sv}", key.c_str(), g_variant_new_int64(i));
    }
    GVariant* const body = g_variant_new("(v)", g_variant_builder_end(&builder));
    const Value value = decode({GPointer<GVariant>(g_variant_ref_sink(body)), nullptr});
    ASSERT_EQ(value.as<Dictionary>()->size(), 100000u);
    EXPECT_EQ(*value.as<Dictionary>()->find(u"99999"), Value(199999));
}

TEST(WireTest, RefusesForgedMessages) {
    const auto messages = forgedMessages();
    ASSERT_GT(messages.size(), 35u);
    for (const auto& message : messages) {
        SCOPED_TRACE(message.name);
        EXPECT_EQ(failureOf([&] {
                      (void)decodeMessage({&kValue, 1}, message.body.get(), message.descriptors.get());
                  }),
                  ConnectionFailure::badMessage);
    }
}

TEST(WireTest, RefusesWhatTheProtocolDoesNotSay) {
    const auto decodeText = [](const ProtocolArgument& type, const char* text) {
        const GPointer<GVariant> body(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
        return decodeMessage({&type, 1}, body.get(), nullptr);
    };
    const ProtocolArgument string{"string", ArgumentType::string, false};
    const ProtocolArgument flag{"flag", ArgumentType::flag, false};
    for (const char* text : {"(<1.5>,)", "('plain',)", "(@av [],)", "(<'a'>, <'b'>)", "()"})
        EXPECT_EQ(failureOf([&] { (void)decodeText(string, text); }), ConnectionFailure::badMessage) << text;
    EXPECT_EQ(failureOf([&] { (void)decodeText(flag, "(<true>,)"); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)decodeText(kNullableValue, "([<1.5>, <2.5>],)"); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)decodeMessage({&string, 1}, nullptr, nullptr); }), ConnectionFailure::badMessage);
    EXPECT_EQ(decodeText(string, "(<'a'>,)")[0], Value(u"a"));
}

TEST(WireTest, EncodesOnlyWhatTheProtocolSays) {
    const ProtocolArgument string{"string", ArgumentType::string, false};
    const std::optional<Value> nil;
    const std::optional<Value> number = 1;
    EXPECT_EQ(failureOf([&] { (void)encodeMessage({&string, 1}, {&nil, 1}); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)encodeMessage({&string, 1}, {&number, 1}); }), ConnectionFailure::badMessage);
    EXPECT_EQ(failureOf([&] { (void)encodeMessage({&string, 1}, {}); }), ConnectionFailure::badMessage);
}

}  // namespace
}  // namespace halden::testing
