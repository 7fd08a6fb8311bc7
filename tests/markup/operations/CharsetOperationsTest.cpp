#include "foundation/Log.h"
#include "markup/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(CharsetOperations, HaveTheirShapes) {
    setLogSink([](LogLevel, std::string_view) {});
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"charset2CFStringEncoding", R"("Shift_JIS")", "2561"},
        {"charset2CFStringEncoding", "null", "4294967295"},
        {"charset2NSStringEncoding", R"("foo-bar")", "4294967295"},
        {"NSEncodingFromName", R"("x-kam-cs")", "4294967280"},
        {"NSEncodingFromName", "null", "0"},
        {"macEncoding", R"("farsi")", "140"},
        {"headerCharset", R"("text/html; charset=utf-8")", R"("utf-8")"},
        {"headerCharset", R"("text/html")", "null"},
        {"headerEncoding", R"("text/html; charset=utf-8")", "4"},
        {"headerRefresh", R"("5; URL=/a;b")", R"("/a;b")"},
        {"refreshInterval", R"("5; URL=/a")", "5"},
        {"markupCharset", R"("<meta charset=koi8-r>")", R"("koi8-r")"},
        {"markupCharset", R"("")", R"("")"},
        {"markupCharsetRange", R"("a<meta charset=koi8-r>")", "[1, 21]"},
        {"markupCharsetRange", R"("a")", "[null, 0]"},
        {"markupEncoding", R"("a")", "4294967295"},
        {"defaultURLEncoding", R"("a")", "4"},
        {"tryToCreateStringWithEncoding", R"({"base64": "YYE="}, 1280)", R"({"result": "a�", "errors": 1})"},
        {"tryToCreateStringWithEncoding", R"({"base64": "/w=="}, 134217984)", R"({"result": null, "errors": 0})"},
        {"initWithData:encoding:", R"({"base64": "YYE="}, 12)", "null"},
        {"initWithKamenickyData:", R"({"base64": "qQ=="})", R"("ř")"},
        {"initWithKoi8cs2Data:", R"({"base64": "0g=="})", R"("ř")"},
        {"stringWithMarkupData:encodingName:defaultEncoding:URL:", R"({"base64": "wQ=="}, "koi8-r", 4, null)",
         R"("а")"},
        {"stringWithMarkupData:encodingName:defaultEncoding:URL:", R"(null, null, 4, "http://a/")", R"("")"},
        {"stringWithMarkupData:defaultEncoding:", R"({"base64": "6Q=="}, 5)", R"("é")"},
        {"stringWithMarkupData:contentType:defaultEncoding:", R"({"base64": "wQ=="}, "text/html; charset=koi8-r", 4)",
         R"("а")"},
        {"markupData", R"("é")", R"({"base64": "JmVhY3V0ZTs="})"},
        {"markupData:", R"("é")", R"({"result": {"base64": "JmVhY3V0ZTs="}, "encoding": 1})"},
        {"markupData:", R"("<meta charset=koi8-r>中")", R"({"result": null, "encoding": 2147486210})"},
        {"markupData:", "null", R"({"result": {"base64": ""}, "encoding": 1})"},
        {"PropertyListFileTypes", "",
         R"(["plist", "PLIST", "scriptsuite", "scriptSuite", "scriptterminology", "scriptTerminology", "strings", "sdef"])"},
        {"isHTMLExtension:", R"("Php?a")", "true"},
        {"isHTMLExtension:", "null", "false"},
        {"isMarkupFile:", R"("/a/b.rss")", "true"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(charsetOperations(), c.operation, c.arguments), c.result) << c.operation << ' ' << c.arguments;
    setLogSink({});
}

}  // namespace
}  // namespace halden::operations
