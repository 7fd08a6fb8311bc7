// What is written as RTF and read again is what it was.
#include "richtext/DocumentAttributes.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfWriter.h"
#include "tests/richtext/Description.h"
#include "tests/richtext/RandomText.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using testing::described;
using testing::RandomText;

class RtfRoundTrip : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RtfRoundTrip, StandAloneTextComesBack) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        const RichTextDocument document{RandomText(GetParam() * 1000 + i).make({.pictures = true}), {}};
        const std::string rtf = rtfFromDocument(document);
        const auto again = documentFromRtf(rtf);
        ASSERT_TRUE(again);
        ASSERT_EQ(described(again->text), described(document.text)) << rtf;
    }
}

TEST_P(RtfRoundTrip, TextWithFilesComesBackFromItsPackage) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        const RichTextDocument document{RandomText(GetParam() * 1000 + i).make({}), {}};
        const auto rtfd = rtfdFromDocument(document, 0);
        const auto again = documentFromRtfd(rtfd.value());
        ASSERT_TRUE(again);
        ASSERT_EQ(described(again->text), described(document.text)) << rtfd->view();
        // From then on, with equal neighbours joined and the defaults stated, the bytes are the same: nothing wears
        // off.
        const auto second = rtfdFromDocument(*again, 0);
        ASSERT_EQ(rtfdFromDocument(documentFromRtfd(second.value()).value(), 0).value().view(), second->view());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RtfRoundTrip, ::testing::Range(0U, 6U));

TEST(RtfRoundTripOfAttributes, EveryAttributeOfADocumentComesBack) {
    Dictionary attributes{{std::u16string(kDocumentTypeKey), kRtfDocumentType},
                          {std::u16string(kUtiKey), u"public.rtf"},
                          {std::u16string(kCocoaVersionKey), 2513.0},
                          {std::u16string(kPaperSizeKey), u"{595, 842.5}"},
                          {std::u16string(kLeftMarginKey), 10.5},
                          {std::u16string(kRightMarginKey), 20.0},
                          {std::u16string(kTopMarginKey), 30.0},
                          {std::u16string(kBottomMarginKey), 0.0},
                          {std::u16string(kDefaultTabIntervalKey), 28.5},
                          {std::u16string(kHyphenationFactorKey), 0.5},
                          {std::u16string(kTextScalingKey), 1},
                          {std::u16string(kUsesScreenFontsKey), 1},
                          {std::u16string(kViewSizeKey), u"{500, 400}"},
                          {std::u16string(kViewZoomKey), 130.0},
                          {std::u16string(kViewModeKey), 1},
                          {std::u16string(kReadOnlyKey), 1},
                          {std::u16string(kBackgroundColorKey), Array{1.0, 0.2, 0.0, 1.0}},
                          {std::u16string(kTitleKey), u"A {title} \u00FC\u65E5"},
                          {std::u16string(kAuthorKey), u"Zo\u00EB"},
                          {std::u16string(kSubjectKey), u"s"},
                          {std::u16string(kCompanyKey), u"c;o"},
                          {std::u16string(kCopyrightKey), u"\u00A9 2026"},
                          {std::u16string(kCommentKey), u"two\nlines"},
                          {std::u16string(kEditorKey), u"e"},
                          {std::u16string(kManagerKey), u"m"},
                          {std::u16string(kCategoryKey), u"\\"},
                          {std::u16string(kKeywordsKey), Array{u"one", u"two words"}},
                          {std::u16string(kCreationTimeKey), Date{-1e9}},
                          {std::u16string(kModificationTimeKey), Date{812345678}}};
    const auto again = documentFromRtf(rtfFromDocument({AttributedString(u"x"), attributes}));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->documentAttributes.size(), attributes.size());
    for (const auto& [key, value] : attributes) {
        const Value* const found = again->documentAttributes.find(key);
        EXPECT_TRUE(found && *found == value) << std::string(key.begin(), key.end());
    }
}

TEST(RtfRoundTripOfAttributes, ParagraphsMayBeHyphenatedWhereTheDocumentIsNot) {
    AttributedString text(u"a\n", {}, {.hyphenationFactor = 0.75});
    text.append(AttributedString(u"b\n"));
    const auto again = documentFromRtf(rtfFromDocument({text, {}}));
    EXPECT_EQ(described(again->text), described(text));
    EXPECT_EQ(numberAttribute(again->documentAttributes, kHyphenationFactorKey), 0.0);
}

}  // namespace
}  // namespace halden
