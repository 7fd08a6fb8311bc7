#include "foundation/Unicode.h"
#include "markup/Stripping.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace halden {
namespace {

using Prefixes = std::vector<std::u16string>;

struct Case {
    std::u16string_view html, stripped;
};

std::string shown(std::u16string_view text) {
    return utf8FromUtf16(text);
}

TEST(StripTags, SeparatesRunsThatWouldTouch) {
    const Case cases[] = {
        {u"", u""},
        {u"plain", u"plain"},
        {u"x <b>y</b>z", u"x y z"},
        {u"<b>y", u"y"},
        {u"a<!-- b -->c<![CDATA[ d ]]>e", u"a c e"},
        {u"a <script>if (a<b) c</script>d", u"a d"},
        {u"a<b", u"a<b"},
        {u"a\n<b>c", u"a\nc"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(shown(stripTags(c.html)), shown(c.stripped)) << shown(c.html);
}

TEST(StripTag, RemovesTagsOfOneName) {
    const std::u16string html = u"a<b>c</B>d<b/>e<br>f<!-- <b> -->";
    EXPECT_EQ(stripTag(html, "B"), u"acde<br>f<!-- <b> -->");
    EXPECT_EQ(stripTag(html, "b"), html);  // the name must be in upper case
    EXPECT_EQ(stripTag(html, ""), html);
    EXPECT_EQ(stripTag(html, "I"), html);
    EXPECT_EQ(stripTag(u"<b>", "B"), u"");
    EXPECT_EQ(stripTag(u"<script>x<b>y</script>z", "SCRIPT"), u"z");
}

TEST(StripAttributesOfTag, KeepsTheAddress) {
    const Case cases[] = {
        {u"<a href=\"x\" class=\"y\">", u"<A HREF=\"x\">"},
        {u"<a href='x>y' class=z>t</a>", u"<A HREF=\"x\">t</A>"},  // a value ends at a ">", quoted or not
        {u"<a name=\"n\">", u"<A>"},
        {u"<a/>", u""},
        {u"<a name='n'/>", u""},
        {u"<a src=s href=h />", u"<A HREF=\"h\"/>"},
        {u"<a src=source />", u"<A SRC=\"source\"/>"},
        {u"x<b class=c>y<a name=n>z</a>!", u"x<b class=c>y<A>z</A>!"},
        {u"no such tag", u"no such tag"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(shown(stripAttributesOfTag(std::u16string(c.html), "A")), shown(c.stripped)) << shown(c.html);
    }
}

TEST(StripTagBodies, LeavesListedElementsOut) {
    const struct {
        Prefixes prefixes;
        std::u16string_view html, stripped;
    } cases[] = {
        {{u"<div"}, u"a<div>a<div>b</div>c</div>d", u"ad"},
        {{u"<div"}, u"a<DIV id=x>b</Div>d", u"ad"},
        {{u"<div", u"<p"}, u"1<p>2</p>3<div>4<p>5</div>6", u"136"},
        {{u"<div"}, u"a<div>b<div/>c</div>d", u"ac</div>d"},  // a self-closing tag ends the element
        {{u"<div"}, u"a<div/>b", u"a<div/>b"},
        {{u"<div"}, u"a<div>never closed", u"a"},
        {{u"<s"}, u"1<span>2</span>3<sub>4</sub>5", u"135"},
        {{u"<div"}, u"<div>x</div>", u""},
        {{u"<script"}, u"a<script>b</script>c</script>d", u"ad"},  // the whole element is one token
        {{u"", u""}, u"a<b>", u"a<b>"},
        {{}, u"a<b>", u"a<b>"},
        {{u"<div>"}, u"a<div class=x>b</div>", u"a<div class=x>b</div>"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown(stripTagBodies(std::u16string(c.html), c.prefixes).value()), shown(c.stripped))
            << shown(c.html);
    }
}

TEST(StripTagBodies, KeepsNothingElseWhenAsked) {
    const Prefixes tables{u"<table"};
    EXPECT_EQ(stripTagBodiesExcept(u"a<table>b<table>c</table></table>d<TABLE>e</TABLE>", tables),
              u"<table>b<table>c</table></table>\n<TABLE>e</TABLE>\n");
    EXPECT_EQ(stripTagBodiesExcept(u"a<table>b", tables), u"<table>b");
    EXPECT_EQ(stripTagBodiesExcept(u"a<p>b", tables), std::nullopt);
    EXPECT_EQ(stripTagBodiesExcept(u"a<p>b", Prefixes{}), std::nullopt);
    EXPECT_EQ(stripTagBodiesExcept(u"", tables), std::nullopt);
}

TEST(StripObjects, DropsTextInsideButNotOtherTags) {
    const struct {
        ImageReplacement images;
        std::u16string_view html, stripped;
    } cases[] = {
        {ImageReplacement::none, u"a<object>b<i>c</i><object>d</object>e</object>f", u"a<i></i>ef"},
        {ImageReplacement::none, u"a<param name=x>b<param name=y/>c", u"ac"},
        {ImageReplacement::none, u"a<link rel=x><script>b</script><video/>c<img alt=d>", u"ac<img alt=d>"},
        {ImageReplacement::none, u"<iframe>a<!-- b --><audio>c</iframe>d</audio>e", u"<!-- b -->e"},
        {ImageReplacement::text, u"<img alt=\"Logo\">", u"Logo\n"},
        {ImageReplacement::text, u"a<img alt=\"Logo\">b <img title='T'>", u"a Logo\nb T\n"},
        {ImageReplacement::text, u"a<img src=x>b", u"ab"},
        {ImageReplacement::text, u"<canvas>a<img alt=inside>b</canvas>", u"inside\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown(stripObjectsAndReplaceImages(c.html, c.images)), shown(c.stripped)) << shown(c.html);
    }
}

TEST(StripLinks, DropsAnchorsWithTheirText) {
    const Case cases[] = {
        {u"see <a href=x>here</a>.", u"see ."},
        {u"<a>x<b>y</b>z</a>!", u"<b></b>!"},
        {u"a<link href=x>b<a name=n/>c<abbr>d", u"abc<abbr>d"},
        {u"<A>x<!-- y -->", u"<!-- y -->"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(shown(stripLinks(c.html)), shown(c.stripped)) << shown(c.html);
}

TEST(IsHtml, LooksForADocument) {
    const struct {
        std::u16string_view string;
        bool isDocument;
    } cases[] = {
        {u"<b>x</b>", false},
        {u"  <html><body/></html>\n", true},
        {u"<!doctype html><p>", true},
        {u"<x><title>y</x>", true},
        {u"<x><title >y</x>", false},
        {u"<html> text", false},
        {u"<html", false},
        {u"", false},
        {u"\uFEFF<html></html>", false},  // a byte-order mark is no white space here
    };
    for (const auto& c : cases)
        EXPECT_EQ(isHTML(c.string), c.isDocument) << shown(c.string);
}

// What is kept of a document are stretches of it, in order.
TEST(Stripping, NeverInventsOrReorders) {
    static constexpr std::u16string_view kPieces[] = {u"a",     u" ",        u"<b>",       u"</b>",  u"<a href=x>",
                                                      u"</a>",  u"<object>", u"</object>", u"<br/>", u"<!-- c -->",
                                                      u"<div>", u"</div>",   u"<",         u">"};
    std::mt19937 random(4);
    for (int round = 0; round < 5000; ++round) {
        std::u16string html;
        for (std::size_t i = random() % 20; i > 0; --i)
            html += kPieces[random() % std::size(kPieces)];
        const std::u16string results[] = {stripTag(html, "B"), stripLinks(html),
                                          stripObjectsAndReplaceImages(html, ImageReplacement::none),
                                          stripTagBodies(html, Prefixes{u"<div"}).value()};
        for (const std::u16string& result : results) {
            std::size_t at = 0;
            for (const char16_t unit : result) {
                at = html.find(unit, at);
                ASSERT_NE(at, std::u16string::npos) << shown(html) << " -> " << shown(result);
                ++at;
            }
        }
    }
}

}  // namespace
}  // namespace halden
