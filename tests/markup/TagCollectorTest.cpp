#include "foundation/Unicode.h"
#include "markup/TagCollector.h"
#include "tests/markup/RandomMarkup.h"
#include "tests/markup/ReferenceScanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

// The sanitizer ends the program when too much is asked for, unless it is told to answer as the system does.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace halden {
namespace {

TEST(TagCollector, CollectsTagsAndContents) {
    EXPECT_EQ(getXmlTags(u"a<b>c<!--d-->"), (Array{u"<b>", u"<!--d-->"}));
    EXPECT_EQ(getXmlContents(u"a<b><c>d"), (Array{u"a", u"d"}));
    EXPECT_EQ(getXml(u"a<b>c"),
              (Array{Dictionary{{u"Tag", u"<b>"}, {u"Content", u"a"}}, Dictionary{{u"Tag", u""}, {u"Content", u"c"}}}));
    EXPECT_EQ(getXml(u"<b>"), (Array{Dictionary{{u"Tag", u"<b>"}}, Dictionary{{u"Tag", u""}}}));
    EXPECT_EQ(getXml(u""), Array());
    EXPECT_EQ(getXmlTags(u"<script>x</script"), (Array{u"<script>x</script"}));
    EXPECT_EQ(getXmlContents(u"<script>x</script"), Array());
}

std::vector<Range> ranges(const RangeArray& array, std::size_t count) {
    return {array.get(), array.get() + count};
}

TEST(TagCollector, CollectsRanges) {
    RangeArray tags;
    RangeArray texts;
    ASSERT_EQ(getXml(u"a<b>c", &tags, &texts), 2U);
    EXPECT_EQ(ranges(tags, 2), (std::vector<Range>{{1, 3}, {5, 0}}));
    EXPECT_EQ(ranges(texts, 2), (std::vector<Range>{{0, 1}, {4, 1}}));
    ASSERT_EQ(getXmlTags(u"<script>x</script", &tags), 2U);
    EXPECT_EQ(ranges(tags, 2), (std::vector<Range>{{0, 17}, {17, 0}}));
    ASSERT_EQ(getXmlContents(u"<script>x</script", &texts), 2U);
    EXPECT_EQ(ranges(texts, 2), (std::vector<Range>{{0, 0}, {17, 0}}));
    EXPECT_EQ(getXml(u"", &tags, &texts), 0U);
    EXPECT_EQ(getXml(u"<a>", nullptr, nullptr), 2U);
}

TEST(TagCollector, GrowsItsArrays) {
    // Room for 256 entries at first, with far more tokens to come.
    std::u16string text;
    for (int i = 0; i < 1000; ++i)
        text += u"<>x";
    RangeArray tags;
    RangeArray texts;
    ASSERT_EQ(getXml(text, &tags, &texts), 1001U);
    for (std::size_t i = 0; i < 1000; ++i) {
        ASSERT_EQ(tags[i], (Range{3 * i, 2}));
        ASSERT_EQ(texts[i], i == 0 ? (Range{0, 0}) : (Range{3 * i - 1, 1}));
    }
    EXPECT_EQ(tags[1000], (Range{3000, 0}));
}

TEST(TagCollector, GoesOnCountingWithoutRoom) {
    RangeArray tags(static_cast<Range*>(std::malloc(sizeof(Range))));
    StoreToRangesContext context{.tagRanges = &tags, .count = std::size_t{1} << 50, .capacity = std::size_t{1} << 50};
    const Tag tag{.characters = u"<a>", .tagLength = 3, .kind = TagKind::tag};
    EXPECT_FALSE(StoreToRangesHandler(tag, &context));
    EXPECT_EQ(tags, nullptr);
    EXPECT_FALSE(StoreToRangesHandler(tag, &context));
    EXPECT_EQ(context.count, (std::size_t{1} << 50) + 2);
}

TEST(TagCollector, AgreesWithItselfOnRandomMarkup) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        const std::u16string text = randomMarkup(random, 60);
        RangeArray tags;
        RangeArray texts;
        const std::size_t count = getXml(text, &tags, &texts);
        const auto calls = reference::calls(text);
        ASSERT_EQ(count, calls.size());
        Array pairs;
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(tags[i].location, calls[i].tagLocation);
            Dictionary pair{{u"Tag", substringWithRange(text, tags[i])}};
            if (texts[i].length > 0) pair.set(u"Content", substringWithRange(text, texts[i]));
            pairs.push_back(pair);
        }
        EXPECT_EQ(getXml(text), pairs) << utf8FromUtf16(text);
    }
}

}  // namespace
}  // namespace halden
