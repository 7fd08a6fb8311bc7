#include "foundation/Unicode.h"
#include "markup/Tags.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace halden {
namespace {

TEST(Tags, HaveShapes) {
    const struct {
        std::u16string_view tag;
        bool open, closed, meta, remark;
    } cases[] = {
        {u"<b>", true, false, false, false},    {u"</b>", false, true, false, false},
        {u"<br/>", true, true, false, false},   {u"<b", false, false, false, false},
        {u"</>", false, false, false, false},   {u"<//>", false, true, false, false},
        {u"</b", false, false, false, false},   {u"<a/>", true, true, false, false},
        {u"<![a]>", true, false, false, false}, {u"<![ab]>", true, false, true, false},
        {u"<!--->", true, false, false, false}, {u"<!---->", true, false, false, true},
        {u"<!-abc>", true, false, false, true}, {u"", false, false, false, false},
    };
    for (const auto& c : cases) {
        const Range whole{0, c.tag.size()};
        EXPECT_EQ(isTagOpen(c.tag), c.open) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isTagClosed(c.tag), c.closed) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isMetaTag(c.tag), c.meta) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isRemarkTag(c.tag), c.remark) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isTagOpenCharacters(c.tag, whole), c.open) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isTagClosedCharacters(c.tag, whole), c.closed) << utf8FromUtf16(c.tag);

        const std::u16string within = u"ab" + std::u16string(c.tag) + u"/>";
        const Range range{2, c.tag.size()};
        EXPECT_EQ(isTagOpenInRange(within, range), c.open) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isTagClosedInRange(within, range), c.closed) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isMetaTagInRange(within, range), c.meta) << utf8FromUtf16(c.tag);
        EXPECT_EQ(isRemarkTagInRange(within, range), c.remark) << utf8FromUtf16(c.tag);
    }
    EXPECT_FALSE(isTagOpenCharacters(std::u16string_view(), {0, 3}));
}

TEST(Tags, TakeRangesThatReachTooFar) {
    // A script token may claim one unit beyond the text: its last but one is then the last that there is.
    EXPECT_TRUE(isTagClosedInRange(u"<style></style/", {0, 16}));
    EXPECT_FALSE(isTagClosedInRange(u"<style></style/", {0, 15}));
    EXPECT_FALSE(isTagOpenInRange(u"<b>", {3, 5}));
    EXPECT_FALSE(isTagClosedInRange(u"<b>", {kNotFound, SIZE_MAX}));
    EXPECT_FALSE(isTagClosedInRange(u"<b>", {1, SIZE_MAX}));
    EXPECT_EQ(nameOfTagInRange(u"<b>", {1, SIZE_MAX}), u"b");
    EXPECT_EQ(nameOfTagInRange(u"<b>", {7, 2}), std::nullopt);
}

TEST(Tags, HaveNames) {
    const struct {
        std::u16string_view tag;
        std::optional<std::u16string> name;
        bool open, closed;
    } cases[] = {
        {u"<b>", u"b", true, false},
        {u"</b>", u"b", false, true},
        {u"<br/>", u"br", true, true},
        {u"< / h1 class=x>", u"h1", true, false},
        {u"<?xml version='1.0'?>", u"xml", true, false},
        {u"<!DOCTYPE\u00A0html>", u"DOCTYPE", true, false},
        {u"<a:b-c_\u0001d>", u"a:b-c_\u0001d", true, false},
        {u"<\u00E9\u3000x>", u"\u00E9", true, false},
        {u"<12>", std::nullopt, true, false},
        {u"</>", std::nullopt, false, true},
        {u"<b", u"b", false, false},
        {u"</", std::nullopt, false, false},
        {u"<//", std::nullopt, false, true},
        {u"<a/b/>", u"a", true, true},
        {u"", std::nullopt, false, false},
    };
    for (const auto& c : cases) {
        const std::u16string within = u"xy" + std::u16string(c.tag) + u"z/>";
        const Range range{2, c.tag.size()};
        EXPECT_EQ(nameOfTag(c.tag), c.name) << utf8FromUtf16(c.tag);
        EXPECT_EQ(nameOfTagInRange(within, range), c.name) << utf8FromUtf16(c.tag);
        EXPECT_EQ(nameOfTagInStringRange(within, 2, c.tag.size()), c.name) << utf8FromUtf16(c.tag);
        const Range place = rangeOfNameOfTag(within, range);
        EXPECT_EQ(substringWithRange(within, place), c.name.value_or(u"")) << utf8FromUtf16(c.tag);

        bool open = !c.open;
        bool closed = !c.closed;
        EXPECT_EQ(nameOfTag(c.tag, &open, &closed), c.name) << utf8FromUtf16(c.tag);
        EXPECT_EQ(open, c.open) << utf8FromUtf16(c.tag);
        EXPECT_EQ(closed, c.closed) << utf8FromUtf16(c.tag);
        EXPECT_EQ(nameOfTagInRange(within, range, nullptr, &closed), c.name) << utf8FromUtf16(c.tag);
        EXPECT_EQ(closed, c.closed) << utf8FromUtf16(c.tag);
    }
}

}  // namespace
}  // namespace halden
