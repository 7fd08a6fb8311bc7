#include "foundation/Unicode.h"
#include "platform/web/HtmlRenderer.h"
#include "tests/platform/web/LoopbackServer.h"
#include "tests/platform/web/Rendering.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <vector>

namespace halden::test {
namespace {

class HtmlRendererTest : public ::testing::Test {
protected:
    static HtmlRenderer& renderer() {
        static HtmlRenderer instance;
        return instance;
    }
    static std::optional<AttributedString> rendered(std::string_view html, const HtmlReadingOptions& options = {}) {
        return renderer().attributedStringWithHTML(Data::copying(html), options);
    }
};

TEST_F(HtmlRendererTest, TellsFontsOfRuns) {
    const auto text = rendered("<p>plain <b>bold</b> <i>slanted</i>");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"plain bold slanted\n");
    EXPECT_FALSE(text->characterAttributesAt(0).font.bold);
    EXPECT_TRUE(text->characterAttributesAt(6).font.bold);
    EXPECT_TRUE(text->characterAttributesAt(11).font.italic);
    EXPECT_EQ(text->characterAttributesAt(0).font.family, u"Times");
    EXPECT_EQ(text->characterAttributesAt(0).font.size, 12);
}

TEST_F(HtmlRendererTest, TellsLooks) {
    const auto text = rendered(
        "<p align=right><u>u</u><s>s</s>H<sub>2</sub><sup>3</sup><span style='background:yellow;color:#f00'>m</span>"
        "<a href='http://h/x'>l</a></p>");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"usH23ml\n");
    EXPECT_EQ(text->characterAttributesAt(0).underline, kLineSingle);
    EXPECT_EQ(text->characterAttributesAt(1).strikethrough, kLineSingle);
    EXPECT_EQ(text->characterAttributesAt(3).superscript, -1);
    EXPECT_EQ(text->characterAttributesAt(4).superscript, 1);
    EXPECT_EQ(text->characterAttributesAt(5).background, (Color{1, 1, 0, 1}));
    EXPECT_EQ(text->characterAttributesAt(5).foreground, (Color{1, 0, 0, 1}));
    EXPECT_EQ(text->characterAttributesAt(6).link, u"http://h/x");
    EXPECT_EQ(text->paragraphAttributesAt(0).alignment, TextAlignment::right);
}

TEST_F(HtmlRendererTest, TellsListsAndTables) {
    const auto lists = rendered("<ul><li>a<ol start=3 type=i><li>b</ol><li>c</ul>");
    ASSERT_TRUE(lists);
    EXPECT_EQ(lists->string(), u"\t\u2022\ta\n\tiii.\tb\n\t\u2022\tc\n");
    const auto& inner = lists->paragraphAttributesAt(5).lists;
    ASSERT_EQ(inner.size(), 2u);
    EXPECT_EQ(inner[0]->markerFormat, u"{disc}");
    EXPECT_EQ(inner[1]->markerFormat, u"{lower-roman}.");
    EXPECT_EQ(inner[1]->startingItemNumber, 3);
    EXPECT_EQ(lists->paragraphAttributesAt(0).lists[0], inner[0]);

    const auto table = rendered(
        "<table><tr><td colspan=2 style='border:4px solid red;background:#0f0'>a<tr><td>b<td rowspan=2>c<tr><td>d"
        "</table>after");
    ASSERT_TRUE(table);
    EXPECT_EQ(table->string(), u"a\nb\nc\nd\nafter\n");
    const auto cell = [&](std::size_t position) { return table->paragraphAttributesAt(position).blocks.at(0); };
    EXPECT_EQ(cell(0).columnSpan, 2);
    EXPECT_EQ(cell(0).style->borders[0], (TableBorder{3, Color{1, 0, 0, 1}}));
    EXPECT_EQ(cell(0).style->background, (Color{0, 1, 0, 1}));
    EXPECT_EQ(cell(4).rowSpan, 2);
    EXPECT_EQ(cell(4).column, 1);
    EXPECT_EQ(cell(6).row, 2);
    EXPECT_EQ(cell(0).table, cell(6).table);
    EXPECT_TRUE(table->paragraphAttributesAt(8).blocks.empty());
}

struct TextCase {
    const char* html;
    const char16_t* text;
};

TEST_F(HtmlRendererTest, TellsTextAsItIsLaidOut) {
    const TextCase cases[] = {
        {"<p> a  b\n c <b> d</b> </p>", u"a b c d\n"},
        {"<pre>a\n  b\n</pre>c", u"a\n  b\nc\n"},
        {"a<br>b<br>", u"a\u2028b\n"},
        {"a<span style='display:none'>b</span><span style='visibility:hidden'>c</span>d", u"ad\n"},
        {"<style>p:before{content:'<'}p:after{content:'\\3e'}</style><p>x", u"<x>\n"},
        {"<p style='text-transform:uppercase'>abc", u"ABC\n"},
        {"<input value=typed><select><option>a<option selected>b</select><textarea>c</textarea>", u"typed b c\n"},
        {"<details><summary>s</summary>hidden</details>", u"s\n"},
        {"<script>document.write('<p>written')</script>", u"written\n"},
        {"<q>x</q>", u"\u201cx\u201d\n"},
        {"<iframe srcdoc='<p>inside'></iframe>", u"inside\n"},
        {"<p>a</p><div></div><p></p><p>b", u"a\nb\n"},
    };
    for (const TextCase& row : cases) {
        const auto text = rendered(row.html);
        ASSERT_TRUE(text) << row.html;
        EXPECT_EQ(text->string(), row.text) << row.html;
    }
}

TEST_F(HtmlRendererTest, DrawingsAreAttachments) {
    const auto text = rendered("<svg width=40 height=20><rect width=9 height=9 fill=red /></svg>");
    ASSERT_TRUE(text);
    ASSERT_EQ(text->attachments().size(), 1u);
    EXPECT_EQ(text->attachments()[0].attachment->type, u"public.png");
    EXPECT_EQ(text->attachments()[0].attachment->size, (Size{30, 15}));
}

TEST_F(HtmlRendererTest, AWorkerIsRenewedAfterSomePages) {
    HtmlRenderer own({.pages = 2});
    ASSERT_TRUE(own.attributedStringWithHTML(Data::copying("1"), {}));
    const pid_t first = own.process();
    ASSERT_TRUE(own.attributedStringWithHTML(Data::copying("2"), {}));
    ASSERT_TRUE(own.attributedStringWithHTML(Data::copying("3"), {}));
    EXPECT_NE(own.process(), first);
}

// As in the helper, where requests come in over the main context.
TEST_F(HtmlRendererTest, WhileAPageLoadsTheMainContextIsServed) {
    LoopbackServer server;
    server.answer("/never", "");
    std::vector<std::string> order;
    std::optional<std::u16string> inner;
    struct Work {
        std::vector<std::string>& order;
        std::optional<std::u16string>& inner;
    } work{order, inner};
    RecordingDelegate delegate([&](const Url& url) {
        if (!url.absoluteString().ends_with(u"never")) return true;
        const auto unrelated = [](gpointer data) -> gboolean {
            static_cast<Work*>(data)->order.emplace_back("unrelated");
            return G_SOURCE_REMOVE;
        };
        const auto page = [](gpointer data) -> gboolean {
            auto* todo = static_cast<Work*>(data);
            todo->inner = std::u16string(rendered("<p>inner").value_or(AttributedString()).string());
            todo->order.emplace_back("inner");
            return G_SOURCE_REMOVE;
        };
        g_timeout_add(50, page, &work);
        g_timeout_add(50, unrelated, &work);
        return true;
    });
    const auto text =
        rendered("<p>outer<img src='" + server.address() + "/never'>", {.timeout = 3, .delegate = &delegate});
    order.emplace_back("outer");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string().substr(0, 5), u"outer");
    EXPECT_EQ(inner, u"inner\n");
    ASSERT_EQ(order.size(), 3u);
    EXPECT_EQ(order.back(), "outer");
}

TEST_F(HtmlRendererTest, APageInsideAPageIsRenderedInsideIt) {
    std::optional<std::u16string> inner;
    RecordingDelegate delegate([&](const Url& url) {
        if (!inner && url.absoluteString().ends_with(u"inner.png"))
            inner = std::u16string(rendered("<p>inner").value_or(AttributedString()).string());
        return false;
    });
    const auto text = rendered("<p>outer<img src='http://localhost:8099/inner.png'>", {.delegate = &delegate});
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"outer\n");
    EXPECT_EQ(inner, u"inner\n");
}

}  // namespace
}  // namespace halden::test
