// Any units through the cleaning of text: each operation must give what its rule gives unit by unit, and normal forms
// what ICU gives for the whole text.
#include "foundation/Characters.h"
#include "foundation/StringConversion.h"
#include "foundation/StringNormalization.h"
#include "foundation/StringSearch.h"
#include "foundation/StringTrimming.h"
#include "foundation/StringWhiteSpace.h"

#include <unicode/unorm2.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace halden;

void require(bool holds) {
    if (!holds) std::abort();
}

const UNormalizer2* icuFor(NormalizationForm form) {
    UErrorCode status = U_ZERO_ERROR;
    switch (form) {
        case NormalizationForm::d:
            return unorm2_getNFDInstance(&status);
        case NormalizationForm::kd:
            return unorm2_getNFKDInstance(&status);
        case NormalizationForm::c:
            return unorm2_getNFCInstance(&status);
        case NormalizationForm::kc:
            break;
    }
    return unorm2_getNFKCInstance(&status);
}

std::u16string normalizedByIcu(const std::u16string& string, NormalizationForm form) {
    std::u16string result(string.size() * 18 + 1, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length = unorm2_normalize(icuFor(form), string.data(), static_cast<std::int32_t>(string.size()),
                                                 result.data(), static_cast<std::int32_t>(result.size()), &status);
    require(U_SUCCESS(status));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::u16string collapsedUnitByUnit(std::u16string_view string, const CharacterBitmap& set) {
    std::u16string result;
    bool isInRun = false;
    for (const char16_t unit : string) {
        const bool isMember = set.contains(unit);
        if (!isMember || !isInRun) result += isMember ? u' ' : unit;
        isInRun = isMember;
    }
    return result;
}

std::u16string removedUnitByUnit(std::u16string string, const CharacterBitmap& set) {
    std::erase_if(string, [&](char16_t unit) { return set.contains(unit); });
    return string;
}

std::u16string mapped(std::u16string string, char16_t (*convert)(char16_t)) {
    std::ranges::transform(string, string.begin(), convert);
    return string;
}

void checkNormalForms(const std::u16string& text) {
    for (const auto form : {NormalizationForm::d, NormalizationForm::kd, NormalizationForm::c, NormalizationForm::kc}) {
        const std::u16string normal = normalizedString(text, form);
        require(normal == normalizedByIcu(text, form));
        require(normalizedString(normal, form) == normal);
    }
    const std::u16string blanked = mapped(text, [](char16_t unit) {
        const bool isBlanked = unit == 0 || (unit >= 0xD800 && unit <= 0xDFFF) || (unit >= 0xF400 && unit <= 0xF8FF);
        return isBlanked ? u' ' : unit;
    });
    require(fixedAndNormalizedString(text) == normalizedByIcu(blanked, NormalizationForm::c));
}

void checkConversions(const std::u16string& text) {
    const std::u16string normal = normalizedString(text);
    require(nonUmlautedString(text) == mapped(text, umlautsToAscii));
    require(lowercaseNonUmlautedString(text) == mapped(text, umlautsToLowerAscii));
    require(uppercaseNonUmlautedNormalizedString(text) == mapped(normal, umlautsToUpperAscii));
    require(lowercaseAsciiString(text) == mapped(normal, toLowerAscii));
    require(uppercaseAsciiString(text) == mapped(normal, toUpperAscii));
    std::u16string spelledOut = text;
    convertLigaturesToCharacters(spelledOut);
    require(std::ranges::none_of(spelledOut, [](char16_t unit) {
        return (unit >= 0xFB00 && unit <= 0xFB06) || unit == 0x0132 || unit == 0x0133;
    }));
    require(spelledOut.size() >= text.size() && spelledOut.size() <= 3 * text.size());
}

void checkWhiteSpace(const std::u16string& text, std::size_t width) {
    const CharacterBitmap& white = whiteCharacterSetRep();
    const CharacterBitmap& space = spaceCharacterSetRep();
    require(stringByRemovingMultipleSpacesAndFeeds(text, CollapsedSet::white) == collapsedUnitByUnit(text, white));
    require(stringByRemovingMultipleSpacesAndFeeds(text, CollapsedSet::spaces) == collapsedUnitByUnit(text, space));
    require(stringByRemovingWhiteCharacters(text) == removedUnitByUnit(text, white));
    require(stringByRemovingSpaces(text) == removedUnitByUnit(text, space));
    std::u16string decoded = text;
    decodeTabs(decoded, width);
    std::u16string encoded = text;
    encodeTabs(encoded, width);
    require(encoded.size() <= text.size());
    decodeTabs(encoded, width);
    require(encoded == decoded);
}

void checkTrimming(const std::u16string& text, std::size_t at) {
    const std::u16string trimmed = stringByTrimmingSpacesAndFeeds(text, TrimmedSet::white);
    require(text.find(trimmed) != std::u16string::npos);
    require(trimmed == stringByTrimmingLeftSpacesAndFeeds(stringByTrimmingRightSpacesAndFeeds(text, TrimmedSet::white),
                                                          TrimmedSet::white));
    for (auto* trim :
         {stringByTrimmingQuotes, stringByTrimmingEllipsis, stringByTrimmingDigits, stringByTrimmingWhiteSpaces}) {
        const std::u16string once = trim(text);
        require(text.find(once) != std::u16string::npos);
        require(trim(once) == once);
    }
    std::u16string inRange = text;
    const Range left = trimSpacesInRange(inRange, {at, at}, TrimmedSet::spaces);
    require(left.end() <= inRange.size());
    const std::u16string_view view = text;
    const std::u16string_view front = view.substr(0, at % 5);
    require(hasPrefixNoCase(text, front));
    require(front.empty() || containsSubstring(text, front, CaseSensitivity::insensitive));
    const auto found = findOneOf(text, front, at);
    const std::size_t expected = view.find_first_of(front, at);
    require(found ? *found == expected : expected == std::u16string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t number = bytes[0];
    std::u16string text((size - 1) / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes + 1, text.size() * sizeof(char16_t));
    checkNormalForms(text);
    checkConversions(text);
    checkWhiteSpace(text, number);
    checkTrimming(text, number);
    return 0;
}
