#include "foundation/Unicode.h"
#include "richtext/FontNames.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(FontNames, TellFamilyAndStyle) {
    struct Case {
        std::u16string_view name;
        FontNaming naming;
        bool bold;
        bool italic;
        std::u16string_view family;
        std::u16string_view postScript;
        bool isBold;
        bool isItalic;
    };
    constexpr auto kPs = FontNaming::postScript;
    constexpr auto kFamily = FontNaming::family;
    const Case cases[] = {
        {u"Helvetica", kPs, false, false, u"Helvetica", u"Helvetica", false, false},
        {u"Helvetica", kPs, true, false, u"Helvetica", u"Helvetica-Bold", true, false},
        {u"Helvetica-Bold", kPs, false, true, u"Helvetica", u"Helvetica-BoldOblique", true, true},
        {u"Times-Roman", kPs, false, false, u"Times", u"Times-Roman", false, false},
        {u"TimesNewRomanPS-BoldMT", kPs, false, false, u"Times New Roman", u"TimesNewRomanPS-BoldMT", true, false},
        {u"Arial", kFamily, false, false, u"Arial", u"ArialMT", false, false},
        {u"Times New Roman", kFamily, true, true, u"Times New Roman", u"TimesNewRomanPS-BoldItalicMT", true, true},
        {u"HelveticaNeue-Light", kPs, false, false, u"Helvetica Neue", u"HelveticaNeue-Light", false, false},
        {u"HelveticaNeue-Bold", kPs, true, false, u"Helvetica Neue", u"HelveticaNeue-Bold", true, false},
        {u"HelveticaNeue-Bold", kPs, false, true, u"Helvetica Neue", u"HelveticaNeue-BoldItalic", true, true},
        {u"LucidaGrande", kPs, false, true, u"Lucida Grande", u"LucidaGrande-Italic", false, true},
        {u"Comic Sans MS", kPs, false, false, u"Comic Sans MS", u"ComicSansMS", false, false},
        {u"OpenSymbol", kFamily, true, false, u"OpenSymbol", u"OpenSymbol-Bold", true, false},
        {u"Noto Sans CJK-X", kFamily, false, false, u"Noto Sans CJK-X", u"NotoSansCJK-X", false, false},
        {u"", kPs, false, false, u"", u"", false, false},
        {u"-", kPs, true, false, u"", u"-Bold", true, false},
    };
    for (const Case& c : cases) {
        const Font font = fontNamed(c.name, c.naming, 10, c.bold, c.italic);
        EXPECT_EQ(font.family, c.family) << utf8FromUtf16(c.name);
        EXPECT_EQ(font.name, c.postScript) << utf8FromUtf16(c.name);
        EXPECT_EQ(font.bold, c.isBold) << utf8FromUtf16(c.name);
        EXPECT_EQ(font.italic, c.isItalic) << utf8FromUtf16(c.name);
        EXPECT_EQ(font.size, 10);
    }
}

}  // namespace
}  // namespace halden
