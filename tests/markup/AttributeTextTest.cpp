#include "foundation/Unicode.h"
#include "markup/AttributeText.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace halden {
namespace {

constexpr AttributeTextOptions kCharset{.quote = u'\'', .tolerant = true, .stopAtSemicolon = true};

TEST(AttributeText, IsFound) {
    const AttributeTextOptions plain;
    const AttributeTextOptions tolerant{.tolerant = true};
    const AttributeTextOptions stopping{.quote = u'"', .stopAtSemicolon = true};
    const struct {
        std::u16string_view text;
        AttributeTextOptions options;
        std::optional<std::u16string> value;
    } cases[] = {
        {u"text/html; charset=utf-8", kCharset, u"utf-8"},
        {u"text/html; Charset = utf-8; x", kCharset, u"utf-8"},
        {u"charset='utf-8'", kCharset, u"utf-8"},
        {u"charset=\"utf 8\" x", kCharset, u"utf 8"},
        {u"charset='utf-8", kCharset, u"utf-8"},
        {u"charset=''; charset=b", kCharset, u"b"},
        {u"charset=; charset=b", kCharset, u"b"},
        {u"charset charset=b", kCharset, u"b"},
        {u"xcharset=b>", kCharset, u"b"},
        {u"charset=a b", kCharset, u"a"},
        {u"charset=", kCharset, {}},
        {u"charset", kCharset, {}},
        {u"", kCharset, {}},
        {u"charset= a;b c ", plain, u" a;b c "},
        {u"charset='a;b' c", plain, u"a;b"},
        {u"charset=\"a;b\" c", plain, u"\"a;b\" c"},
        {u"charset= a;b c", tolerant, u"a;b"},
        {u"charset=a\"b", tolerant, u"a"},
        {u"charset= a b;c", stopping, u" a b"},
        {u"charset='a b;c", stopping, u"'a b"},
        {u"charset=\"a b;c\"d", stopping, u"a b;c"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(_copyOfAttributeOfString(c.text, u"CHARSET", c.options), c.value) << utf8FromUtf16(c.text);
}

TEST(AttributeText, IsFoundInLinearTime) {
    std::u16string text;
    for (int i = 0; i < 1'000'000; ++i)
        text += u"charset ";
    text += std::u16string(1'000'000, u' ') + u"=x";
    EXPECT_EQ(_copyOfAttributeOfString(text, u"CHARSET", kCharset), u"x");
}

}  // namespace
}  // namespace halden
