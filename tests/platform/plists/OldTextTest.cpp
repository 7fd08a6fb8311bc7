#include "tests/platform/plists/ListText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using testing::HasSubstr;

struct Text {
    const char* text;
    Value expected;
};

TEST(OldTextReader, ReadsEveryForm) {
    const Text cases[] = {
        {"(\n    \"/a b.mdimporter\",\n    \"/c\"\n)\n", Array{u"/a b.mdimporter", u"/c"}},
        {"()", Array()},
        {"(a, b,)", Array{u"a", u"b"}},
        {"( ( ) , {} )", Array{Array(), Dictionary()}},
        {"word_$/:.-9", u"word_$/:.-9"},
        {"'it \"is\"'", u"it \"is\""},
        {"\"it's\"", u"it's"},
        {"\"\"", u""},
        {"12", u"12"},
        {"{a = 1; \"b c\" = (x); d;}", Dictionary{{u"a", u"1"}, {u"b c", Array{u"x"}}, {u"d", u"d"}}},
        {"{}", Dictionary()},
        {"<0fBd 77\n7A>", Data::copying("\x0F\xBD\x77\x7A")},
        {"// first\n(a /* in, side */, b // last\n)", Array{u"a", u"b"}},
        {"/**/a", u"a"},
        // A word may hold slashes, so no comment begins inside one.
        {"a//b", u"a//b"},
        {"\"key\" = \"value\";\n/* c */ other;\n", Dictionary{{u"key", u"value"}, {u"other", u"other"}}},
        {"a;", Dictionary{{u"a", u"a"}}},
        {"{a = 1; a = 2;}", Dictionary{{u"a", u"2"}}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(listFrom(text), expected) << text;
}

TEST(OldTextReader, UndoesEscapes) {
    const Text cases[] = {
        {R"("\a\b\f\n\r\t\v")", u"\a\b\f\n\r\t\v"},
        {R"("\"\'\\\q")", u"\"'\\q"},
        {"\"a\\\nb\"", u"a\nb"},
        {R"("\101\12\0609")", u"A\n09"},
        {R"("\0")", std::u16string(1, u'\0')},
        // Octal escapes above 177 are NEXTSTEP bytes, not Latin 1.
        {R"("\200\240\256\341\373\377")", u"\u00A0\u00A9\uFB01\u00C6\u00DF\uFFFD"},
        {R"("\U20ac\U41x\U")", u"\u20ACAxU"},
        {R"("\Ud83d\Ude00")", u"\U0001F600"},
        {R"("\Ud83d")", std::u16string(1, char16_t{0xD83D})},
        {R"("\U00e91")",
         u"\u00E9"
         u"1"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(listFrom(text), expected) << text;
}

TEST(OldTextReader, SaysWhatIsWrongAndWhere) {
    const Text cases[] = {
        {"(a", u"a comma or a closing parenthesis is missing (line 1, offset 2)"},
        {"(a,", u"an array that does not end (line 1, offset 3)"},
        {"(a\nb)", u"a comma or a closing parenthesis is missing (line 2, offset 3)"},
        {"(,)", u"an unexpected character (line 1, offset 1)"},
        {"{a = 1}", u"a semicolon is missing (line 1, offset 6)"},
        {"{a = ;}", u"an unexpected character (line 1, offset 5)"},
        {"{a = ", u"a value is missing (line 1, offset 5)"},
        {"{a = 1;", u"a key or a closing brace is missing (line 1, offset 7)"},
        {"{(a) = 1;}", u"a key or a closing brace is missing (line 1, offset 1)"},
        {"(a) b", u"text after the end of the value (line 1, offset 4)"},
        {"a b", u"text after the end of the value (line 1, offset 2)"},
        {"a = b; (c)", u"a key that is no string (line 1, offset 7)"},
        {"a = b", u"a semicolon is missing (line 1, offset 5)"},
        {"(\n\"a", u"a string that does not end (line 2, offset 2)"},
        {"\"a\\", u"a string that does not end (line 1, offset 0)"},
        {"\"\\777\"", u"an octal escape that is larger than a byte (line 1, offset 5)"},
        {"<abc>", u"data with half a byte (line 1, offset 4)"},
        {"<ag>", u"a character in data that is no hexadecimal digit (line 1, offset 2)"},
        {"<ab", u"data that do not end (line 1, offset 3)"},
        {"(a /* b", u"a comment that does not end (line 1, offset 3)"},
    };
    for (const auto& [text, expected] : cases) {
        const std::string complaint = complaintAbout(text);
        EXPECT_EQ(Value(std::u16string(complaint.begin(), complaint.end())), expected) << complaint;
    }
}

TEST(OldTextReader, NestsToTheLimitAndNoFurther) {
    const auto text = [](int depth) {
        const auto count = static_cast<std::size_t>(depth);
        return std::string(count, '(') + "a" + std::string(count, ')');
    };
    EXPECT_EQ(listFrom(text(512)), nested(u"a", 512));
    EXPECT_THAT(complaintAbout(text(513)), HasSubstr("nested too deeply"));
    EXPECT_THAT(complaintAbout(std::string(1000000, '{')), HasSubstr("a key or a closing brace"));
    EXPECT_THAT(complaintAbout(std::string(1000000, '(')), HasSubstr("nested too deeply"));
}

TEST(OldTextWriter, QuotesEveryStringOnALineOfItsOwn) {
    const std::u16string strings[] = {u"/a b", u"\u00E9\"\\\n\t\u001B7", u"\U0001F600"};
    EXPECT_EQ(oldTextPropertyListOfStrings(strings),
              "(\n    \"/a b\",\n    \"\\U00e9\\\"\\\\\\n\\t\\0337\",\n    \"\\Ud83d\\Ude00\"\n)\n");
    EXPECT_EQ(oldTextPropertyListOfStrings({}), "(\n)\n");
}

// Whatever a file is called, its path must come back from the list.
TEST(OldTextWriter, EveryUnitComesBack) {
    std::vector<std::u16string> strings;
    Array expected;
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
        strings.push_back({u'a', static_cast<char16_t>(unit), u'7'});
        expected.emplace_back(strings.back());
    }
    EXPECT_EQ(listFrom(oldTextPropertyListOfStrings(strings)), Value(std::move(expected)));
}

}  // namespace
}  // namespace halden
