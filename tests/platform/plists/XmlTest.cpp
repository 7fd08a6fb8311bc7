#include "tests/platform/plists/ListText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace halden {
namespace {

using testing::HasSubstr;

std::optional<Value> xmlValue(const std::string& element) {
    return listFrom("<plist version='1.0'>" + element + "</plist>");
}

struct Element {
    const char* text;
    Value expected;
};

TEST(XmlReader, ReadsEveryKindOfValue) {
    const Element cases[] = {
        {"<string>a &lt;&#x20AC;&gt; <![CDATA[<b>]]></string>", u"a <\u20AC> <b>"},
        {"<string/>", u""},
        {"<string> a\r\nb </string>", u" a\nb "},
        {"<string>\xF0\x9F\x98\x80</string>", u"\U0001F600"},
        {"<integer> 42 </integer>", 42},
        {"<integer>-0x10</integer>", -16},
        {"<integer>+0XfF</integer>", 255},
        {"<integer>9223372036854775807</integer>", Value(std::numeric_limits<std::int64_t>::max())},
        {"<integer>-9223372036854775808</integer>", Value(std::numeric_limits<std::int64_t>::min())},
        {"<integer>9223372036854775808</integer>", 9223372036854775808.0},
        {"<integer>-9223372036854775809</integer>", -9223372036854775808.0},
        {"<integer>0x10000000000000000</integer>", 18446744073709551616.0},
        {"<real>1.5</real>", 1.5},
        {"<real>-1e3</real>", -1000.0},
        {"<real> +.25 </real>", 0.25},
        {"<real>1e999</real>", std::numeric_limits<double>::infinity()},
        {"<real>-Infinity</real>", -std::numeric_limits<double>::infinity()},
        {"<real>INF</real>", std::numeric_limits<double>::infinity()},
        {"<true/>", true},
        {"<false></false>", false},
        {"<date>2001-01-01T00:00:00Z</date>", Date{0}},
        {"<date> 2000-02-29T23:59:60Z </date>", Date{-26438400}},
        {"<date>0001-01-01T00:00:00Z</date>", Date{-63113904000}},
        {"<data>\n\tAAEC\n\t/w==\n</data>", Data::copying(std::string_view("\0\1\2\xFF", 4))},
        {"<data>/w</data>", Data::copying("\xFF")},
        {"<data/>", Data()},
        {"<array/>", Array()},
        {"<array><integer>1</integer><array/><true/></array>", Array{1, Array(), true}},
        {"<dict/>", Dictionary()},
        {"<dict><key>b</key><integer>1</integer><!-- x --><key></key><string>c</string></dict>",
         Dictionary{{u"b", 1}, {u"", u"c"}}},
        {"<dict><key>CF$UID</key><integer>7</integer></dict>", Dictionary{{u"CF$UID", 7}}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(xmlValue(text), expected) << text;
    const auto nan = xmlValue("<real>NaN</real>");
    ASSERT_TRUE(nan && nan->is<double>());
    EXPECT_TRUE(std::isnan(*nan->as<double>()));
}

TEST(XmlReader, KeepsTheOrderOfKeysAndTheLastOfEqualOnes) {
    const auto value = xmlValue("<dict><key>z</key><true/><key>a</key><true/><key>z</key><integer>2</integer></dict>");
    ASSERT_TRUE(value && value->is<Dictionary>());
    const Dictionary& dictionary = *value->as<Dictionary>();
    ASSERT_EQ(dictionary.size(), 2U);
    EXPECT_EQ(dictionary.begin()->key, u"z");
    EXPECT_EQ(dictionary.begin()->value, Value(2));
}

struct Fault {
    const char* text;
    const char* complaint;
};

TEST(XmlReader, SaysWhatIsWrongAndWhere) {
    const Fault cases[] = {
        {"<plist>", "malformed XML"},
        {"<plist></plist>", "no value"},
        {"<plist><true/><true/></plist>", "a second value"},
        {"<plist><plist/></plist>", "a property list inside another"},
        {"<plist>\n <blob/></plist>", "an unknown element <blob> (line 2, offset 9)"},
        {"<plist><key>a</key></plist>", "a key outside a dictionary"},
        {"<key>a</key>", "a key outside a dictionary"},
        {"<array><key>a</key></array>", "a key outside a dictionary"},
        {"<dict><true/></dict>", "a value without a key"},
        {"<dict><key>a</key></dict>", "a key without a value"},
        {"<dict><key>a</key><key>b</key></dict>", "a key without a value"},
        {"<string>a<true/></string>", "an element inside a value that holds text"},
        {"<true><true/></true>", "an element inside a value that holds text"},
        {"<true>x</true>", "text inside a boolean"},
        {"<array>x</array>", "text between the elements"},
        {"<integer/>", "an integer that is none"},
        {"<integer>12a</integer>", "an integer that is none"},
        {"<integer>0x</integer>", "an integer that is none"},
        {"<integer>--1</integer>", "an integer that is none"},
        {"<real>1,5</real>", "a real number that is none"},
        {"<real>0x10</real>", "a real number that is none"},
        {"<real>+-1</real>", "a real number that is none"},
        {"<real/>", "a real number that is none"},
        {"<date>2001-02-29T00:00:00Z</date>", "a date that is none"},
        {"<date>2001-13-01T00:00:00Z</date>", "a date that is none"},
        {"<date>2001-01-01T24:00:00Z</date>", "a date that is none"},
        {"<date>2001-01-01 00:00:00Z</date>", "a date that is none"},
        {"<date>2001-01-01T00:00:00</date>", "a date that is none"},
        {"<data>A</data>", "data that are not base 64"},
        {"<data>AA=A</data>", "data that are not base 64"},
        {"<data>AA===</data>", "data that are not base 64"},
        {"<data>A-==</data>", "data that are not base 64"},
        {"<?xml version='1.0' encoding='no-such'?><true/>", "malformed XML"},
        {"<string>\xFF</string>", "malformed XML"},
        {"<string>&amp</string>", "malformed XML"},
    };
    for (const auto& [text, complaint] : cases)
        EXPECT_THAT(complaintAbout(text), HasSubstr(complaint)) << text;
}

TEST(XmlReader, NestsToTheLimitAndNoFurther) {
    const auto text = [](int depth, const char* root, const char* rootEnd) {
        std::string xml = root;
        for (int i = 0; i < depth; ++i)
            xml += "<array>";
        xml += "<true/>";
        for (int i = 0; i < depth; ++i)
            xml += "</array>";
        return xml + rootEnd;
    };
    EXPECT_EQ(listFrom(text(512, "<plist>", "</plist>")), nested(true, 512));
    EXPECT_EQ(listFrom(text(512, "", "")), nested(true, 512));
    EXPECT_THAT(complaintAbout(text(513, "<plist>", "</plist>")), HasSubstr("nested too deeply"));
    EXPECT_THAT(complaintAbout(text(513, "", "")), HasSubstr("nested too deeply"));
    EXPECT_THAT(complaintAbout(text(1000000, "", "")), HasSubstr("nested too deeply"));
}

TEST(XmlEntities, ExpandWhenDeclaredInside) {
    EXPECT_EQ(listFrom("<!DOCTYPE plist [<!ENTITY e 'x<true/>'><!ENTITY a 'b'>]><plist><string>a&a;c</string></plist>"),
              Value(u"abc"));
}

// A document must not make the reader open files, or leave out what it cannot resolve.
TEST(XmlEntities, AreNeverReadFromOutside) {
    EXPECT_THAT(complaintAbout("<!DOCTYPE plist [<!ENTITY e SYSTEM 'file:///etc/hostname'>]><string>a&e;</string>"),
                HasSubstr("an entity outside the data"));
    EXPECT_THAT(complaintAbout("<!DOCTYPE plist SYSTEM 'file:///no/such.dtd'><string>a&e;</string>"),
                HasSubstr("an entity that is not declared"));
    EXPECT_THAT(complaintAbout("<string>&e;</string>"), HasSubstr("malformed XML"));
}

std::string laughs(int levels) {
    std::string text = "<!DOCTYPE plist [<!ENTITY e0 'ha'>";
    for (int i = 1; i <= levels; ++i) {
        text += "<!ENTITY e" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k)
            text += "&e" + std::to_string(i - 1) + ";";
        text += "'>";
    }
    return text + "]><string>&e" + std::to_string(levels) + ";</string>";
}

TEST(XmlEntities, AreBoundedInWhatTheyUnfoldTo) {
    EXPECT_EQ(listFrom(laughs(2))->as<std::u16string>()->size(), 200U);
    EXPECT_THAT(complaintAbout(laughs(6)), HasSubstr("unfold to too much"));
    EXPECT_NE(complaintAbout(laughs(30)), "it was accepted");
    EXPECT_THAT(complaintAbout(laughs(100)), HasSubstr("too many entity declarations"));
}

TEST(XmlWriter, WritesTheKnownText) {
    const Dictionary dictionary{{u"a<&>", Array{true, 1, 2.5, u"\u20AC\r", Date{0.75}, Data::copying("ab")}},
                                {u"e", Array()},
                                {u"d", Dictionary()}};
    const auto data = xmlPropertyList(dictionary);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->view(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\">\n"
              "<dict>\n"
              "\t<key>a&lt;&amp;&gt;</key>\n"
              "\t<array>\n"
              "\t\t<true/>\n"
              "\t\t<integer>1</integer>\n"
              "\t\t<real>2.5</real>\n"
              "\t\t<string>\xE2\x82\xAC&#13;</string>\n"
              "\t\t<date>2001-01-01T00:00:00Z</date>\n"
              "\t\t<data>YWI=</data>\n"
              "\t</array>\n"
              "\t<key>e</key>\n"
              "\t<array/>\n"
              "\t<key>d</key>\n"
              "\t<dict/>\n"
              "</dict>\n"
              "</plist>\n");
}

TEST(XmlWriter, RefusesWhatXmlCannotSay) {
    const Value cases[] = {
        Value(),
        Array{Value()},
        std::u16string(1, u'\0'),
        std::u16string(1, char16_t{0xD800}),
        std::u16string{u'a', char16_t{0xDC00}},
        u"\uFFFE",
        u"\u001B",
        Dictionary{{std::u16string(1, u'\u0001'), true}},
        Date{1e15},
        Date{std::nan("")},
        Date{-63113904001},
        nested(true, 513),
    };
    for (const Value& value : cases)
        EXPECT_FALSE(xmlPropertyList(value)) << value.variant().index();
    EXPECT_TRUE(xmlPropertyList(nested(true, 512)));
    EXPECT_TRUE(xmlPropertyList(Date{252423993599.5}));
}

}  // namespace
}  // namespace halden
