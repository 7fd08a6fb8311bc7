#include "documents/PlainText.h"

#include <gtest/gtest.h>

#include <string>

namespace quarry {
namespace {

using namespace std::string_literals;
using halden::kInvalidEncoding;

struct Case {
    const char* name;
    std::string bytes;
    halden::CFStringEncoding declared;
    std::u16string text;
    halden::NSStringEncoding encoding;
};

class PlainTextEncoding : public ::testing::TestWithParam<Case> {};

TEST_P(PlainTextEncoding, IsTold) {
    const std::string& bytes = GetParam().bytes;
    const std::span<const std::uint8_t> span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    EXPECT_TRUE(isText(span, true));
    const auto text = plainTextFromBytes(span, GetParam().declared);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->text, GetParam().text);
    EXPECT_EQ(text->encoding, GetParam().encoding);
}

constexpr halden::CFStringEncoding kCyrillic = 0x502;  // Windows
constexpr halden::CFStringEncoding kJapaneseMail = 0x820;

INSTANTIATE_TEST_SUITE_P(
    PlainText, PlainTextEncoding,
    ::testing::Values(Case{"ascii", "a\r\nb", kInvalidEncoding, u"a\r\nb", 4},
                      Case{"empty", "", kInvalidEncoding, u"", 4},
                      Case{"utf8", "\xE2\x82\xAC\xF0\x9F\x8D\xB7", kInvalidEncoding, u"€🍷", 4},
                      Case{"utf8Marked", "\xEF\xBB\xBF\xE2\x82\xAC", kInvalidEncoding, u"€", 4},
                      // Validity is stronger evidence than an attribute that an editor may have left behind.
                      Case{"utf8Declared", "\xE2\x82\xAC", kCyrillic, u"€", 4},
                      Case{"declared", "\xEF\xF0\xE8", kCyrillic, u"при", 11},
                      Case{"declaredInAscii", "\x1B$B$\"\x1B(B", kJapaneseMail, u"あ", 21},
                      Case{"declaredWrongly", "caf\xE9", halden::kCFStringEncodingUTF8, u"café", 12},
                      Case{"otherwise", "caf\xE9 \x80", kInvalidEncoding, u"café €", 12},
                      Case{"utf16Little", "\xFF\xFE"s + "a\0\xAC\x20"s, kInvalidEncoding, u"a€", 10},
                      Case{"utf16Big", "\xFE\xFF\0a\x20\xAC"s, kInvalidEncoding, u"a€", 10},
                      Case{"utf32", "\xFF\xFE\0\0\xAC\x20\0\0"s, kInvalidEncoding, u"€", 0x9C000100},
                      Case{"utf16Unmarked", "a\0b\0\n\0\xE9\0"s, kInvalidEncoding, u"ab\né", 0x94000100}),
    [](const auto& row) { return row.param.name; });

TEST(PlainText, BytesThatNoEncodingMakesSenseOfAreNone) {
    for (const std::string& bytes : {"\xFF\xFE\0"s, "\xEF\xBB\xBF\xFF"s, "\xFF\xFE\0\xD8"s}) {
        const std::span<const std::uint8_t> span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        EXPECT_FALSE(plainTextFromBytes(span, kInvalidEncoding)) << ::testing::PrintToString(bytes);
    }
}

TEST(PlainText, TheAttributeNamesAnEncoding) {
    EXPECT_EQ(encodingFromAttribute("utf-8;134217984"), halden::kCFStringEncodingUTF8);
    EXPECT_EQ(encodingFromAttribute(";0"), halden::kCFStringEncodingMacRoman);
    for (const char* attribute : {"utf-8", "UTF-8;", "utf-8;x", "utf-8;99999"})
        EXPECT_EQ(encodingFromAttribute(attribute), halden::kCFStringEncodingUTF8) << attribute;
    EXPECT_EQ(encodingFromAttribute("windows-1251"), kCyrillic);
    for (const char* attribute : {"", ";", ";x", ";-1", "no-such-name", "\xFF;"})
        EXPECT_EQ(encodingFromAttribute(attribute), kInvalidEncoding) << attribute;
}

}  // namespace
}  // namespace quarry
