#include "foundation/Unicode.h"
#include "markup/AttributeText.h"
#include "markup/TagAttributes.h"
#include "markup/TagCollector.h"
#include "markup/TagScanner.h"
#include "markup/Tags.h"
#include "markup/XmlExtensions.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

using String = std::u16string_view;
using OptionalString = std::optional<std::u16string>;

// --- Scans ---------------------------------------------------------------------------------------------------------

Value valueOf(Range range) {
    return Result<Range>::value(range);
}

bool listCall(const Tag& tag, void* context) {
    static_cast<Array*>(context)->push_back(Dictionary{{u"kind", static_cast<int>(tag.kind)},
                                                       {u"name", valueOf(tag.nameRange())},
                                                       {u"tag", valueOf(tag.tagRange())},
                                                       {u"text", static_cast<std::int64_t>(tag.textLocation)}});
    return false;
}

/// Two functions that differ in the mode.
template <bool (*scan)(String, TagHandler, void*), bool (*scanMutable)(std::u16string*, TagHandler, void*)>
Value listCalls(std::optional<String> string, bool isMutable) {
    Array calls;
    std::u16string text(string.value_or(String()));
    const bool result = isMutable ? scanMutable(&text, listCall, &calls) : scan(text, listCall, &calls);
    return Dictionary{{u"result", result}, {u"calls", std::move(calls)}};
}

enum class Kept { tags, contents, both };

Array listOf(const RangeArray& ranges, std::size_t count) {
    Array list;
    for (std::size_t i = 0; i < count; ++i)
        list.push_back(valueOf(ranges[i]));
    return list;
}

template <Kept kept>
Value listRanges(std::optional<String> string) {
    const String text = string.value_or(String());
    RangeArray tags;
    RangeArray texts;
    const std::size_t count = kept == Kept::tags       ? getXmlTags(text, &tags)
                              : kept == Kept::contents ? getXmlContents(text, &texts)
                                                       : getXml(text, &tags, &texts);
    Dictionary result;
    if (kept != Kept::contents) result.set(u"tags", listOf(tags, count));
    if (kept != Kept::tags) result.set(u"contents", listOf(texts, count));
    result.set(u"count", static_cast<std::int64_t>(count));
    return result;
}

// --- Buffers -------------------------------------------------------------------------------------------------------
// A buffer may be null.

template <bool (*test)(String, Range) noexcept>
bool testInBuffer(std::optional<String> characters, Range range) {
    return test(characters.value_or(String()), range);
}

OptionalString attributeOfBuffer(String tag, String name) {
    return attributeOfTagCharacters(tag, utf8FromUtf16(name));
}

OptionalString attributeInBuffer(String characters, Range range, String name) {
    return attributeOfTagCharacters(characters, range, utf8FromUtf16(name));
}

Range rangeOfAttributeOfBuffer(String tag, String name) {
    return rangeOfAttributeOfTagCharacters(tag, utf8FromUtf16(name));
}

Range rangeOfAttributeInBuffer(String characters, Range range, String name) {
    return rangeOfAttributeOfTagCharacters(characters, range, utf8FromUtf16(name));
}

OptionalString attributeOrContent(String characters, Range range, String name, bool metaContent) {
    return _attributeOfTagCharactersWithName(characters, range, utf8FromUtf16(name),
                                             metaContent ? AttributeValue::metaContent : AttributeValue::plain);
}

OptionalString backgroundOfBuffer(std::optional<String> tag) {
    return backgroundStyleURLOfTagCharacters(tag.value_or(String()));
}

OptionalString backgroundInBuffer(std::optional<String> characters, Range range) {
    return backgroundStyleURLOfTagCharacters(characters.value_or(String()), range);
}

// --- Several results -----------------------------------------------------------------------------------------------

Value named(OptionalString name, bool open, bool closed) {
    return Dictionary{{u"result", name ? Value(*std::move(name)) : Value()}, {u"open", open}, {u"closed", closed}};
}

Value nameAndShape(std::optional<String> tag) {
    bool open = false;
    bool closed = false;
    OptionalString name = nameOfTag(tag.value_or(String()), &open, &closed);
    return named(std::move(name), open, closed);
}

Value nameAndShapeInRange(std::optional<String> string, Range range) {
    bool open = false;
    bool closed = false;
    OptionalString name = nameOfTagInRange(string.value_or(String()), range, &open, &closed);
    return named(std::move(name), open, closed);
}

template <bool (*read)(String, std::int64_t*, std::int64_t*)>
Value sizeOf(std::optional<String> tag) {
    std::int64_t width = 0;
    std::int64_t height = 0;
    const bool result = read(tag.value_or(String()), &width, &height);
    return Dictionary{{u"result", result}, {u"width", width}, {u"height", height}};
}

template <bool (*read)(String, std::int64_t*, std::int64_t*)>
Value sizeInRange(std::optional<String> string, Range range) {
    return sizeOf<read>(substringWithRange(string.value_or(String()), range));
}

// --- Texts ---------------------------------------------------------------------------------------------------------

OptionalString attributeOfText(std::optional<String> string, String name, String quote, bool tolerant,
                               bool stopAtSemicolon) {
    if (quote.size() != 1) throw ArgumentError("argument 3 is not one character");
    return _copyOfAttributeOfString(string.value_or(String()), name,
                                    {.quote = quote[0], .tolerant = tolerant, .stopAtSemicolon = stopAtSemicolon});
}

// --- Rows ----------------------------------------------------------------------------------------------------------
// The overloads of one name, told apart.

constexpr auto getTagsOfBuffer = static_cast<bool (*)(String, TagHandler, void*)>(GetTagsOfString);
constexpr auto getTagsOfMutable = static_cast<bool (*)(std::u16string*, TagHandler, void*)>(GetTagsOfString);
constexpr auto parse = static_cast<bool (*)(String, TagHandler, void*)>(parseXmlWithHandler);
constexpr auto parseMutable = static_cast<bool (*)(std::u16string*, TagHandler, void*)>(parseXmlWithHandler);
constexpr auto xmlTags = static_cast<Array (*)(String)>(getXmlTags);
constexpr auto xmlContents = static_cast<Array (*)(String)>(getXmlContents);
constexpr auto xml = static_cast<Array (*)(String)>(getXml);
constexpr auto name = static_cast<OptionalString (*)(String)>(nameOfTag);
constexpr auto nameInRange = static_cast<OptionalString (*)(String, Range)>(nameOfTagInRange);
constexpr auto sizeOfString = static_cast<bool (*)(String, std::int64_t*, std::int64_t*)>(getTagWidth);
constexpr auto sizeOfBuffer = static_cast<bool (*)(String, std::int64_t*, std::int64_t*)>(getTagWidthCharacters);

constexpr auto kOperations = std::to_array<Operation>({
    function<listCalls<getTagsOfBuffer, getTagsOfMutable>>("GetTagsOfString", "string mutable"),
    method<listCalls<parse, parseMutable>>("parseXmlWithHandler:context:mutable:", "string mutable"),
    method<optimizedXml>("optimizedXml", "string"),

    method<xmlTags>("getXmlTags", "string"),
    method<xmlContents>("getXmlContents", "string"),
    method<xml>("getXml", "string"),
    method<listRanges<Kept::tags>>("getXmlTags:", "string"),
    method<listRanges<Kept::contents>>("getXmlContents:", "string"),
    method<listRanges<Kept::both>>("getXml::", "string"),

    function<testInBuffer<isTagOpenCharacters>>("isTagOpenCharacters:range:", "characters range"),
    function<testInBuffer<isTagClosedCharacters>>("isTagClosedCharacters:range:", "characters range"),
    method<isTagOpen>("isTagOpen", "tag"),
    method<isTagOpenInRange>("isTagOpenInRange:", "string range"),
    method<isTagClosed>("isTagClosed", "tag"),
    method<isTagClosedInRange>("isTagClosedInRange:", "string range"),
    method<isMetaTag>("isMetaTag", "tag"),
    method<isMetaTagInRange>("isMetaTagInRange:", "string range"),
    method<isRemarkTag>("isRemarkTag", "tag"),
    method<isRemarkTagInRange>("isRemarkTagInRange:", "string range"),

    method<name>("nameOfTag", "tag"),
    method<nameInRange>("nameOfTagInRange:", "string range"),
    method<nameAndShape>("nameOfTag::", "tag"),
    method<nameAndShapeInRange>("nameOfTagInRange:::", "string range"),
    function<nameOfTagInStringRange>("nameOfTagInStringRange", "string location length"),

    function<attributeOfBuffer>("attributeOfTagCharacters:length:withName:", "tag name"),
    function<attributeInBuffer>("attributeOfTagCharacters:range:withName:", "characters range name"),
    function<rangeOfAttributeOfBuffer>("rangeOfAttributeOfTagCharacters:length:withName:", "tag name"),
    function<rangeOfAttributeInBuffer>("rangeOfAttributeOfTagCharacters:range:withName:", "characters range name"),
    function<attributeOrContent>("_attributeOfTagCharactersWithName", "characters range name metaContent"),
    method<attributeOfTagWithName>("attributeOfTagWithName:", "tag name"),
    method<attributeOfTagInRange>("attributeOfTagInRange:withName:", "string range name"),
    method<attributeOfStyleWithName>("attributeOfStyleWithName:", "style name"),
    method<attributeOfStyleInRange>("attributeOfStyleInRange:withName:", "string range name"),

    method<sizeOf<sizeOfString>>("getTagWidth:height:", "tag"),
    method<sizeInRange<sizeOfString>>("getTagWidth:height:range:", "string range"),
    function<sizeOf<sizeOfBuffer>>("getTagWidth:height:characters:length:", "tag"),
    function<sizeInRange<sizeOfBuffer>>("getTagWidth:height:characters:range:", "characters range"),

    function<backgroundOfBuffer>("backgroundStyleURLOfTagCharacters:length:", "tag"),
    function<backgroundInBuffer>("backgroundStyleURLOfTagCharacters:range:", "characters range"),
    function<attributeOfText>("_copyOfAttributeOfString", "string name quote tolerant stopAtSemicolon"),
});

}  // namespace

std::span<const Operation> scannerOperations() {
    return kOperations;
}

}  // namespace halden::operations
