#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "markup/XmlExtensions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace halden {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

class XmlExtensions : public testing::Test {
protected:
    XmlExtensions() {
        setLogSink([this](LogLevel, std::string_view message) { messages_.emplace_back(message); });
    }
    ~XmlExtensions() override { setLogSink({}); }

    std::vector<std::string> messages_;
};

bool count(const Tag&, void* context) {
    ++*static_cast<int*>(context);
    return false;
}

bool fail(const Tag&, void*) {
    throw Exception("NSRangeException", "out of bounds");
}

TEST_F(XmlExtensions, ScanAsTheFunctionDoes) {
    int calls = 0;
    std::u16string string = u"a<b>";
    EXPECT_TRUE(parseXmlWithHandler(string, count, &calls));
    EXPECT_TRUE(parseXmlWithHandler(&string, count, &calls));
    EXPECT_EQ(calls, 4);
    EXPECT_FALSE(parseXmlWithHandler(u"", count, &calls));
    EXPECT_FALSE(parseXmlWithHandler(static_cast<std::u16string*>(nullptr), count, &calls));
    EXPECT_EQ(calls, 4);
    EXPECT_TRUE(messages_.empty());
}

TEST_F(XmlExtensions, LogWhatHandlersThrow) {
    std::u16string string = u"a<b>";
    EXPECT_FALSE(parseXmlWithHandler(string, fail, nullptr));
    EXPECT_FALSE(parseXmlWithHandler(&string, fail, nullptr));
    EXPECT_FALSE(parseXmlWithHandler(
        string, [](const Tag&, void*) -> bool { throw 5; }, nullptr));
    ASSERT_EQ(messages_.size(), 3U);
    constexpr const char* kHead = "parseXmlWithHandler:context:mutable: (NSString):\n";
    EXPECT_THAT(messages_[0], StartsWith(std::string(kHead) + "NSRangeException\nout of bounds\n"));
    EXPECT_GT(messages_[0].size(), std::string(kHead).size() + 40) << "no call stack";
    EXPECT_EQ(messages_[1].substr(0, 80), messages_[0].substr(0, 80));
    EXPECT_THAT(messages_[2], StartsWith(std::string(kHead) + "int\n"));
}

TEST_F(XmlExtensions, OptimizedXmlIsTheStringItself) {
    std::u16string string(100, u'x');
    const char16_t* units = string.data();
    EXPECT_EQ(optimizedXml(std::move(string)).data(), units);
}

}  // namespace
}  // namespace halden
