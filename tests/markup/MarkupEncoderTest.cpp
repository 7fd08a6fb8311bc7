#include "foundation/Unicode.h"
#include "markup/MarkupEncoder.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(MarkupData, IsInTheDeclaredEncoding) {
    struct Row {
        const char* what;
        std::u16string_view markup;
        std::optional<std::string> bytes;
        NSStringEncoding encoding;
    };
    const Row rows[] = {
        {"nothing", u"", "", 1},
        {"declared", u"<meta charset=koi8-r>\u0430", "<meta charset=koi8-r>\xC1", 0x80000A02},
        {"declared UTF-8", u"<meta charset=utf-8>\u00E9", "<meta charset=utf-8>\xC3\xA9", 4},
        {"declared Shift JIS", u"<meta charset=sjis>\u3042", "<meta charset=sjis>\x82\xA0", 8},
        {"declared Kamenicky", u"<meta charset=kam-cs>\u0159", "<meta charset=kam-cs>\xA9", 0xFFFFFFF0},
        {"declared, lacks a character", u"<meta charset=koi8-r>\u4E00", std::nullopt, 0x80000A02},
        {"not declared", u"<p>\u00E9\u4E00", "<p>&eacute;&#19968;", 1},
        {"ASCII declared, lacks a character", u"<meta charset=ascii>\u00E9", std::nullopt, 1},
        {"nonsense declared", u"<meta charset=auto>\u00E9", "<meta charset=auto>&eacute;", 1},
    };
    for (const auto& row : rows) {
        NSStringEncoding encoding = 99;
        EXPECT_EQ(markupData(row.markup, &encoding), row.bytes) << row.what;
        EXPECT_EQ(encoding, row.encoding) << row.what;
    }
    EXPECT_EQ(markupData(u"a"), "a") << "the encoding need not be asked for";
}

}  // namespace
}  // namespace halden
