// Collects the tokens of a string, and the texts between them, with two ready-made handlers.
#pragma once

#include "foundation/Range.h"
#include "foundation/Value.h"
#include "markup/TagScanner.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace halden {

// --- As objects ----------------------------------------------------------------------------------------------------

/// The context record of StoreToArrayHandler.
struct StoreToArrayContext {
    Array* result = nullptr;
    bool tagsWanted = false;
    bool contentsWanted = false;
};

/// Appends to `result`: with tags only, the token's text for each call that has a token; with contents only, each text
/// run that is not empty; with both, for every call a dictionary with the token's text as "Tag" ("" at the end) and,
/// unless it is empty, the text run BEFORE the token as "Content". Never stops.
bool StoreToArrayHandler(const Tag& tag, void* context);

[[nodiscard]] Array getXmlTags(std::u16string_view string);
[[nodiscard]] Array getXmlContents(std::u16string_view string);
[[nodiscard]] Array getXml(std::u16string_view string);

// --- As ranges -----------------------------------------------------------------------------------------------------

struct FreeDeleter {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

/// Ranges in an array from malloc, which the owner frees.
using RangeArray = std::unique_ptr<Range[], FreeDeleter>;

/// The context record of StoreToRangesHandler. An array that is a null pointer is not kept. Both have room for
/// `capacity` entries.
struct StoreToRangesContext {
    RangeArray* tagRanges = nullptr;
    RangeArray* textRanges = nullptr;
    std::size_t count = 0;
    std::size_t capacity = 0;
};

/// Adds one entry a call, that of the end included: the token's range, and {textLocation, tagLocation - textLocation}
/// of the text run before it, both cut to the text where a token claims one unit too many. The arrays grow twofold; one
/// that cannot grow is freed and becomes null, and the count goes on. Never stops.
bool StoreToRangesHandler(const Tag& tag, void* context);

/// Scan `string` and hand over the ranges asked for. They return how many entries there are: 0 for an empty string,
/// else at least the one of the end. An array for which there was no memory is null.
std::size_t getXmlTags(std::u16string_view string, RangeArray* tagRanges);
std::size_t getXmlContents(std::u16string_view string, RangeArray* textRanges);
std::size_t getXml(std::u16string_view string, RangeArray* tagRanges, RangeArray* textRanges);

}  // namespace halden
