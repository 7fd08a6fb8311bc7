// Values of document attributes.
#include "richtext/DocumentAttributes.h"

#include <gtest/gtest.h>

#include <limits>

namespace halden {
namespace {

TEST(DocumentAttributes, SizesAreText) {
    for (const Size size : {Size{612, 792}, Size{-1.5, 0}, Size{595.276, 841.89}, Size{1e20, 1e-7}})
        EXPECT_EQ(sizeFromString(NSStringFromSize(size)), size);
    EXPECT_EQ(sizeFromString(u" { 1 ,2.5 } "), (Size{1, 2.5}));
    for (const std::u16string_view text : {u"", u"{", u"{1}", u"{1, 2", u"{1, 2} x", u"1, 2", u"{a, 2}", u"{1, nan}",
                                           u"{inf, 1}", u"{1, 2, 3}", u"{\uFF11, 2}"})
        EXPECT_FALSE(sizeFromString(text));
    EXPECT_FALSE(sizeFromString(u"{" + std::u16string(300, u' ') + u"1, 2}"));
}

TEST(DocumentAttributes, NumbersAreOfAnyKind) {
    const Dictionary attributes{{u"real", 1.5},
                                {u"integer", 7},
                                {u"truth", true},
                                {u"text", u"1"},
                                {u"nan", std::numeric_limits<double>::quiet_NaN()}};
    EXPECT_EQ(numberAttribute(attributes, u"real"), 1.5);
    EXPECT_EQ(numberAttribute(attributes, u"integer"), 7.0);
    EXPECT_EQ(numberAttribute(attributes, u"truth"), 1.0);
    for (const std::u16string_view key : {u"text", u"nan", u"missing"})
        EXPECT_FALSE(numberAttribute(attributes, key));
    EXPECT_EQ(stringAttribute(attributes, u"text"), u"1");
    EXPECT_EQ(stringAttribute(attributes, u"integer"), u"");
}

TEST(DocumentAttributes, ColoursAreFourNumbers) {
    const Color color{0.25, 0.5, 1, 0.75};
    EXPECT_EQ(valueFromColor(color), Value(Array{0.25, 0.5, 1.0, 0.75}));
    EXPECT_EQ(colorFromValue(valueFromColor(color)), color);
    EXPECT_EQ(colorFromValue(Array{-1.0, 2, 0.5, 1.0}), (Color{0, 1, 0.5, 1}));
    for (const Value& value : {Value(), Value(1.0), Value(Array{1.0, 1.0, 1.0}), Value(Array{1.0, 1.0, 1.0, u"1"})})
        EXPECT_FALSE(colorFromValue(value));
}

TEST(DocumentAttributes, FontsAreANameAndASize) {
    const Font font{.name = u"Times-BoldItalic", .family = u"Times", .size = 13.5, .bold = true, .italic = true};
    const Value value = valueFromFont(font);
    EXPECT_EQ(value, Value(Dictionary{{u"NSFontNameAttribute", u"Times-BoldItalic"}, {u"NSFontSizeAttribute", 13.5}}));
    EXPECT_EQ(fontFromValue(value), font);
    EXPECT_FALSE(fontFromValue(Dictionary{{u"NSFontNameAttribute", u"Times"}}));
    EXPECT_FALSE(fontFromValue(Dictionary{{u"NSFontNameAttribute", u"Times"}, {u"NSFontSizeAttribute", 0}}));
    EXPECT_FALSE(fontFromValue(u"Times"));
}

}  // namespace
}  // namespace halden
