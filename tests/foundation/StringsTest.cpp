#include "foundation/Strings.h"

#include <gtest/gtest.h>

#include <cmath>

namespace halden {
namespace {

TEST(Strings, LowercaseIsTheFullMapping) {
    EXPECT_EQ(lowercaseString(u"public.HTML"), u"public.html");
    EXPECT_EQ(lowercaseString(u"ÄÖÜ ΑΣ"), u"äöü ας");   // a sigma at the end of a word
    EXPECT_EQ(lowercaseString(u"\u0130"), u"i\u0307");  // grows
    EXPECT_EQ(lowercaseString(std::u16string_view(u"A\0B", 3)), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(lowercaseString(u""), u"");
}

TEST(Strings, ComparisonIgnoresCaseAndNothingElse) {
    EXPECT_TRUE(isEqualToStringNoCase(u"mdImporter", u"MDIMPORTER"));
    EXPECT_TRUE(isEqualToStringNoCase(u"straße", u"STRASSE"));
    EXPECT_TRUE(isEqualToStringNoCase(u"", u""));
    EXPECT_FALSE(isEqualToStringNoCase(u"a", u""));
    EXPECT_FALSE(isEqualToStringNoCase(u"a", u"\u00E1"));
    EXPECT_FALSE(isEqualToStringNoCase(std::u16string_view(u"a\0b", 3), u"a"));
}

TEST(Strings, HaveTheIntegerTheyBeginWith) {
    const struct {
        std::u16string_view string;
        std::int64_t value;
    } cases[] = {
        {u"120px", 120},
        {u" \t-7.5", -7},
        {u"+3", 3},
        {u"- 3", 0},
        {u"", 0},
        {u"px 120", 0},
        {u"9223372036854775807", INT64_MAX},
        {u"9223372036854775808", INT64_MAX},
        {u"-9223372036854775808", INT64_MIN},
        {u"-99999999999999999999", INT64_MIN},
        {u"\uFF11", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(integerValue(c.string), c.value);
}

TEST(Strings, HaveTheDecimalNumberTheyBeginWith) {
    const struct {
        std::u16string_view string;
        float value;
    } cases[] = {
        {u"7 days", 7.0F}, {u" 1.5", 1.5F}, {u"+.25x", 0.25F}, {u"-2e1", -20.0F},    {u"1e", 1.0F},
        {u"days", 0.0F},   {u"", 0.0F},     {u"+-3", 0.0F},    {u"1e99", HUGE_VALF}, {u"-1e99", -HUGE_VALF},
        {u"1e-99", 0.0F},  {u"0.1", 0.1F},  {u"inf", 0.0F},    {u"nan", 0.0F},
    };
    for (const auto& c : cases)
        EXPECT_EQ(floatValue(c.string), c.value);
}

}  // namespace
}  // namespace halden
