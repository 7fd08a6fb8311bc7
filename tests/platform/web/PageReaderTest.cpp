// What the engine's answers mean, without the engine.

#include "platform/web/CssValues.h"
#include "platform/web/DataUrl.h"
#include "platform/web/Mhtml.h"
#include "platform/web/PageReader.h"

#include <gtest/gtest.h>

namespace halden::web {
namespace {

TEST(PageReaderTest, MakesRunsOfReferences) {
    const auto text = attributedStringOfPage(
        {R"json({"styles":[{"f":"Arial, serif","s":9,"b":1},{"f":"monospace","s":10,"c":"rgb(255, 0, 0)"}],
            "ps":[{"al":"center","sb":6,"h":2}],"images":[{"u":"http://h/a/i.gif?x","w":3,"h":4}],
            "paragraphs":[[0,1,[0,"a"],[1,"b\nc"],[0,0],[7,"lost"],[0,9]]]})json",
         {{"http://h/a/i.gif?x", "image/gif", Data::copying("GIF89a")}}});
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"ab c\uFFFC\n");
    EXPECT_EQ(text->characterAttributesAt(0).font.name, u"Arial-BoldMT");
    EXPECT_EQ(text->characterAttributesAt(1).font.family, u"Courier");
    EXPECT_EQ(text->characterAttributesAt(1).foreground, (Color{1, 0, 0, 1}));
    EXPECT_EQ(text->paragraphAttributesAt(0).alignment, TextAlignment::center);
    EXPECT_EQ(text->paragraphAttributesAt(0).headerLevel, 2);
    ASSERT_EQ(text->attachments().size(), 1u);
    EXPECT_EQ(text->attachments()[0].attachment->file.name, u"i.gif");
    EXPECT_EQ(text->attachments()[0].attachment->type, u"com.compuserve.gif");
}

TEST(PageReaderTest, WhatIsNoPageIsNil) {
    EXPECT_FALSE(attributedStringOfPage({"", {}}));
    EXPECT_FALSE(attributedStringOfPage({"[]", {}}));
    EXPECT_FALSE(attributedStringOfPage({"{\"paragraphs\":", {}}));
    EXPECT_TRUE(attributedStringOfPage({"{}", {}}).value().empty());
    EXPECT_TRUE(attributedStringOfPage({R"({"paragraphs":[[],[0],[0,0],[-1,0],["a","b"]]})", {}}).value().empty());
}

TEST(CssValuesTest, Colours) {
    EXPECT_EQ(colorOfCss(u"rgb(255, 0, 51)"), (Color{1, 0, 0.2, 1}));
    EXPECT_EQ(colorOfCss(u"rgba(0, 0, 255, 0.5)"), (Color{0, 0, 1, 0.5}));
    EXPECT_EQ(colorOfCss(u"color(srgb 1 0.5 0 / 0.25)"), (Color{1, 0.5, 0, 0.25}));
    for (const auto* none : {u"", u"rgba(1, 2, 3, 0)", u"red", u"rgb(1, 2)"})
        EXPECT_FALSE(colorOfCss(none));
    const auto shadow = shadowOfCss(u"rgb(0, 0, 0) 4px 8px 2px");
    ASSERT_TRUE(shadow);
    EXPECT_EQ(shadow->x, 3);
    EXPECT_EQ(shadow->y, -6);
    EXPECT_EQ(shadow->blurRadius, 1.5);
}

TEST(DataUrlTest, GivesItsContents) {
    const auto plain = dataOfDataUrl("DATA:text/Plain;charset=x,a%20b");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->mediaType, "text/plain");
    EXPECT_EQ(plain->data.view(), "a b");
    EXPECT_EQ(dataOfDataUrl("data:;base64,YWJj")->data.view(), "abc");
    EXPECT_FALSE(dataOfDataUrl("data:nothing"));
    EXPECT_FALSE(dataOfDataUrl("http://h/"));
    EXPECT_EQ(nameOfAddress("http://h/a/b%20c.png?x#y"), u"b-c");
    EXPECT_EQ(nameOfAddress("http://h"), u"");
}

TEST(MhtmlTest, GivesItsParts) {
    const auto parts = partsOfMhtml(
        "MIME-Version: 1.0\r\nContent-Type: multipart/related;\r\n\tboundary=\"b\"\r\n\r\n--b\r\nContent-Type: "
        "text/css; charset=x\r\nContent-Transfer-Encoding: quoted-printable\r\nContent-Location: "
        "http://h/s\r\n\r\na=3Db=\r\nc\r\n--b\r\nContent-Type: image/PNG\r\nContent-Transfer-Encoding: "
        "base64\r\nContent-Location: http://h/i\r\n\r\nYW\r\nJj\r\n--b\r\nContent-Type: "
        "image/x\r\n\r\nnowhere\r\n--b--");
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_EQ(parts[0].mediaType, "text/css");
    EXPECT_EQ(parts[0].data, "a=bc");
    EXPECT_EQ(parts[1].address, "http://h/i");
    EXPECT_EQ(parts[1].mediaType, "image/png");
    EXPECT_EQ(parts[1].data, "abc");
    EXPECT_TRUE(partsOfMhtml("").empty());
    EXPECT_TRUE(partsOfMhtml("Content-Type: text/plain\r\n\r\n--b").empty());
}

}  // namespace
}  // namespace halden::web
