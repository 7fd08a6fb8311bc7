#include "foundation/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(EncodingOperations, HaveTheirShapes) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"CFStringConvertEncodingToNSStringEncoding", "134217984", "4"},
        {"CFStringConvertEncodingToNSStringEncoding", "4660", "4294967295"},
        {"CFStringConvertNSStringEncodingToEncoding", "2147486016", "2368"},
        {"CFStringConvertNSStringEncodingToEncoding", "8", "1056"},
        {"CFStringIsEncodingAvailable", "513", "true"},
        {"CFStringIsEncodingAvailable", "1", "false"},
        {"initUnicodeConverters", "", "null"},
        {"convertUTF8ToUnicode", R"({"base64": "YcOp"}, 8)", R"({"result": 0, "string": "aé"})"},
        {"convertUTF8ToUnicode", R"({"base64": "YcOp"}, 1)", R"({"result": -8785, "string": "a"})"},
        {"convertUTF8ToUnicode", R"({"base64": "Yf8="}, 8)", R"({"result": -8739, "string": "a"})"},
        {"convertUnicodeToUTF8", R"("aé", 8)", R"({"result": 0, "data": {"base64": "YcOp"}})"},
        {"convertUnicodeToUTF8", R"("aé", 2)", R"({"result": -8785, "data": {"base64": "YQ=="}})"},
        {"convertEncodingToUnicode", R"({"base64": "wQ=="}, 2562, 8)", R"({"result": 1, "string": "а"})"},
        {"convertEncodingToUnicode", R"({"base64": "Yf8="}, 134217984, 8)", R"({"result": 0, "string": "a"})"},
        {"convertEncodingToUnicode", R"({"base64": "YQ=="}, 1, 8)", R"({"result": -8749, "string": ""})"},
        {"convertUTF8ToUnicode", R"({"base64": ""}, 4294967295)", "error: the capacity is too large"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(encodingOperations(), c.operation, c.arguments), c.result) << c.operation << ' ' << c.arguments;
}

}  // namespace
}  // namespace halden::operations
