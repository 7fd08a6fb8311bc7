#include "foundation/Unicode.h"
#include "markup/TagAttributes.h"
#include "tests/markup/Allocations.h"
#include "tests/markup/RandomMarkup.h"
#include "tests/markup/ReferenceAttributes.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace halden {
namespace {

using Text = std::optional<std::u16string>;

std::string shown(std::u16string_view text) {
    return utf8FromUtf16(text);
}

TEST(TagAttributes, AreReadFromBuffersAndStrings) {
    const struct {
        std::u16string_view tag;
        std::string_view name;
        Text ofBuffer, ofString;
    } cases[] = {
        {u"<a href=x.html>", "HREF", u"x.html", u"x.html"},
        {u"<a HRef = 'x y' >", "HREF", u"x y", u"x y"},
        {u"<a href=\"it's\">", "HREF", u"it's", u"it's"},
        {u"<a href='x y \n'>", "HREF", u"x y", u"x y"},
        {u"<a href='x>y'>", "HREF", u"x", u"x"},
        {u"<a href='open>", "HREF", u"open", u"open"},
        {u"<a href='open", "HREF", u"open", u"open"},
        {u"<a href==x>", "HREF", u"x", u"=x"},
        {u"<a href= = x>", "HREF", u"=", u"="},
        {u"<a href=>", "HREF", {}, {}},
        {u"<a href='' href=y>", "HREF", {}, {}},
        {u"<a href href=y>", "HREF", u"y", u"y"},
        {u"<a hrefx=1 href=y>", "HREF", u"y", u"y"},
        {u"<a href   >", "HREF", {}, {}},
        {u"<a href=  ", "HREF", {}, {}},
        {u"<div data-width=5 width=7>", "WIDTH", u"7", u"7"},
        {u"<div my_width=5 width=7>", "WIDTH", u"7", u"5"},
        {u"<div xwidth=5 width=7>", "WIDTH", u"7", u"7"},
        {u"<div .width=5 width=7>", "WIDTH", u"5", u"5"},
        {u"<p title='width=5' width=7>", "WIDTH", u"7", u"7"},
        {u"<p title='width=5 width=7>", "WIDTH", {}, {}},
        {u"<p it's width=5 isn't width=7>", "WIDTH", u"7", u"7"},
        {u"<b c=1>", "C", u"1", u"1"},
        {u"<bc=1>", "C", {}, {}},
        {u"<c=1>", "C", {}, {}},
        {u"<c = 1>", "C", u"1", u"1"},
        {u"c=1234", "C", {}, {}},
        {u"c=12345", "C", u"12345", u"12345"},
        {u"<a \u017Ftyle='b: c'>", "STYLE", u"b: c", u"b: c"},
        {u"<a href=x>", "", {}, {}},
        {u"", "HREF", {}, {}},
    };
    for (const auto& c : cases) {
        const std::u16string name(c.name.begin(), c.name.end());
        EXPECT_EQ(attributeOfTagCharacters(c.tag, c.name), c.ofBuffer) << shown(c.tag);
        EXPECT_EQ(attributeOfTagWithName(c.tag, name), c.ofString) << shown(c.tag);

        const std::u16string within = u"a=\"" + std::u16string(c.tag) + u"x'>";
        const Range range{3, c.tag.size()};
        EXPECT_EQ(attributeOfTagCharacters(within, range, c.name), c.ofBuffer) << shown(c.tag);
        EXPECT_EQ(attributeOfTagInRange(within, range, name), c.ofString) << shown(c.tag);
        const Range place = rangeOfAttributeOfTagCharacters(within, range, c.name);
        EXPECT_EQ(place.found(), c.ofBuffer.has_value()) << shown(c.tag);
        EXPECT_EQ(substringWithRange(within, place), c.ofBuffer.value_or(u"")) << shown(c.tag);
        Range stored{1, 1};
        EXPECT_EQ(_attributeOfTagCharactersWithName(within, range, c.name, AttributeValue::plain, &stored), Text());
        EXPECT_EQ(stored, place) << shown(c.tag);
    }
}

TEST(TagAttributes, OfMetaTagsMayHoldMarkup) {
    const struct {
        std::u16string_view tag;
        Text content;
    } cases[] = {
        {u"<meta content='a <b>c</b> d' name=x>", u"a <b>c</b> d"},
        {u"<meta content='a > b'>", u"a"},
        {u"<meta content='a <b c' name=x>", u"a <b c"},
        {u"<meta content='a b<' name=x>", u"a b"},
        {u"<meta content='a b</' name=x>", u"a b"},
        {u"<meta content='<i> a b</' name=x>", u"<i> a b"},
        {u"<meta content='<i a b</' name=x>", u"<i a b</"},
        {u"<meta content='a <MeTa name=x>", u"a"},
        {u"<meta content=a<b>", u"a<b"},
        {u"<meta content='<'>", {}},
    };
    for (const auto& c : cases) {
        const Range whole{0, c.tag.size()};
        EXPECT_EQ(_attributeOfTagCharactersWithName(c.tag, whole, "CONTENT", AttributeValue::metaContent), c.content)
            << shown(c.tag);
    }
}

TEST(TagAttributes, OfStylesEndAtSemicolons) {
    const struct {
        std::u16string_view style, name;
        Text value;
    } cases[] = {
        {u"width: 20px; height: 10px", u"WIDTH", u"20px"},
        {u"width: 20px; height: 10px", u"HEIGHT", u"10px"},
        {u"max-width:5px;width:20px", u"WIDTH", u"20px"},
        {u"_width:5px;width:20px", u"WIDTH", u"5px"},
        {u"font-family: 'Arial Black'; x:y", u"FONT-FAMILY", u"Arial Black"},
        {u"font-family: 'Arial; x:y", u"FONT-FAMILY", u"Arial"},
        {u"x:'y;font-family: Arial", u"FONT-FAMILY", {}},
        {u"x:y;font-family: \"Arial;", u"FONT-FAMILY", u"Arial"},
        {u"font-family: Arial Black", u"FONT-FAMILY", u"Arial"},
        {u"a:b", u"A", u"b"},
        {u"a:", u"A", {}},
        {u"a::b", u"A", u":b"},
        {u"a:;a:b", u"A", {}},
        {u"a=b;a:c>d", u"A", u"c>d"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(attributeOfStyleWithName(c.style, c.name), c.value) << shown(c.style);
        const std::u16string within = u"b:" + std::u16string(c.style) + u"x;";
        EXPECT_EQ(attributeOfStyleInRange(within, {2, c.style.size()}, c.name), c.value) << shown(c.style);
    }
}

TEST(TagAttributes, FollowThePlainRulesOnRandomTags) {
    constexpr std::u16string_view kPieces[] = {
        u"a",
        u"A",
        u"ab",
        u"\u017F",
        u"s",
        u"-",
        u"_",
        u" ",
        u"=",
        u":",
        u"==",
        u"'",
        u"\"",
        u">",
        u"<",
        u";",
        u"</",
        u"<meta",
        u"\n",
        u"é",
        u"1",
        u"a=",
        u" a=",
        u"a:",
        u" a='x' ",
        u"<a b=\"",
        u"'s'",
        u"\u00A0",
        u"some longer text without any of it, ",
        u"Ä",
        u"a = ",
    };
    using reference::AttributeForm;
    std::mt19937 random(4);
    for (int round = 0; round < 60000; ++round) {
        std::u16string tag;
        for (std::size_t i = random() % 24; i > 0; --i)
            tag += kPieces[random() % std::size(kPieces)];
        const auto exact = std::make_unique<char16_t[]>(tag.size() + 1);
        tag.copy(exact.get(), tag.size());
        const std::u16string_view token(exact.get(), tag.size());
        const Range whole{0, token.size()};
        constexpr std::string_view kNames[] = {"A", "S", "AB", "A-S"};
        const std::string_view name = kNames[random() % std::size(kNames)];
        const std::u16string wide(name.begin(), name.end());
        const auto wanted = [&](AttributeForm form) {
            const Range place = reference::attribute(token, wide, form);
            return place.found() ? Text(substringWithRange(token, place)) : Text();
        };
        ASSERT_EQ(rangeOfAttributeOfTagCharacters(token, name),
                  reference::attribute(token, wide, AttributeForm::buffer))
            << shown(token);
        ASSERT_EQ(_attributeOfTagCharactersWithName(token, whole, name, AttributeValue::metaContent),
                  wanted(AttributeForm::metaContent))
            << shown(token);
        ASSERT_EQ(attributeOfTagWithName(token, wide), wanted(AttributeForm::string)) << shown(token);
        ASSERT_EQ(attributeOfStyleWithName(token, wide), wanted(AttributeForm::style)) << shown(token);
    }
}

TEST(TagAttributes, AllocateOnlyTheValue) {
    const std::u16string tag = u"<img alt='" + std::u16string(1000, u'x') +
                               u"' style='width: 20px; height: 10px' src='" + std::u16string(100, u'y') + u"'>";
    std::int64_t width = 0;
    std::int64_t height = 0;
    EXPECT_TRUE(getTagWidth(tag, &width, &height));  // the tables of characters are made once
    const std::size_t before = allocations();
    EXPECT_TRUE(getTagWidth(tag, &width, &height));
    EXPECT_TRUE(getTagWidthCharacters(tag, &width, &height));
    EXPECT_TRUE(rangeOfAttributeOfTagCharacters(tag, "SRC").found());
    EXPECT_FALSE(attributeOfTagCharacters(tag, "SRCSET"));
    EXPECT_EQ(allocations(), before);
    EXPECT_TRUE(attributeOfTagCharacters(tag, "SRC"));
    EXPECT_EQ(allocations(), before + 1);
}

TEST(TagAttributes, AreFoundBehindLongValues) {
    const std::u16string tag = u"<a b='" + std::u16string(5'000'000, u'x') + u"' " + std::u16string(5'000'000, u'c') +
                               u" c" + std::u16string(5'000'000, u' ') + u"=d>";
    EXPECT_EQ(attributeOfTagCharacters(tag, "C"), u"d");
}

TEST(TagAttributes, GiveWidthAndHeight) {
    const struct {
        std::u16string_view tag;
        bool result;
        std::int64_t width, height;
    } cases[] = {
        {u"<img width=120 heigh=80>", true, 120, 80},
        {u"<img width=120 height=0 heigh=80>", true, 120, 80},
        {u"<img width='120px' height='80%'>", true, 120, 80},
        {u"<img style='width:120px;height:80px'>", true, 120, 80},
        {u"<img width=0 height=5 style='width:120px'>", true, 120, 0},
        {u"<img width=12 style='height:80px'>", true, 12, 0},
        {u"<img style='height:80px'>", false, 0, 0},
        {u"<img width='0'>", false, 0, 0},
        {u"<img width='-5' height='+6'>", false, -5, 6},
        {u"<img width=' 7' height=x8>", true, 7, 0},
        {u"<img width=99999999999999999999>", true, INT64_MAX, 0},
        {u"<img width=-99999999999999999999>", false, INT64_MIN, 0},
        {u"<ii width=7", true, 7, 0},
        {u"<i width=7", false, 0, 0},
        {u"<width=7>", false, 0, 0},
        {u"", false, 0, 0},
    };
    for (const auto& c : cases) {
        const std::u16string within = u"w=" + std::u16string(c.tag) + u"5>";
        const Range range{2, c.tag.size()};
        for (int form = 0; form < 4; ++form) {
            std::int64_t width = 77;
            std::int64_t height = 77;
            const bool result = form == 0   ? getTagWidth(c.tag, &width, &height)
                                : form == 1 ? getTagWidthCharacters(c.tag, &width, &height)
                                : form == 2 ? getTagWidth(within, range, &width, &height)
                                            : getTagWidthCharacters(within, range, &width, &height);
            EXPECT_EQ(result, c.result) << shown(c.tag) << form;
            EXPECT_EQ(width, c.width) << shown(c.tag) << form;
            EXPECT_EQ(height, c.height) << shown(c.tag) << form;
        }
    }
}

TEST(TagAttributes, GiveBackgroundImages) {
    const struct {
        std::u16string_view tag;
        Text url;
    } cases[] = {
        {u"<p style=\"background: url(a.png) no-repeat\">", u"a.png"},
        {u"<p style=\"BACKGROUND-IMAGE: URL('a.png'); background-repeat: No-Repeat\">", u"a.png"},
        {u"<p style=\"background: url(''a.png'') no-repeat\">", u"a.png"},
        {u"<p style='background: url(\"a.png\") no-repeat'>", u"\"a.png\""},
        {u"<p style=\"background: url('a.png) no-repeat\">", u"'a.png"},
        {u"<p style=\"background: url() no-repeat\">", {}},
        {u"<p style=\"background: url(') no-repeat\">", {}},
        {u"<p style=\"background: url('') no-repeat\">", {}},
        {u"<p style=\"background: url(a.png no-repeat\">", {}},
        {u"<p style=\"background: url(a.png) repeat-x\">", {}},
        {u"<p style=\"border-image: url(a.png) no-repeat\">", {}},
        {u"<p style=\"background: no-repeat\">", {}},
        {u"</p style=\"background: url(a.png) no-repeat\">", {}},
        {u"<p>", {}},
        {u"<p", {}},
        {u"", {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(backgroundStyleURLOfTagCharacters(c.tag), c.url) << shown(c.tag);
        const std::u16string within = u"</" + std::u16string(c.tag) + u">";
        EXPECT_EQ(backgroundStyleURLOfTagCharacters(within, {2, c.tag.size()}), c.url) << shown(c.tag);
    }
    EXPECT_EQ(backgroundStyleURLOfTagCharacters(std::u16string_view()), Text());
}

}  // namespace
}  // namespace halden
