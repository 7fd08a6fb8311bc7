#include "foundation/StringConversion.h"
#include "foundation/StringNormalization.h"
#include "foundation/StringSearch.h"
#include "foundation/StringTrimming.h"
#include "foundation/StringWhiteSpace.h"
#include "foundation/operations/NamedArguments.h"
#include "foundation/operations/Operations.h"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

namespace halden::operations {
namespace {

// --- Forms ---------------------------------------------------------------------------------------------------------

NormalizationForm formNumbered(std::uint8_t number) {
    if (number > static_cast<std::uint8_t>(NormalizationForm::kc)) throw ArgumentError("argument 2 is no normal form");
    return static_cast<NormalizationForm>(number);
}

void normalizeToForm(std::u16string& string, std::uint8_t form) {
    normalizeString(string, formNumbered(form));
}

std::u16string normalizedToForm(std::u16string string, std::uint8_t form) {
    return normalizedString(std::move(string), formNumbered(form));
}

void normalizeToFormC(std::u16string& string) {
    normalizeString(string);
}

std::u16string normalizedToFormC(std::u16string string) {
    return normalizedString(std::move(string));
}

CollapsedSet collapsedSet(bool feeds) {
    return feeds ? CollapsedSet::white : CollapsedSet::spaces;
}

void collapse(std::u16string& string, bool feeds) {
    removeMultipleSpacesAndFeeds(string, collapsedSet(feeds));
}

std::u16string collapsed(std::u16string string, bool feeds) {
    return stringByRemovingMultipleSpacesAndFeeds(std::move(string), collapsedSet(feeds));
}

TrimmedSet trimmedSet(bool feeds) {
    return feeds ? TrimmedSet::white : TrimmedSet::spaces;
}

template <std::u16string (*trim)(std::u16string, TrimmedSet)>
std::u16string trimmed(std::u16string string, bool feeds) {
    return trim(std::move(string), trimmedSet(feeds));
}

void trimRange(std::u16string& string, Range range, bool feeds) {
    trimSpacesInRange(string, range, trimmedSet(feeds));
}

std::optional<std::size_t> findOneOfUnits(std::u16string_view string, std::u16string_view units, std::size_t startAt,
                                          bool caseInsensitive) {
    return findOneOf(string, units, startAt,
                     caseInsensitive ? CaseSensitivity::insensitive : CaseSensitivity::sensitive);
}

bool contains(std::u16string_view string, std::u16string_view substring, bool caseSensitive) {
    return containsSubstring(string, substring,
                             caseSensitive ? CaseSensitivity::sensitive : CaseSensitivity::insensitive);
}

std::u16string alphaNumericsThrough(std::u16string_view string, std::optional<std::u16string_view> table) {
    return stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(string, tableNamed(table, 1));
}

constexpr auto kOperations = std::to_array<Operation>({
    method<fixAndNormalizeString>("fixAndNormalizeString", "string"),
    method<fixedAndNormalizedString>("fixedAndNormalizedString", "string"),
    method<normalizeToFormC>("normalizeString", "string"),
    method<normalizedToFormC>("normalizedString", "string"),
    method<normalizeToForm>("normalizeString:", "string form"),
    method<normalizedToForm>("normalizedString:", "string form"),
    method<normalizeLowercaseString>("normalizeLowercaseString", "string"),
    method<normalizedLowercaseString>("normalizedLowercaseString", "string"),
    method<normalizeUppercaseString>("normalizeUppercaseString", "string"),
    method<normalizedUppercaseString>("normalizedUppercaseString", "string"),

    method<nonUmlautedString>("nonUmlautedString", "string"),
    method<lowercaseNonUmlautedString>("lowercaseNonUmlautedString", "string"),
    method<uppercaseNonUmlautedString>("uppercaseNonUmlautedString", "string"),
    method<nonUmlautedNormalizedString>("nonUmlautedNormalizedString", "string"),
    method<lowercaseNonUmlautedNormalizedString>("lowercaseNonUmlautedNormalizedString", "string"),
    method<uppercaseNonUmlautedNormalizedString>("uppercaseNonUmlautedNormalizedString", "string"),
    method<asciiString>("asciiString", "string"),
    method<lowercaseAsciiString>("lowercaseAsciiString", "string"),
    method<uppercaseAsciiString>("uppercaseAsciiString", "string"),
    method<convertLigaturesToCharacters>("convertLigaturesToCharacters", "string"),
    method<alphaNumericsThrough>("stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable:",
                                 "string table"),

    method<collapse>("removeMultipleSpacesAndFeeds:", "string feeds"),
    method<collapsed>("stringByRemovingMultipleSpacesAndFeeds:", "string feeds"),
    method<removeMultipleFeeds>("removeMultipleFeeds", "string"),
    method<stringByRemovingMultipleFeeds>("stringByRemovingMultipleFeeds", "string"),
    method<removeFeeds>("removeFeeds", "string"),
    method<removeTabs>("removeTabs", "string"),
    method<removeSpaces>("removeSpaces", "string"),
    method<removeWhiteCharacters>("removeWhiteCharacters", "string"),
    method<stringByRemovingFeeds>("stringByRemovingFeeds", "string"),
    method<stringByRemovingTabs>("stringByRemovingTabs", "string"),
    method<stringByRemovingSpaces>("stringByRemovingSpaces", "string"),
    method<stringByRemovingWhiteCharacters>("stringByRemovingWhiteCharacters", "string"),
    method<decodeTabs>("decodeTabs:", "string width"),
    method<encodeTabs>("encodeTabs:", "string width"),

    method<trimmed<stringByTrimmingSpacesAndFeeds>>("stringByTrimmingSpacesAndFeeds:", "string feeds"),
    method<trimmed<stringByTrimmingLeftSpacesAndFeeds>>("stringByTrimmingLeftSpacesAndFeeds:", "string feeds"),
    method<trimmed<stringByTrimmingRightSpacesAndFeeds>>("stringByTrimmingRightSpacesAndFeeds:", "string feeds"),
    method<trimRange>("trimSpacesInRange:andFeeds:", "string range feeds"),
    method<stringByTrimmingWhiteSpaces>("stringByTrimmingWhiteSpaces", "string"),
    method<trimFeeds>("trimFeeds", "string"),
    method<stringByTrimmingQuotes>("stringByTrimmingQuotes", "string"),
    method<stringByTrimmingCharacter>("stringByTrimmingCharacter:", "string character"),
    method<stringByTrimmingPrefixCharacter>("stringByTrimmingPrefixCharacter:", "string character"),
    method<stringByTrimmingSuffixCharacter>("stringByTrimmingSuffixCharacter:", "string character"),
    method<stringByTrimmingEnclosingCharacter>("stringByTrimmingEnclosingCharacter:", "string character"),
    method<stringByTrimmingEllipsis>("stringByTrimmingEllipsis", "string"),
    method<stringByTrimmingDigits>("stringByTrimmingDigits", "string"),

    method<firstCharacter>("firstCharacter", "string"),
    method<lastCharacter>("lastCharacter", "string"),
    method<containsWhiteCharacter>("containsWhiteCharacter", "string"),
    method<findCharacter>("findCharacter:", "string unit"),
    method<findOneOfUnits>("findOneOf:startAt:caseInsensitive:", "string units startAt caseInsensitive"),
    method<hasPrefixNoCase>("hasPrefixNoCase:", "string prefix"),
    method<hasSuffixNoCase>("hasSuffixNoCase:", "string suffix"),
    method<contains>("containsSubstring:caseSensitive:", "string substring caseSensitive"),
});

}  // namespace

std::span<const Operation> stringOperations() {
    return kOperations;
}

}  // namespace halden::operations
