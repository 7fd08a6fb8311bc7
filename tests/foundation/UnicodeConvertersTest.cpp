#include "foundation/UnicodeConverters.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using namespace std::string_view_literals;

struct ToUnicode {
    const char* what;
    std::string_view bytes;
    std::size_t capacity;
    int status;
    std::u16string_view written;  // what must stand at the start of the buffer
};

TEST(UnicodeConverters, Utf8ToUnicodeReportsTheConvertersStatus) {
    initUnicodeConverters();
    initUnicodeConverters();
    const ToUnicode rows[] = {
        {"all of it", "a\xC3\xA9", 8, 0, u"a\u00E9#"},
        {"exactly fitting", "a\xC3\xA9", 2, 0, u"a\u00E9"},
        {"nothing", "", 8, 0, u"#"},
        {"malformed", "a\xFFz", 8, -8739, u"a#"},
        {"malformed in a long text", "0123456789abcdef01234\xFF, and what follows is not read", 64, -8739,
         u"0123456789abcdef01234############"},
        {"shorter than its bytes", "a\u20AC\u20AC\u20AC\u20AC\u20AC", 32, 0,
         u"a\u20AC\u20AC\u20AC\u20AC\u20AC##########"},
        {"cut", "a\xC3", 8, -8753, u"a#"},
        {"too small", "abc", 2, -8785, u"ab"},
        {"no room for a pair", "a\xF0\x9F\x98\x80", 2, -8785, u"a#"},
        {"no room at all", "a", 0, -8785, u""},
    };
    for (const auto& row : rows) {
        std::u16string units(row.capacity, u'#');
        EXPECT_EQ(convertUTF8ToUnicode(row.bytes, units), row.status) << row.what;
        EXPECT_EQ(std::u16string_view(units).substr(0, row.written.size()), row.written) << row.what;
    }
}

TEST(UnicodeConverters, UnicodeToUtf8ReportsTheConvertersStatus) {
    struct Row {
        const char* what;
        std::u16string_view units;
        std::size_t capacity;
        int status;
        std::string_view written;
    };
    const Row rows[] = {
        {"all lengths", u"a\u00E9\u20AC\U0001F600", 16, 0, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80#"},
        {"exactly fitting", u"\u20AC", 3, 0, "\xE2\x82\xAC"},
        {"nothing", u"", 4, 0, "#"},
        {"too small", u"a\u20AC", 3, -8785, "a##"},
        {"lone low surrogate", u"a\xDC00", 8, -8739, "a#"},
        {"high surrogate before a letter", u"a\xD83Dz", 8, -8739, "a#"},
        {"high surrogate at the end", u"a\xD83D", 8, -8753, "a#"},
    };
    for (const auto& row : rows) {
        std::string bytes(row.capacity, '#');
        EXPECT_EQ(convertUnicodeToUTF8(row.units, bytes), row.status) << row.what;
        EXPECT_EQ(std::string_view(bytes).substr(0, row.written.size()), row.written) << row.what;
    }
}

TEST(UnicodeConverters, FromAnEncodingAnswersYesOrNoButAStatusWithoutConverter) {
    struct Row {
        const char* what;
        std::string_view bytes;
        CFStringEncoding encoding;
        std::size_t capacity;
        int result;
        std::u16string_view text;
    };
    const Row rows[] = {
        {"all of it", "\x82\xA0", 0xA01, 8, 1, u"\u3042"},
        {"undefined counts as converted", "\x81", 0x500, 8, 1, u"\uFFFD"},
        {"malformed", "a\xFFz", 0x8000100, 8, 0, u"a"},
        {"too small", "abc", 0x201, 2, 0, u"ab"},
        {"known, no converter", "abc", 0xFF, 8, -8749, u""},
        {"unknown", "abc", 0x1234, 8, -8738, u""},
        {"invalid", "abc", 0xFFFFFFFF, 8, -8738, u""},
    };
    for (const auto& row : rows) {
        std::u16string units(row.capacity, u'#');
        std::size_t written = 99;
        EXPECT_EQ(convertEncodingToUnicode(row.bytes, row.encoding, units, written), row.result) << row.what;
        EXPECT_EQ(std::u16string_view(units).substr(0, written), row.text) << row.what;
    }
}

}  // namespace
}  // namespace halden
