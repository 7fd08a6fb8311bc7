#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "markup/CharsetNames.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace halden {
namespace {

std::u16string numbered(std::u16string_view prefix, unsigned number) {
    std::u16string name(prefix);
    for (const char digit : std::to_string(number))
        name += static_cast<char16_t>(digit);
    return name;
}

struct Numbered {
    unsigned number;
    CFStringEncoding encoding;
};

const Numbered kNumbers[] = {
    {437, 0x400},    {646, 0x920},    {6461, 0x920},   {708, 0x206},    {737, 0x405},    {775, 0x406},
    {850, 0x410},    {851, 0x411},    {852, 0x412},    {855, 0x413},    {857, 0x414},    {860, 0x415},
    {861, 0x416},    {862, 0x417},    {863, 0x418},    {864, 0x419},    {865, 0x41A},    {866, 0x41B},
    {869, 0x41C},    {874, 0x41D},    {932, 0x420},    {936, 0x421},    {949, 0x422},    {950, 0x423},
    {1250, 0x501},   {1251, 0x502},   {1252, 0x500},   {1253, 0x503},   {1254, 0x504},   {1255, 0x505},
    {1256, 0x506},   {1257, 0x507},   {1258, 0x508},   {1361, 0x510},   {8591, 0x201},   {8859, 0x201},
    {80591, 0x201},  {85591, 0x201},  {88191, 0x201},  {88391, 0x201},  {88511, 0x201},  {88571, 0x201},
    {88591, 0x201},  {88611, 0x201},  {88691, 0x201},  {88791, 0x201},  {89091, 0x201},  {99591, 0x201},
    {100591, 0x201}, {810091, 0x201}, {85922, 0x202},  {88582, 0x202},  {88592, 0x202},  {88593, 0x203},
    {88594, 0x204},  {88595, 0x205},  {88596, 0x206},  {88597, 0x207},  {88598, 0x208},  {88599, 0x209},
    {89599, 0x209},  {885910, 0x20A}, {885911, 0x20B}, {885913, 0x20D}, {885914, 0x20E}, {885915, 0x20F},
    {885916, 0x210}, {2022, 0x820},
};

TEST(CharsetNames, Numbers) {
    for (const auto& [number, encoding] : kNumbers) {
        EXPECT_EQ(charset2CFStringEncoding(numbered(u"x-", number)), encoding) << number;
        EXPECT_EQ(charset2CFStringEncoding(numbered(u"", number) + u"_e"), encoding) << number;
    }
}

TEST(CharsetNames, AMisspelledLatin1HasARangeOfNumbers) {
    for (unsigned number = 885090; number <= 885410; ++number) {
        const bool isLatin1 = number >= 885101 && number <= 885391 && number % 10 == 1;
        EXPECT_EQ(charset2CFStringEncoding(numbered(u"iso", number)), isLatin1 ? 0x201 : kInvalidEncoding) << number;
    }
}

TEST(CharsetNames, UnknownNumbersFallThroughToTheWords) {
    const std::pair<std::u16string_view, CFStringEncoding> rows[] = {
        {u"latin 1", 0x201},
        {u"windows-99", 0x500},
        {u"utf-8", 0x08000100},
        {u"big5-2003", 0xA03},
        {u"iso-1252-latin2", 0x500},  // a number that is known goes before every word
        {u"utf-8 1252", 0x08000100},  // the number is 81252
        {u"99999999999999999999", kInvalidEncoding},
        {u"429497539500000001252", kInvalidEncoding},
        {u"4294968548", kInvalidEncoding},  // 1252 in 32 bits
    };
    for (const auto& [name, encoding] : rows)
        EXPECT_EQ(charset2CFStringEncoding(name), encoding) << utf8FromUtf16(name);
}

TEST(CharsetNames, Words) {
    const std::pair<std::u16string_view, CFStringEncoding> rows[] = {
        // The kinds of row: whole, contained, prefix; each also where it must not match.
        {u"windows", 0x500},
        {u"Windows-Latin", 0x500},
        {u"mswindows", kInvalidEncoding},
        {u"mac", 0},
        {u"x-mac-roman", 0},
        {u"macintosh", 0},
        {u"Mac Cyrillic", 7},
        {u"x-mac-ce", 29},
        {u"mac-nonsense", kInvalidEncoding},
        {u"latin10", 0x210},
        {u"x-latin-1-x", 0x201},
        {u"latin-1", 0x201},
        {u"latin", 0x201},
        {u"latin2", 0x202},
        {u"latin3", 0x203},
        {u"latin4", 0x204},
        {u"latin5", 0x209},
        {u"latin6", 0x20A},
        {u"latin7", 0x20D},
        {u"latin8", 0x20E},
        {u"latin9", 0x20F},
        {u"latin-utf-8", 0x08000100},  // no latin row, so the rows after them
        {u"latina", kInvalidEncoding},
        {u"ISO", 0x201},
        {u"isox", kInvalidEncoding},
        {u"visual", 0x208},
        {u"x-kam-cs", 0xA001},
        {u"kam_cs", 0xA001},
        {u"KBKAM", 0xA001},
        {u"koi8-cs2", 0xA002},
        {u"CSN_369103", 0xA002},
        {u"koi8-cs", 0xA02},
        {u"us-ascii", 0x600},
        {u"ascii", 0x600},
        {u"ascii-x", kInvalidEncoding},
        {u"utf-7", 0x600},
        {u"x-gb2312-x", 0x930},
        {u"gbk", 0x631},
        {u"x-gbk", kInvalidEncoding},
        {u"gb18030", 0x632},
        {u"utf", 0x08000100},
        {u"utf-08", 0x08000100},
        {u"uft-8", 0x08000100},
        {u"utf%2D8", 0x08000100},
        {u"x-utf-8-x", 0x08000100},
        {u"utf-9", 0x08000100},
        {u"unicode", 0x08000100},
        {u"unicode-1-1", kInvalidEncoding},
        {u"utf-16le", 0x100},
        {u"Shift_JIS", 0xA01},
        {u"shift-j", 0xA01},
        {u"x-sjis", 0xA01},
        {u"koi8-r", 0xA02},
        {u"koi8-u", 0xA02},
        {u"x-koi8", kInvalidEncoding},
        {u"big5-hkscs", 0xA03},
        {u"euc-kr", 0x940},
        {u"x-euc-jp", 0x920},
        {u"euc_cn", 0x930},
        {u"x-euc-tw", 0x931},
        {u"ks_c_5601-1987", 0x640},
        {u"ksc5601-87", 0x640},
        {u"ksc5601-92", 0x641},
        {u"KSC5601-92-Johab", 0x641},
        {u"en-US", 0x08000100},
        {u"en_gb", 0x08000100},
        {u"none", 0x600},
        // Less than three letters and digits, and what says nothing.
        {u"", kInvalidEncoding},
        {u"en", kInvalidEncoding},
        {u"-e-n-", kInvalidEncoding},
        {u"auto", kInvalidEncoding},
        {u"foo-bar", kInvalidEncoding},
        {u"iso2022jp", 0x820},
        {u"iso-2022-jp-1", 0x822},
        {u"iso-2022-jp-2", 0x821},
        {u"iso-2022-jp-3", 0x823},
        {u"x-iso-2022-jp-1", 0x820},
        {u"iso-2022-kr", 0x820},
        {u"\u00CFSO-8859-1", 0x201},  // letters beyond ASCII count as letters
        {u"i.s.o", 0x201},
    };
    for (const auto& [name, encoding] : rows) {
        EXPECT_EQ(charset2CFStringEncoding(name), encoding) << utf8FromUtf16(name);
        EXPECT_EQ(CFEncodingFromName(name), encoding) << utf8FromUtf16(name);
    }
}

TEST(CharsetNames, SpellingsOfOneName) {
    for (const std::u16string_view name : {u"ISO-8859-1", u"iso_8859-1", u"ISO8859_1", u"latin-1", u"8859"})
        EXPECT_EQ(charset2CFStringEncoding(name), kCFStringEncodingISOLatin1) << utf8FromUtf16(name);
    for (const std::u16string_view name : {u"windows-1252", u"cp1252", u"CP-1252"})
        EXPECT_EQ(charset2CFStringEncoding(name), kCFStringEncodingWindowsLatin1) << utf8FromUtf16(name);
}

TEST(CharsetNames, MacScripts) {
    const std::pair<std::u16string_view, CFStringEncoding> rows[] = {
        {u"", 0},
        {u"roman", 0},
        {u"osroman", 0},
        {u"intosh", 0},
        {u"romanlatin1", 0xA04},
        {u"ce", 29},
        {u"centraleur", 29},
        {u"japanese", 1},
        {u"chinesetrad", 2},
        {u"korean", 3},
        {u"arabic", 4},
        {u"hebrew", 5},
        {u"greek", 6},
        {u"cyrillic", 7},
        {u"devanagari", 9},
        {u"gurmukhi", 10},
        {u"gujarati", 11},
        {u"oriya", 12},
        {u"bengali", 13},
        {u"tamil", 14},
        {u"telugu", 15},
        {u"kannada", 16},
        {u"malayalam", 17},
        {u"sinhalese", 18},
        {u"burmese", 19},
        {u"khmer", 20},
        {u"thai", 21},
        {u"laotian", 22},
        {u"georgian", 23},
        {u"armenian", 24},
        {u"chinesesimp", 25},
        {u"tibetan", 26},
        {u"mongolian", 27},
        {u"ethiopic", 28},
        {u"vietnamese", 30},
        {u"extarabic", 31},
        {u"turkish", 35},
        {u"croatian", 36},
        {u"icelandic", 37},
        {u"romanian", 38},
        {u"celtic", 39},
        {u"gaelic", 40},
        {u"farsi", 140},
        {u"ukrainian", 152},
        {u"inuit", 236},
        {u"Roman", kInvalidEncoding},
        {u"romans", kInvalidEncoding},
    };
    for (const auto& [name, encoding] : rows)
        EXPECT_EQ(macEncoding(name), encoding) << utf8FromUtf16(name);
}

class CharsetLog : public testing::Test {
protected:
    void SetUp() override {
        setLogSink([this](LogLevel, std::string_view message) { messages_.emplace_back(message); });
    }
    void TearDown() override { setLogSink({}); }

    std::vector<std::string> messages_;
};

TEST_F(CharsetLog, StringEncodingsOfNames) {
    const std::pair<std::u16string_view, NSStringEncoding> rows[] = {
        {u"us-ascii", 1},        {u"utf-8", 4},           {u"iso-8859-1", 5},        {u"Shift_JIS", 8},
        {u"cp932", 8},           {u"windows-1251", 11},   {u"windows-1250", 15},     {u"x-mac-roman", 30},
        {u"euc-kr", 0x80000940}, {u"kam-cs", 0xFFFFFFF0}, {u"koi8-cs2", 0xFFFFFFF1},
    };
    for (const auto& [name, encoding] : rows) {
        EXPECT_EQ(charset2NSStringEncoding(name), encoding) << utf8FromUtf16(name);
        EXPECT_EQ(NSEncodingFromName(name), encoding) << utf8FromUtf16(name);
    }
    EXPECT_TRUE(messages_.empty());
}

TEST_F(CharsetLog, OnlyNamesThatMeanSomethingAreLogged) {
    for (const std::u16string_view name : {u"", u"auto", u"AUTO", u"/", u"0", u"<", u">"})
        EXPECT_EQ(charset2NSStringEncoding(name), kInvalidEncoding) << utf8FromUtf16(name);
    EXPECT_TRUE(messages_.empty());
    // No name, a short one, a known one that nothing converts, and one beyond ASCII.
    for (const std::u16string_view name : {u"foo-bar", u"1", u"x-mac-japanese", u"\u00E9\u20AC\u00E8"})
        EXPECT_EQ(charset2NSStringEncoding(name), kInvalidEncoding) << utf8FromUtf16(name);
    const std::vector<std::string> expected = {
        "Unknown/Unsupported encoding: foo-bar",
        "Unknown/Unsupported encoding: 1",
        "Unknown/Unsupported encoding: x-mac-japanese",
        "Unknown/Unsupported encoding: \u00E9\u20AC\u00E8",
    };
    EXPECT_EQ(messages_, expected);
}

}  // namespace
}  // namespace halden
