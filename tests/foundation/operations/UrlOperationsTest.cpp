#include "foundation/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

TEST(UrlOperations, HaveTheirShapes) {
    constexpr std::string_view kSimplify =
        "simplifiedStringURLByRemovingSessionIDs:analytics:indexPages:emptyParams:anchors:";
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {kSimplify, R"("https://WWW.h//a/index.html?sid=1#b", true, false, false, false, false)",
         R"("http://h/a/index.html")"},
        {kSimplify, R"("h?utm_term=1", false, true, false, false, false)", R"("h")"},
        {kSimplify, R"("h/index.html", false, false, true, false, false)", R"("h")"},
        {kSimplify, R"("h?a=", false, false, false, true, false)", R"("h")"},
        {kSimplify, R"("h?a=#b", false, false, false, false, true)", R"("h?a=")"},
        {kSimplify, R"(null, false, false, false, false, true)", "null"},
        {"convertPercentEscapesOfURL", R"("%41%2F", true)", R"("%41/")"},
        {"convertPercentEscapesOfURL", R"("%41%2F", false)", R"("A/")"},
        {"stringURLByRemovingQueryParam:", R"("h?a=1", "a=")", R"("h")"},
        {"stringURLByRemovingQueryParam:", R"("h?a=1", null)", R"("h?a=1")"},
        {"stringURLByRemovingSessionIDs", R"("h;jsessionid=1\ud800")", R"("h")"},
        {"URLWithNormalizedStringURL:", R"("http://h/a b")", R"("http://h/a%20b")"},
        {"URLWithNormalizedStringURL:", R"("http://h:x")", "null"},
        {"URLRelativeTo:", R"("/x", "http://h/a/b")", R"("http://h/x")"},
        {"URLRelativeTo:", R"("/x", null)", R"("/x")"},
        {"URLRelativeTo:", R"("/x", "a b")", "error: argument 2 is no URL"},
        {"URLWithAnchor:", R"("http://h/a#b", "c")", R"("http://h/a#c")"},
        {"URLWithAnchor:", R"("http://h/a#b", null)", R"("http://h/a")"},
        {"isRemoteWebKitURL", R"("feed://h/")", "true"},
        {"isRemoteWebKitURL", R"(null)", "false"},
        {"isRemoteWebKitStringURL", R"("ftp://h/")", "false"},
        {"stringURLIsBookmarklet", R"j("javascript:(function(){})()")j", "true"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ask(urlOperations(), c.operation, c.arguments), c.result) << c.operation << c.arguments;
}

}  // namespace
}  // namespace halden::operations
