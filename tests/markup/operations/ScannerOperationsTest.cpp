#include "markup/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(ScannerOperations, HaveTheirShapes) {
    constexpr std::string_view kCalls =
        R"({"result": true, "calls": [{"kind": 1, "name": [2, 1], "tag": [1, 3], "text": 0}, )"
        R"({"kind": 0, "name": [null, 0], "tag": [5, 0], "text": 4}]})";
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"GetTagsOfString", R"("a<b>c", false)", kCalls},
        {"GetTagsOfString", R"("a<b>c", true)", kCalls},
        {"GetTagsOfString", R"(null, true)", R"({"result": false, "calls": []})"},
        {"parseXmlWithHandler:context:mutable:", R"("a<b>c", true)", kCalls},
        {"parseXmlWithHandler:context:mutable:", R"("", false)", R"({"result": false, "calls": []})"},
        {"optimizedXml", R"("a<b>c")", R"("a<b>c")"},
        {"getXmlTags", R"("a<b>c")", R"(["<b>"])"},
        {"getXmlContents", R"("a<b>c")", R"(["a", "c"])"},
        {"getXml", R"("a<b>c")", R"([{"Tag": "<b>", "Content": "a"}, {"Tag": "", "Content": "c"}])"},
        {"getXmlTags:", R"("a<b>c")", R"({"tags": [[1, 3], [5, 0]], "count": 2})"},
        {"getXmlContents:", R"("a<b>c")", R"({"contents": [[0, 1], [4, 1]], "count": 2})"},
        {"getXml::", R"("<b>")", R"({"tags": [[0, 3], [3, 0]], "contents": [[0, 0], [3, 0]], "count": 2})"},
        {"isTagOpenCharacters:range:", R"("a<br/>", [1, 5])", "true"},
        {"isTagOpenCharacters:range:", R"(null, [1, 5])", "false"},
        {"isTagClosedCharacters:range:", R"("a<br/>", [1, 5])", "true"},
        {"isTagClosed", R"("<br>")", "false"},
        {"isMetaTag", R"("<![a ]>")", "true"},
        {"isRemarkTagInRange:", R"("a<!-- -->", [1, 8])", "true"},
        {"nameOfTag", R"("<br>")", R"("br")"},
        {"nameOfTag", R"("<1>")", "null"},
        {"nameOfTag::", R"("<br/>")", R"({"result": "br", "open": true, "closed": true})"},
        {"nameOfTagInRange:::", R"("a</p>", [1, 4])", R"({"result": "p", "open": false, "closed": true})"},
        {"nameOfTagInStringRange", R"("a<p>", 1, 3)", R"("p")"},
        {"attributeOfTagCharacters:length:withName:", R"("<a href=x>", "HREF")", R"("x")"},
        {"attributeOfTagCharacters:range:withName:", R"("-<a href=x>", [1, 10], "HREF")", R"("x")"},
        {"rangeOfAttributeOfTagCharacters:length:withName:", R"("<a href=x>", "HREF")", "[8, 1]"},
        {"rangeOfAttributeOfTagCharacters:range:withName:", R"("-<a href=x>", [1, 10], "SRC")", "[null, 0]"},
        {"_attributeOfTagCharactersWithName", R"("<m content='<b>'>", [0, 17], "CONTENT", true)", R"("<b>")"},
        {"_attributeOfTagCharactersWithName", R"("<m content='<b>'>", [0, 17], "CONTENT", false)", R"("<b")"},
        {"attributeOfTagWithName:", R"("<a href=x>", "HREF")", R"("x")"},
        {"attributeOfStyleInRange:withName:", R"("-width:1;", [1, 8], "WIDTH")", R"("1")"},
        {"getTagWidth:height:", R"("<img width=12>")", R"({"result": true, "width": 12, "height": 0})"},
        {"getTagWidth:height:characters:range:", R"("<img width=12>", [0, 13])",
         R"({"result": true, "width": 12, "height": 0})"},
        {"backgroundStyleURLOfTagCharacters:length:", R"("<p style='background: url(a) no-repeat'>")", R"("a")"},
        {"backgroundStyleURLOfTagCharacters:length:", "null", "null"},
        {"_copyOfAttributeOfString", R"("a; charset=b;", "CHARSET", "'", true, true)", R"("b")"},
        {"_copyOfAttributeOfString", R"("charset=b", "CHARSET", "", true, true)",
         "error: argument 3 is not one character"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(scannerOperations(), c.operation, c.arguments), c.result) << c.operation << " " << c.arguments;
}

}  // namespace
}  // namespace halden::operations
