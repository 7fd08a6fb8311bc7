#include "foundation/Strings.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace halden
