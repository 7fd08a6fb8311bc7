#include "foundation/Unicode.h"
#include "markup/Html2Text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace halden {
namespace {

std::string shown(std::u16string_view text) {
    return utf8FromUtf16(text);
}

constexpr PlainTextOptions kDecoding{.entities = true, .stdEntities = true};

std::string text(std::u16string_view html, PlainTextOptions options = kDecoding) {
    return shown(stringByConvertingHtml2PlainText(std::u16string(html), options));
}

struct Case {
    std::u16string_view html;
    std::string_view text;
};

TEST(PlainText, BreaksLinesWhereBlocksDo) {
    const Case cases[] = {
        {u"<p>a</p><p>b</p>", "a\n\nb"},
        {u"a<br><br><br>b", "a\nb"},
        {u"<table><tr><td>x</td><td>y</td></tr></table>", "x y"},
        {u"<table><tr><td>x</td></tr><tr><td>y</td></tr></table>z", "x \ny \n\nz"},
        {u"a<tr>b", "a\nb"},
        {u"<ul><li>one<li>two</ul>three", "one\ntwo\nthree"},
        {u"<dl><dt>t<dd>d</dl>", "t\nd"},
        {u"a<h1>b</h1>c", "a\n\nb\n\nc"},
        {u"a<hr>b<blockquote>c</BlockQuote>d", "a\n\nb\n\nc\n\nd"},
        {u"a<div>b</div><div>c</div>", "a\n\nb\n\nc"},
        {u"a<b>b</b>c", "abc"},
        {u"a <b> b</b>c", "a bc"},
        {u"a<a href=x>b</a>c", "a b c"},
        {u"a<code>b</code>c<cite>d", "a b c d"},
        {u"a<input>b", "a b"},
        {u"a<P>b<PP>c", "a\n\nbc"},
        {u"  a  \n\t b  ", "a b"},
        {u"<hx>a", "a"},
        {u"a<table>b", "a\n\nb"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(c.html), c.text) << shown(c.html);
}

TEST(PlainText, DecodesWhatTheOptionsSay) {
    constexpr std::u16string_view kHtml = u"&eacute;t&eacute; &lt; &amp;gt; \u00FC";
    EXPECT_EQ(text(kHtml), "été < &gt; ü");
    EXPECT_EQ(text(kHtml, {}), "&eacute;t&eacute; &lt; &amp;gt; ü");
    EXPECT_EQ(text(kHtml, {.stdEntities = true}), "&eacute;t&eacute; < &gt; ü");
    EXPECT_EQ(text(kHtml, {.entities = true}), "été &lt; &amp;gt; ü");
    EXPECT_EQ(text(kHtml, {.entities = true, .nonUmlauted = true}), "ete &lt; &amp;gt; u");
    EXPECT_EQ(text(u"\u00FC\u00FC\u00FC", {.entities = true, .nonUmlauted = true}), "üüü");  // too short to be decoded
    EXPECT_EQ(text(u"a&nbsp;&nbsp;b"), "a b");
}

TEST(PlainText, LeavesHiddenTextOut) {
    const Case cases[] = {
        {u"<script>var a='<p>';</script>t", "t"},
        {u"<style>p {}</style>t", "t"},
        {u"<div class=hidden style='x'>secret</div>shown", "shown"},
        {u"<div class='HIDDEN'   >secret<p>too</p><div>shown", "shown"},
        {u"<div class=hidden>shown, the tag is too short? no: 18", ""},
        {u"<div class=hid>x</div>y", "x\n\ny"},
        {u"<div style='visibility: hidden'>s</div>t", "t"},
        {u"<div style='hidden visibility'>s</div>t", "s\n\nt"},
        {u"<div style='display:none'>s</div>t", "t"},
        {u"<div style='display: none'>s</div>t", "t"},
        {u"<div style='DISPLAY:none'>s</div>t", "s\n\nt"},
        {u"<div style='Position:Absolute; top: -2000px'>s</div>t", "t"},
        {u"<div style='position:absolute; left: -1000px'>s</div>t", "s\n\nt"},
        {u"<div style='position:relative; left: -2000px'>s</div>t", "s\n\nt"},
        {u"<div width=1 height=3>s</div>t", "t"},
        {u"<div width=1 height=4>s</div>t", "s\n\nt"},
        {u"<div style='width:2px; height:2px'>s</div>t", "t"},
        {u"<marquee>m</marquee>a<textarea>t</textarea>b", "ab"},
        {u"<marquee>m<h1>a", "a"},
        {u"<noframes>n</noframes>a<noscript>s</noscript>b<iframe>i</iframe>c", "abc"},
        {u"<select><option>o<option/>p</select>q", "pq"},
        {u"<div class='hidden'  >a<select>b", "b"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(c.html), c.text) << shown(c.html);
}

TEST(PlainText, KeepsImageTextsWhenAsked) {
    EXPECT_EQ(text(u"a<img alt='Logo' title=t>b"), "ab");
    EXPECT_EQ(shown(stringByConvertingHtml2PlainText(u"a<img alt='Logo &amp; Co'>b<img title=T><img src=x>")),
              "a Logo & Co b T");
    EXPECT_EQ(shown(stringByConvertingHtml2PlainText(u"<img alt='Logo'>")), "Logo");
    EXPECT_EQ(shown(stringByConvertingHtml2PlainText(u"<div style='display:none'>x<img alt=Kept></div>")), "Kept");
}

TEST(PlainText, OfTheBodyOnly) {
    constexpr PlainTextOptions kBody{.entities = true, .stdEntities = true, .onlyBody = true};
    const Case cases[] = {
        {u"<head><title>t</title></head><body>b</body>after", "b"},
        {u"<title>t</title>no body", "tno body"},  // the whole document then
        {u"<html><body>a<body>b</body>c</body>d</html>", "abc"},
        {u"<body/>x", "x"},
        {u"before<body>b", "b"},
        {u"</head>a<body>b</body>c", "abc"},  // the end of the head leads into the body
        {u"x<noscript>n</noscript>y", "y"},   // the depth that the start tag raised is never lowered
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(c.html, kBody), c.text) << shown(c.html);
}

TEST(PlainText, HeedsCommentsForIndexers) {
    constexpr PlainTextOptions kGoogle{.entities = true, .stdEntities = true, .googleTags = true};
    constexpr std::u16string_view kHtml = u"a<!-- googleoff: index -->x<!-- GoogleOn: index -->y";
    EXPECT_EQ(text(kHtml, kGoogle), "ay");
    EXPECT_EQ(text(kHtml), "axy");
    EXPECT_EQ(text(u"<!-- googleoff: snippet -->x<!--googleoff: all-->y<!--googleon: anchor-->z", kGoogle), "x");
    EXPECT_EQ(text(u"<!--googleoff:all-->x", kGoogle), "");
    EXPECT_EQ(text(u"<!-googleoff:all->x", kGoogle), "x");  // shorter than such a comment is
    EXPECT_EQ(text(u"<font class=feed_date>Monday</font>x<font class=FEED_DATE>y", kGoogle), "xy");
}

TEST(PlainText, FindsJunk) {
    constexpr PlainTextOptions kJunk{.entities = true, .stdEntities = true, .onlyBody = true, .removeJunk = true};
    const auto convert = [&](const std::u16string& html, bool* junk) {
        return shown(stringByConvertingHtml2PlainText(html, kJunk, junk));
    };
    bool junk = true;
    EXPECT_EQ(convert(u"<body bgcolor=White>a<font color=white>few words</font>b", &junk), "ab");
    EXPECT_FALSE(junk);
    std::u16string stuffing;
    for (int i = 0; i < 12; ++i)
        stuffing += u"keyword stuffing ";
    EXPECT_EQ(convert(u"<body bgcolor=White>a<font color=white>" + stuffing + u"</font>b", &junk), "ab");
    EXPECT_TRUE(junk);
    EXPECT_EQ(convert(u"<body>a<font style='font-size: 2pt'>" + stuffing + u"</font>b", &junk), "ab");
    EXPECT_TRUE(junk);
    EXPECT_NE(convert(u"<body>a<font style='font-size: 12pt'>" + stuffing + u"</font>b", &junk), "ab");
    EXPECT_FALSE(junk);
    EXPECT_EQ(convert(u"<body>a<br><title>page title</title>b", &junk), "a\nb");
    EXPECT_EQ(convert(u"<body>a" + std::u16string(10001, u'x') + u"<b>b", &junk), "b");
    EXPECT_TRUE(junk);
    EXPECT_EQ(convert(u"<body><pre>" + std::u16string(10001, u'x') + u"</pre>", &junk).size(), 10003U);
    EXPECT_FALSE(junk);
    EXPECT_EQ(convert(u"<body><h1>" + std::u16string(3501, u'x') + u"</h1>b", &junk), "b");
    EXPECT_TRUE(junk);
    std::u16string unbroken;
    for (int i = 0; i < 3; ++i)
        unbroken += std::u16string(9000, u'x') + u"<b>";
    EXPECT_EQ(convert(u"<body>start<br>" + unbroken + u"end", &junk), "start\nend");
    EXPECT_TRUE(junk);
}

TEST(PlainText, KeepsOrJoinsPreformattedLines) {
    constexpr PlainTextOptions kReformat{.entities = true, .stdEntities = true, .reformat = true};
    EXPECT_EQ(text(u"a<pre>b\n\nc  d</pre>e"), "a\n\nb c de");
    const Case cases[] = {
        {u"x<pre>a\nb</pre>", "x\n\na b"},
        {u"x<pre>a\r\nb\r\n\r\nc</pre>", "x\n\na b\n\nc"},
        {u"x<pre>a\n- b\n> c\n}d\n/e\n f</pre>", "x\n\na\n- b\n> c\n}d\n/e\n f"},
        {u"x<pre>a \t b\fc</pre>", "x\n\na bc"},
        {u"x<pre>a \nb</pre>", "x\n\na b"},
        {u"x<pre>a</pre>  y", "x\n\na y"},
        {u"x<plaintext>a\nb", "x\n\na b"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(c.html, kReformat), c.text) << shown(c.html);
}

TEST(PlainText, IsThePageItselfWithoutContent) {
    EXPECT_EQ(text(u""), "");
    EXPECT_EQ(shown(stringByConvertingHtml2SimplifiedPlainText(u"")), "");
    EXPECT_EQ(shown(stringByConvertingHtml2SimplifiedPlainText(u"<body> a <b>&lt;b&gt;</b></body>c")), "  a  <b>");
    EXPECT_EQ(shown(stringByConvertingHtml2PlainTextNonUmlauted(u"Stra\u00DFe \u00E0 la carte")), "Straße a la carte");
    EXPECT_EQ(shown(stringByConvertingHtml2ReformattedPlainText(u"<pre>a\nb")), "\n\na b");
}

// It has no regard for what else the options say about entities, nor for how short a run is.
TEST(PlainText, SimplifiedDecodesEveryEntity) {
    const auto simplified = [](std::u16string_view html, PlainTextOptions options) {
        return shown(convertHtml2PlainTextUsingHandler(std::u16string(html), SimplePlainTextHandler, options));
    };
    EXPECT_EQ(simplified(u"&lt;&eacute;t&eacute;&gt; <b>&lt<i>\u00FC", {}), " <été>  < ü");
    EXPECT_EQ(simplified(u"&eacute;t\u00E9", {.nonUmlauted = true}), " ete");
}

TEST(PlainText, TakesARunOfNothing) {
    char16_t buffer[8];
    PlainTextState state{.output = buffer, .write = buffer, .breakMark = buffer, .options = kDecoding};
    appendRangeToPlainText(state, u"");
    EXPECT_TRUE(state.spacePending);
    state.collapsesWhiteSpace = false;
    appendRangeToPlainText(state, u"");
    EXPECT_FALSE(state.spacePending);
    EXPECT_FALSE(state.lineHasText);
    EXPECT_EQ(state.write, buffer);
}

// A block of units is copied at once where it can be; white space and letters of every kind around its edges must come
// out as they do one by one.
TEST(PlainText, CollapsesWhiteSpaceAtEveryPlace) {
    static constexpr std::u16string_view kUnits = u"a \n\t\u00A0\u00E9\u2003\uFEFF\u4E00~!";
    for (std::size_t length = 1; length < 80; ++length) {
        for (std::size_t step = 1; step < kUnits.size(); ++step) {
            std::u16string run(length, u'x');
            for (std::size_t i = step; i < length; i += step)
                run[i] = kUnits[(i * 7 + step) % kUnits.size()];
            run += u'x';
            std::u16string expected;
            for (const char16_t unit : run) {
                const bool white =
                    std::u16string_view(u" \n\t\u00A0\u2003\uFEFF").find(unit) != std::u16string_view::npos;
                if (!white)
                    expected += unit;
                else if (expected.back() != u' ')
                    expected += u' ';
            }
            ASSERT_EQ(stringByConvertingHtml2PlainText(run), expected);
        }
    }
}

}  // namespace
}  // namespace halden
