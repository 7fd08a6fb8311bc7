#include "markup/TagCollector.h"

#include <algorithm>
#include <string>
#include <utility>

namespace halden {
namespace {

// --- Objects -------------------------------------------------------------------------------------------------------

struct Wanted {
    bool tags = false;
    bool contents = false;
};

Array collect(std::u16string_view string, Wanted wanted) {
    Array result;
    StoreToArrayContext context{.result = &result, .tagsWanted = wanted.tags, .contentsWanted = wanted.contents};
    GetTagsOfString(string, StoreToArrayHandler, &context);
    return result;
}

// --- Ranges --------------------------------------------------------------------------------------------------------

constexpr std::size_t kPageSize = 4096;

std::size_t roundedToPages(std::size_t bytes) noexcept {
    return (bytes + kPageSize - 1) / kPageSize * kPageSize;
}

RangeArray allocated(std::size_t entries) noexcept {
    return RangeArray(static_cast<Range*>(std::malloc(entries * sizeof(Range))));
}

/// Gives the array room for `bytes`, or frees it.
void grow(RangeArray* array, std::size_t bytes) noexcept {
    if (array == nullptr || *array == nullptr) return;
    void* larger = std::realloc(array->get(), bytes);
    if (larger == nullptr) return array->reset();
    static_cast<void>(array->release());  // realloc has freed it
    array->reset(static_cast<Range*>(larger));
}

void store(RangeArray* array, std::size_t index, Range range) noexcept {
    if (array != nullptr && *array != nullptr) (*array)[index] = range;
}

std::size_t collect(std::u16string_view string, RangeArray* tagRanges, RangeArray* textRanges) {
    StoreToRangesContext context{
        .tagRanges = tagRanges, .textRanges = textRanges, .capacity = roundedToPages(string.size()) / sizeof(Range)};
    if (tagRanges != nullptr) *tagRanges = allocated(context.capacity);
    if (textRanges != nullptr) *textRanges = allocated(context.capacity);
    GetTagsOfString(string, StoreToRangesHandler, &context);
    return context.count;
}

}  // namespace

bool StoreToArrayHandler(const Tag& tag, void* context) {
    const auto& wanted = *static_cast<const StoreToArrayContext*>(context);
    if (wanted.tagsWanted && wanted.contentsWanted) {
        Dictionary token;
        token.set(u"Tag", tag.tag());
        if (!tag.text().empty()) token.set(u"Content", tag.text());
        wanted.result->push_back(std::move(token));
    } else if (wanted.tagsWanted) {
        if (tag.tagLength > 0) wanted.result->push_back(tag.tag());
    } else if (wanted.contentsWanted) {
        if (!tag.text().empty()) wanted.result->push_back(tag.text());
    }
    return false;
}

Array getXmlTags(std::u16string_view string) {
    return collect(string, Wanted{.tags = true});
}

Array getXmlContents(std::u16string_view string) {
    return collect(string, Wanted{.contents = true});
}

Array getXml(std::u16string_view string) {
    return collect(string, Wanted{.tags = true, .contents = true});
}

bool StoreToRangesHandler(const Tag& tag, void* context) {
    auto& ranges = *static_cast<StoreToRangesContext*>(context);
    if (ranges.count == ranges.capacity) {
        const std::size_t bytes = roundedToPages(std::max<std::size_t>(ranges.count, 1) * 2 * sizeof(Range));
        ranges.capacity = bytes / sizeof(Range);
        grow(ranges.tagRanges, bytes);
        grow(ranges.textRanges, bytes);
    }
    store(ranges.tagRanges, ranges.count, {tag.tagLocation, tag.tag().size()});
    store(ranges.textRanges, ranges.count, {std::min(tag.textLocation, tag.characters.size()), tag.text().size()});
    ++ranges.count;
    return false;
}

std::size_t getXmlTags(std::u16string_view string, RangeArray* tagRanges) {
    return collect(string, tagRanges, nullptr);
}

std::size_t getXmlContents(std::u16string_view string, RangeArray* textRanges) {
    return collect(string, nullptr, textRanges);
}

std::size_t getXml(std::u16string_view string, RangeArray* tagRanges, RangeArray* textRanges) {
    return collect(string, tagRanges, textRanges);
}

}  // namespace halden
