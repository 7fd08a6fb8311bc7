#include "foundation/CharacterComparison.h"
#include "foundation/Characters.h"
#include "foundation/FilteredComparison.h"
#include "foundation/operations/NamedArguments.h"
#include "foundation/operations/Operations.h"

#include <array>
#include <optional>

namespace halden::operations {
namespace {

// --- Forms ---------------------------------------------------------------------------------------------------------

template <const CharacterBitmap& (*set)()>
std::vector<std::uint8_t> bytesOf() {
    const auto& bytes = set().bytes;
    return {bytes.begin(), bytes.end()};
}

/// The table as bytes, two for each entry, the low one first.
template <const ConversionTable& (*table)()>
std::vector<std::uint8_t> unitsOf() {
    std::vector<std::uint8_t> bytes;
    for (const char16_t unit : table().units) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

std::optional<std::size_t> indexOf(const char16_t* place, std::u16string_view haystack) {
    if (place == nullptr) return std::nullopt;
    return static_cast<std::size_t>(place - haystack.data());
}

template <const char16_t* (*search)(std::u16string_view, std::u16string_view)>
std::optional<std::size_t> findUnits(std::u16string_view haystack, std::u16string_view needle) {
    return indexOf(search(haystack, needle), haystack);
}

template <const char16_t* (*search)(std::u16string_view, std::string_view)>
std::optional<std::size_t> findBytes(std::u16string_view haystack, const Data& needle) {
    return indexOf(search(haystack, needle.view()), haystack);
}

template <std::int64_t (*compare)(std::u16string_view, std::string_view)>
std::int64_t compareWithBytes(std::u16string_view first, const Data& second) {
    return compare(first, second.view());
}

template <std::int64_t (*compare)(std::string_view, std::string_view)>
std::int64_t compareBytes(const Data& first, const Data& second) {
    return compare(first.view(), second.view());
}

std::int64_t compareThroughTable(std::u16string_view first, std::u16string_view second,
                                 std::optional<std::u16string_view> table) {
    return fastCompareUnicharsUsingConversionTable(first, second, tableNamed(table, 2));
}

// A string that is nil, and a buffer that is null, have no units.

bool partOfSet(std::optional<std::u16string_view> string, std::optional<std::u16string_view> set) {
    return characterPartOfSet(string.value_or(u""), setNamed(set, 1));
}

bool onlyWhite(std::optional<std::u16string_view> units) {
    return onlyWhiteCharacters(units.value_or(u""));
}

std::optional<std::size_t> position(const Data& needle, std::u16string_view haystack, bool caseSensitive) {
    return positionOfCharacters(needle.view(), haystack,
                                caseSensitive ? CaseSensitivity::sensitive : CaseSensitivity::insensitive);
}

std::size_t wordsOf(std::optional<std::u16string_view> units) {
    return numberOfWordsOfCharacters(units.value_or(u""));
}

template <bool (*test)(std::u16string_view, std::u16string_view, const CharacterBitmap&)>
bool testBySet(std::u16string_view string, std::u16string_view other, std::u16string_view set) {
    return test(string, other, *setNamed(set, 2));
}

constexpr auto kOperations = std::to_array<Operation>({
    function<bytesOf<emptyCharacterSetRep>>("emptyCharacterSetRep", ""),
    function<bytesOf<spaceCharacterSetRep>>("spaceCharacterSetRep", ""),
    function<bytesOf<whiteCharacterSetRep>>("whiteCharacterSetRep", ""),
    function<bytesOf<alphaCharacterSetRep>>("alphaCharacterSetRep", ""),
    function<bytesOf<alphaNumCharacterSetRep>>("alphaNumCharacterSetRep", ""),
    function<bytesOf<digitCharacterSetRep>>("digitCharacterSetRep", ""),
    function<bytesOf<lowerCharacterSetRep>>("lowerCharacterSetRep", ""),
    function<bytesOf<upperCharacterSetRep>>("upperCharacterSetRep", ""),
    function<firstAlphaCharacter>("firstAlphaCharacter", ""),
    function<lastAlphaCharacter>("lastAlphaCharacter", ""),
    function<unitsOf<initLowerCharsTable>>("initLowerCharsTable", ""),
    function<unitsOf<initUpperCharsTable>>("initUpperCharsTable", ""),
    function<unitsOf<initUmlautsCharsTable>>("initUmlautsCharsTable", ""),
    function<unitsOf<initLowerUmlautsCharsTable>>("initLowerUmlautsCharsTable", ""),
    function<unitsOf<initUpperUmlautsCharsTable>>("initUpperUmlautsCharsTable", ""),
    function<toLower>("toLower", "unit"),
    function<toUpper>("toUpper", "unit"),
    function<toAscii>("toAscii", "unit"),
    function<toUpperAscii>("toUpperAscii", "unit"),
    function<toLowerAscii>("toLowerAscii", "unit"),
    function<umlautsToAscii>("umlautsToAscii", "unit"),
    function<umlautsToUpperAscii>("umlautsToUpperAscii", "unit"),
    function<umlautsToLowerAscii>("umlautsToLowerAscii", "unit"),
    function<partOfSet>("characterPartOfSet", "string set"),
    function<onlyWhite>("onlyWhiteCharacters:length:", "string"),
    function<wordsOf>("numberOfWordsOfCharacters:length:", "string"),
    function<testBySet<equalStringsNoCaseUsingCharacterSetRep>>("equalStringsNoCaseUsingCharacterSetRep",
                                                                "string other set"),
    function<testBySet<hasPrefixNoCaseUsingCharacterSetRep>>("hasPrefixNoCaseUsingCharacterSetRep",
                                                             "string prefix set"),
    function<compareThroughTable>("fastCompareUnicharsUsingConversionTable", "first second table"),
    function<fastCompareUnichars>("fastCompareUnichars", "first second"),
    function<compareWithBytes<fastCompareUnicharsWithChars>>("fastCompareUnicharsWithChars", "first second"),
    function<compareBytes<fastCompareChars>>("fastCompareChars", "first second"),
    function<fastCaseInsensitiveCompareUnichars>("fastCaseInsensitiveCompareUnichars", "first second"),
    function<compareWithBytes<fastCaseInsensitiveCompareUnicharsWithChars>>(
        "fastCaseInsensitiveCompareUnicharsWithChars", "first second"),
    function<compareBytes<fastCaseInsensitiveCompareChars>>("fastCaseInsensitiveCompareChars", "first second"),
    function<findUnits<fastContainsUnichars>>("fastContainsUnichars", "haystack needle"),
    function<findUnits<fastCaseInsensitiveContainsUnichars>>("fastCaseInsensitiveContainsUnichars", "haystack needle"),
    function<findBytes<fastUnicharsContainChars>>("fastUnicharsContainChars", "haystack needle"),
    function<findBytes<fastCaseInsensitiveUnicharsContainChars>>("fastCaseInsensitiveUnicharsContainChars",
                                                                 "haystack needle"),
    function<position>("positionOfCharacters::inCharacters::caseSensitive:", "needle haystack caseSensitive"),
});

}  // namespace

std::span<const Operation> characterOperations() {
    return kOperations;
}

}  // namespace halden::operations
