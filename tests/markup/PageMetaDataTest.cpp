#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "markup/PageMetaData.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace halden {
namespace {

std::string shown(const std::optional<std::u16string>& text) {
    return text ? utf8FromUtf16(*text) : "(none)";
}

TEST(PageTitle, IsTheTextBeforeItsEnd) {
    const struct {
        std::u16string_view html;
        std::string_view title;
    } cases[] = {
        {u"<title> A &amp; B </title>", " A &amp; B "},
        {u"<title>A <b>B</b></title>", ""},
        {u"<title>A</title><title>B</title>", "A"},
        {u"<body><title>A</title>", ""},
        {u"</body><title>A</title>", ""},
        {u"A<title/>", "A"},
        {u"<title>A", ""},
        {u"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(utf8FromUtf16(htmlTitle(c.html)), c.title) << utf8FromUtf16(c.html);
    EXPECT_EQ(normalizedHtmlTitle(u"<title>\n A &amp; B </title>"), u"A & B");
}

TEST(PageMeta, HasEveryAttributeBeforeTheBody) {
    constexpr std::u16string_view kHtml =
        u"<meta name=Keywords content='a'><META NAME=keywords CONTENT='b &amp;  c'><meta name=x><meta content=y>"
        u"<meta name=Description content='<p>one</p><p>two</p>'><body><meta name=late content=z>";
    EXPECT_EQ(jsonFromValue(Value(htmlMetaAttributes(kHtml))),
              R"({"keywords": "a b &amp;  c", "description": "<p>one</p><p>two</p>"})");
    EXPECT_EQ(jsonFromValue(Value(htmlMetaAttributesByConvertingEntitiesToCharacters(kHtml))),
              R"({"keywords": "a b & c", "description": "one\ntwo"})");
}

TEST(PageMeta, FindsOneAttribute) {
    constexpr std::u16string_view kHtml =
        u"<meta name=TITLE content=t><meta name=dc.title content=u><meta name=IndexTitle content=i>"
        u"<meta name=keywords content=''><meta name=keywords content=k><meta name=dc.keywords content=l>"
        u"<meta name=dc.description content=d><meta name=date content=2010><meta name=author content=a>"
        u"<meta name=dc.rights content=c><meta http-equiv=REFRESH content='5'><body><meta name=author content=no>";
    EXPECT_EQ(shown(htmlMetaTitle(kHtml)), "t u");
    EXPECT_EQ(shown(htmlMetaIndexTitle(kHtml)), "i");
    EXPECT_EQ(shown(htmlMetaKeywords(kHtml)), "k l");
    EXPECT_EQ(shown(htmlMetaDescription(kHtml)), "d");
    EXPECT_EQ(shown(htmlMetaDate(kHtml)), "2010");
    EXPECT_EQ(shown(htmlMetaAuthor(kHtml)), "a");
    EXPECT_EQ(shown(htmlMetaCopyright(kHtml)), "c");
    EXPECT_EQ(shown(htmlMetaRefresh(kHtml)), "5");
    EXPECT_EQ(shown(htmlMetaAttributeWithName(kHtml, u"none")), "(none)");
    EXPECT_EQ(shown(htmlMetaAttributeWithName(kHtml, u"")), "(none)");
    EXPECT_EQ(shown(htmlMetaHTTPEquiv(kHtml, u"refresh")), "5");
}

TEST(PageMeta, PrefersDublinCore) {
    std::optional<std::u16string> keywords, description, title, indexTitle;
    htmlMetaKeywords(
        u"<title>element</title><meta name=title content=meta><meta name=dc.keywords content=a>"
        u"<meta name=keywords content=b><body><meta name=dc.keywords content=c><meta name=description "
        u"content=d><meta name=indextitle content=i><meta name=indextitle content=j>",
        &keywords, &description, &title, &indexTitle);
    EXPECT_EQ(shown(keywords), "a c");
    EXPECT_EQ(shown(description), "d");
    EXPECT_EQ(shown(title), "element");
    EXPECT_EQ(shown(indexTitle), "i");
    htmlMetaKeywords(u"<meta name=dc.title content=dc><meta name=title content=meta>", nullptr, nullptr, &title,
                     nullptr);
    EXPECT_EQ(shown(title), "dc");
}

TEST(PageDate, IsInTheFirstElementAboutOne) {
    const struct {
        std::u16string_view html;
        std::string_view date;
    } cases[] = {
        {u"<meta name=article_date content=2010>", "2010"},
        {u"<meta name=DATE content=1>", "1"},
        {u"<meta name=date.created content=2>", "2"},
        {u"<meta name=DC.date.issued content=3>", "3"},
        {u"<meta name=articlePubDate content=4>", "4"},
        {u"<meta name=dated content=5>", "(none)"},
        {u"<meta name=author content=a http-equiv=Last-Modified>", "a"},
        {u"<meta http-equiv=last-modified content=6>", "6"},
        {u"<meta name=date content=''><meta name=updated content=7>", "7"},
        {u"<body><meta name=date content=8>", "(none)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shown(htmlDate(c.html)), c.date) << utf8FromUtf16(c.html);
}

TEST(RevisitAfter, CountsInSeconds) {
    const struct {
        std::u16string_view value;
        double seconds;
    } cases[] = {{u"7 days", 604800}, {u"1.5 Hours", 5400}, {u"2 weeks", 1209600},      {u"30", 30},
                 {u"-1 day", 0},      {u"days", 0},         {u"1 day of 2 hours", 3600}};
    for (const auto& c : cases)
        EXPECT_EQ(revisitAfter(c.value), c.seconds) << utf8FromUtf16(c.value);
}

}  // namespace
}  // namespace halden
