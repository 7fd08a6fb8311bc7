#include "richtext/RtfCodePages.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

std::u16string decoded(int page, std::string_view bytes) {
    RtfCodePages pages;
    std::u16string text;
    pages.page(page).decode(bytes, text);
    return text;
}

TEST(RtfCodePages, DecodeTheirBytes) {
    struct Case {
        int page;
        std::string_view bytes;
        std::u16string_view text;
    };
    const Case cases[] = {
        {1252, "\x80\xE9", u"\u20AC\u00E9"},
        {1250, "\xE8", u"\u010D"},
        {1251, "\xCF", u"\u041F"},
        {1253, "\xE1", u"\u03B1"},
        {1255, "\xE0", u"\u05D0"},
        {1256, "\xC7\xC0", u"\u0627\u06C1"},
        {1257, "\xC0", u"\u0104"},
        {437, "\x82", u"\u00E9"},
        {850, "\x82", u"\u00E9"},
        {866, "\x8F", u"\u041F"},
        {874, "\xA1", u"\u0E01"},
        {10000, "\x8E", u"\u00E9"},
        {10007, "\x8F", u"\u041F"},
        {10029, "\x8B", u"\u010D"},
        {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
        {936, "\xD6\xD0", u"\u4E2D"},
        {949, "\xC7\xD1", u"\uD55C"},
        {950, "\xA4\xA4", u"\u4E2D"},
        {932, "\\", u"\\"},
        {65001, "\xF0\x9F\x98\x80", u"\U0001F600"},
        {932, "\x93", u"\uFFFD"},
        {31337, "\xE9", u"\u00E9"},
        {kCodePageSymbol, "a\xB7\xD3\xE3", u"\u03B1\u2022\u00A9\u00A9"},
        {kCodePageWingdings, "\xFC\x80", u"\u2713\u24EA"},
        {kCodePagePrivateSymbol, "a", u"\uF061"},
        {kCodePageNextStep, "\xD0", u"\u2014"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(decoded(c.page, c.bytes), c.text) << c.page;
}

TEST(RtfCodePages, KeepEveryByteOfLongRuns) {
    // Longer than the pieces in which converters are fed, with a character across their border.
    std::string bytes(1, 'x');
    std::u16string text(1, u'x');
    for (int i = 0; i < 600000; ++i) {
        bytes += "\x93\xFA";
        text += u'\u65E5';
    }
    EXPECT_EQ(decoded(932, bytes), text);
}

TEST(RtfCodePages, TellWhetherACharacterBreaksOff) {
    RtfCodePages pages;
    struct Case {
        int page;
        std::string_view bytes;
        bool breaksOff;
    };
    const Case cases[] = {{932, "\x93", true},          {932, "\x93\xFA", false}, {932, "\x93\x93", false},
                          {932, "a\x93\x93\x93", true}, {932, "a", false},        {932, "", false},
                          {932, "\xB1", false},         {936, "\xD6", true},      {1252, "\x93", false},
                          {65001, "\xC3", false}};
    for (const Case& c : cases)
        EXPECT_EQ(pages.page(c.page).endsInLeadByte(c.bytes), c.breaksOff) << c.page << c.bytes;
}

TEST(RtfCodePages, AreFoundByCharsetAndSymbolFont) {
    EXPECT_EQ(codePageOfCharset(204), 1251);
    EXPECT_EQ(codePageOfCharset(77), 10000);
    EXPECT_EQ(codePageOfCharset(128), 932);
    EXPECT_EQ(codePageOfCharset(1), 0);
    EXPECT_EQ(codePageOfCharset(-7), 0);
    EXPECT_EQ(codePageOfSymbolFont(u"Symbol"), kCodePageSymbol);
    EXPECT_EQ(codePageOfSymbolFont(u"Wingdings"), kCodePageWingdings);
    EXPECT_EQ(codePageOfSymbolFont(u"ITC Zapf Dingbats"), kCodePageDingbats);
    EXPECT_EQ(codePageOfSymbolFont(u"Wingdings 2"), kCodePagePrivateSymbol);
}

}  // namespace
}  // namespace halden
