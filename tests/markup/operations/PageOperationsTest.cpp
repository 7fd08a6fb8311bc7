#include "markup/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(PageOperations, HaveTheirShapes) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"htmlLinksBaseURL:", R"("<base href=http://h/><a href=b><a href=a>")",
         R"({"result": ["b", "a"], "baseURL": "http://h/"})"},
        {"htmlLinksContaining:useRelNoFollow:baseURL:", R"("<a href=b>next</a>", "next", true)",
         R"({"result": ["b"], "baseURL": null})"},
        {"htmlLinksContaining:useRelNoFollow:baseURL:", R"("<a href=b>next</a>", null, false)",
         R"({"result": ["b"], "baseURL": null})"},
        {"filteredHtmlLinksBaseURL:handler:context:", R"("<a href=b>next</a><a href=c>", "ContainingHandler", "ex")",
         R"({"result": ["b"], "baseURL": null})"},
        {"htmlLinksAndFramesBaseURL:", R"("<frame src=b><a href=a>")", R"({"result": ["a", "b"], "baseURL": null})"},
        {"htmlFramesSet:baseURL:", R"("<frame src=b>")", R"({"result": ["b"], "set": false, "baseURL": null})"},
        {"htmlFramesSet:baseURL:favIcon:title:refresh:robots:revisit:isFeed:", R"("<rss>")",
         R"({"result": [], "set": false, "baseURL": null, "favIcon": null, "title": null, "refresh": null, "robots": "", )"
         R"("revisit": null, "isFeed": true})"},
        {"htmlLinksMatching", R"("<a href=b rel=nofollow>next</a><a href=c>next</a>", "ContainingHandler", "ex", true)",
         R"({"result": ["c"], "baseURL": null})"},
        {"htmlLinksMatching", R"("<a href=b>", "OtherHandler", "ex", true)", "error: argument 2 names no handler"},
        {"getHtmlFrames", R"("<frame src=b><a href=a>", true)",
         R"({"result": ["a", "b"], "set": false, "baseURL": null, "favIcon": null, "title": null, "refresh": null, )"
         R"("robots": "", "revisit": null, "isFeed": false})"},
        {"htmlImages", R"("<img src=b><img src=a>")", R"(["a", "b"])"},
        {"htmlMetaKeywords:description:title:indexTitle:", R"("<title>t</title>")",
         R"({"keywords": null, "description": null, "title": "t", "indexTitle": null})"},
        {"htmlMetaAttributes", R"("<meta name=A content=b>")", R"({"a": "b"})"},
        {"htmlMetaAttributeWithName:", R"("<meta name=A content=b>", null)", "null"},
        {"htmlBaseURL", R"("<base href='http://h/x'>")", R"("http://h/x")"},
        {"stringByAddingBaseURL:", R"("<head>", "u")", R"("<head><BASE href=\"u\"/>\n")"},
        {"stringBySettingBaseURL:", R"("<head>", null)", R"("<head>")"},
        {"revisitAfter", R"("1 day")", "86400.0"},
        {"filterLink", R"("#")", "true"},
        {"isMarkupMIMEType", R"("application/atom+XML; charset=x")", "true"},
        {"isMarkupMIMEType", R"("text/plain")", "false"},
        {"htmlTitle", "null", "null"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(pageOperations(), c.operation, c.arguments), c.result) << c.operation;
}

}  // namespace
}  // namespace halden::operations
