#include "richtext/AttributedString.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

AttributedString bold(std::u16string text) {
    CharacterAttributes attributes;
    attributes.font.bold = true;
    return AttributedString(std::move(text), attributes);
}

AttributedString attachmentOf(std::u16string name) {
    AttributedString::Parts parts;
    parts.text = u"\uFFFC";
    parts.characterRuns.push_back({1, std::make_shared<const CharacterAttributes>()});
    parts.paragraphRuns.push_back({1, std::make_shared<const ParagraphAttributes>()});
    Attachment attachment;
    attachment.file.name = std::move(name);
    parts.attachments.push_back({0, std::make_shared<const Attachment>(attachment)});
    return AttributedString(std::move(parts));
}

TEST(AttributedString, AppendsTextRunsAndAttachments) {
    AttributedString text(u"ab");
    text.append(bold(u"cd"));
    text.append(attachmentOf(u"x"));
    text.append(AttributedString());
    EXPECT_EQ(text.string(), u"abcd\uFFFC");
    EXPECT_FALSE(text.characterAttributesAt(1).font.bold);
    EXPECT_TRUE(text.characterAttributesAt(2).font.bold);
    EXPECT_TRUE(text.characterAttributesAt(3).font.bold);
    EXPECT_FALSE(text.characterAttributesAt(4).font.bold);
    EXPECT_EQ(text.characterRuns().back().end, 5u);
    EXPECT_EQ(text.paragraphRuns().back().end, 5u);
    ASSERT_TRUE(text.attachmentAt(4));
    EXPECT_EQ(text.attachmentAt(4)->file.name, u"x");
    EXPECT_FALSE(text.attachmentAt(3));
}

TEST(AttributedString, AppendsItself) {
    AttributedString text = bold(u"a");
    text.append(attachmentOf(u"x"));
    text.append(text);
    EXPECT_EQ(text.string(), u"a\uFFFCa\uFFFC");
    EXPECT_EQ(text.attachments().size(), 2u);
    EXPECT_TRUE(text.characterAttributesAt(2).font.bold);
}

TEST(AttributedString, CopiesAreIndependent) {
    AttributedString first(u"a");
    AttributedString second = first;
    second.append(first);
    EXPECT_EQ(first.string(), u"a");
    EXPECT_EQ(second.string(), u"aa");
    const AttributedString third = std::move(second);
    EXPECT_EQ(third.string(), u"aa");
    EXPECT_EQ(second.string(), u"aa");  // moving is copying
}

TEST(AttributedString, CutsSubstrings) {
    AttributedString text(u"ab");
    text.append(bold(u"cd"));
    text.append(attachmentOf(u"x"));
    for (std::size_t start = 0; start <= 6; ++start) {
        for (std::size_t length = 0; length <= 7; ++length) {
            const AttributedString part = text.substring(start, length);
            ASSERT_EQ(part.string(), text.string().substr(std::min<std::size_t>(start, 5), length));
            ASSERT_EQ(part.empty(), part.characterRuns().empty());
            if (part.empty()) continue;
            ASSERT_EQ(part.characterRuns().back().end, part.length());
            ASSERT_EQ(part.paragraphRuns().back().end, part.length());
            for (std::size_t i = 0; i < part.length(); ++i) {
                ASSERT_EQ(part.characterAttributesAt(i), text.characterAttributesAt(start + i));
                ASSERT_EQ(part.attachmentAt(i), text.attachmentAt(start + i));
            }
        }
    }
    EXPECT_EQ(text.substring(1, SIZE_MAX).string(), u"bcd\uFFFC");
}

TEST(AttributedString, ComparesUnitByUnit) {
    AttributedString whole = bold(u"abcd");
    AttributedString pieces = bold(u"ab");
    pieces.append(bold(u"cd"));
    EXPECT_GT(pieces.characterRuns().size(), 1u);
    EXPECT_EQ(whole, pieces);
    EXPECT_NE(whole, AttributedString(u"abcd"));
    EXPECT_NE(whole, bold(u"abce"));
    EXPECT_NE(attachmentOf(u"x"), attachmentOf(u"y"));
    EXPECT_EQ(attachmentOf(u"x"), attachmentOf(u"x"));
    EXPECT_EQ(AttributedString(), AttributedString(u""));
}

}  // namespace
}  // namespace halden
