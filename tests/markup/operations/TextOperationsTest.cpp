// The shapes of the operations on entities, plain text and stripping.
#include "markup/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden::operations {
namespace {

struct Case {
    std::string_view operation, arguments, result;
};

TEST(EntityOperations, HaveTheirShapes) {
    const Case cases[] = {
        {"stringByConvertingEntitiesToCharacters", R"("&amp;&eacute;")", R"("&é")"},
        {"stringByConvertingEntitiesToCharacters:onlyNumericEntities:nonUmlauted:",
         R"("&amp;&eacute;", false, true, false)", R"("&amp;&eacute;")"},
        {"stringByConvertingEntitiesToCharactersNonUmlauted:", R"("&eacute;", true)", R"("e")"},
        {"convertEntities2Characters", R"("é&lt;", true, false, true)", R"("e<")"},
        {"convertStdEntities2Characters", R"("&lt;&eacute;")", R"("<&eacute;")"},
        {"stringByConvertingCharactersToJSON", R"("a/b")", R"("a\\/b")"},
        {"stringByConvertingCharactersToEntities", "null", "null"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ask(entityOperations(), c.operation, c.arguments), c.result) << c.operation;
}

TEST(PlainTextOperations, HaveTheirShapes) {
    const Case cases[] = {
        {"stringByConvertingHtml2PlainText", R"("<p>a</p><p>b<img alt=c>")", R"("a\n\nb c")"},
        {"stringByConvertingHtml2PlainTextNonUmlauted:", R"("&eacute;t&eacute;", true)", R"("ete")"},
        {"stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:imageAlts:",
         R"("<title>t</title><body>a<img alt=b>", false, false, true, false, false)", R"("a")"},
        {"stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:removeJunk::googleTags:imageAlts:",
         R"("<body>a", false, false, true, true, false, false)", R"({"result": "a", "junk": false})"},
        {"stringByConvertingHtml2PlainTextEntities:stdEntities:nonUmlauted:reformat:onlyBody:removeJunk::googleTags:"
         "imageAlts:",
         R"("&lt;&eacute;", false, true, false, false, false, false, false, false)",
         R"({"result": "<&eacute;", "junk": false})"},
        {"_convertHtml2PlainTextUsingHandler:entities:stdEntities:nonUmlauted:reformat:onlyBody:removeJunk::googleTags:"
         "imageAlts:",
         R"("<b>a<b>b", "SimplePlainTextHandler", true, true, false, false, false, false, false, false)",
         R"({"result": " a b", "junk": false})"},
        {"stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:removeJunk::googleTags:imageAlts:",
         "null, false, false, false, true, false, false", R"({"result": null, "junk": false})"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ask(plainTextOperations(), c.operation, c.arguments), c.result) << c.operation;
}

TEST(StrippingOperations, HaveTheirShapes) {
    const Case cases[] = {
        {"stripTagBodies:except:", R"("<p>x</p>", ["<div"], false)", R"("<p>x</p>")"},
        {"stripTagBodies:except:", R"("<p>x</p>", null, true)", "null"},
        {"stripTagBodiesExcept:", R"("a<p>x</p>", ["<p"])", R"("<p>x</p>\n")"},
        {"stripTag:", R"("<b>x</b>", "B")", R"("x")"},
        {"stripTag:", R"("<b>x</b>", null)", R"("<b>x</b>")"},
        {"stripObjectsAndReplaceImages:", R"("<img alt=a>", true)", R"("a\n")"},
        {"isHTML", R"("<html>")", "true"},
        {"isHTML", "null", "false"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ask(strippingOperations(), c.operation, c.arguments), c.result) << c.operation;
}

}  // namespace
}  // namespace halden::operations
