#include "platform/web/HtmlRenderer.h"
#include "tests/platform/web/Rendering.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace halden::test
