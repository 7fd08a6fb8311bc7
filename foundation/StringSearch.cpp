#include "foundation/StringSearch.h"

#include "foundation/Characters.h"
#include "foundation/WideUnits.h"

#include <algorithm>
#include <array>
#include <bit>

namespace halden {
namespace {

constexpr std::size_t kCount = WideUnits::kCount;

/// The first index from `at` on where a unit matches: whole blocks by `wide`, which gives the lanes that match, the
/// rest by `matches`.
template <class Wide, class Matches>
std::optional<std::size_t> findFirst(std::u16string_view string, std::size_t at, Wide wide, Matches matches) {
    for (; at + kCount <= string.size(); at += kCount) {
        const std::uint32_t bits = wide(WideUnits::load(string.data() + at)).bits();
        if (bits != 0) return at + static_cast<std::size_t>(std::countr_zero(bits));
    }
    for (; at < string.size(); ++at) {
        if (matches(string[at])) return at;
    }
    return std::nullopt;
}

template <class Matches>
std::optional<std::size_t> findFirst(std::u16string_view string, std::size_t at, Matches matches) {
    for (; at < string.size(); ++at) {
        if (matches(string[at])) return at;
    }
    return std::nullopt;
}

constexpr char16_t asciiUpper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
}

/// Both sides through the upper-case table, which is looked up only where a unit beyond ASCII is involved: the letters
/// of ASCII have relatives there, as the long s has.
bool equalNoCase(char16_t a, char16_t b) {
    if (a == b) return true;
    if ((a | b) < 0x80) return asciiUpper(a) == asciiUpper(b);
    const ConversionTable& upper = initUpperCharsTable();
    return upper[a] == upper[b];
}

}  // namespace

std::optional<std::size_t> findCharacter(std::u16string_view string, char16_t unit) {
    const WideUnits wanted = WideUnits::broadcast(unit);
    return findFirst(
        string, 0, [&](WideUnits units) { return units == wanted; }, [&](char16_t u) { return u == unit; });
}

std::optional<std::size_t> findOneOf(std::u16string_view string, std::u16string_view units, std::size_t startAt,
                                     CaseSensitivity caseSensitive) {
    if (units.empty() || startAt >= string.size()) return std::nullopt;
    if (caseSensitive == CaseSensitivity::insensitive) {
        return findFirst(string, startAt, [&](char16_t unit) {
            return std::ranges::any_of(units, [&](char16_t wanted) { return equalNoCase(unit, wanted); });
        });
    }
    const auto isWanted = [&](char16_t unit) { return units.find(unit) != std::u16string_view::npos; };
    constexpr std::size_t kWideLimit = 8;  // beyond it, comparing every block with each of them does not pay
    if (units.size() > kWideLimit) return findFirst(string, startAt, isWanted);
    std::array<WideUnits, kWideLimit> wanted;
    std::ranges::transform(units, wanted.begin(), WideUnits::broadcast);
    const auto wideWanted = [&](WideUnits block) {
        WideUnits result = block == wanted[0];
        for (std::size_t i = 1; i < units.size(); ++i)
            result = result | (block == wanted[i]);
        return result;
    };
    return findFirst(string, startAt, wideWanted, isWanted);
}

char16_t firstCharacter(std::u16string_view string) noexcept {
    return string.empty() ? u'\0' : string.front();
}

char16_t lastCharacter(std::u16string_view string) noexcept {
    return string.empty() ? u'\0' : string.back();
}

bool containsWhiteCharacter(std::u16string_view string) {
    return characterPartOfSet(string, &whiteCharacterSetRep());
}

bool hasPrefixNoCase(std::u16string_view string, std::u16string_view prefix) {
    return string.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), string.begin(), equalNoCase);
}

bool hasSuffixNoCase(std::u16string_view string, std::u16string_view suffix) {
    return string.size() >= suffix.size() && hasPrefixNoCase(string.substr(string.size() - suffix.size()), suffix);
}

bool containsSubstring(std::u16string_view string, std::u16string_view substring, CaseSensitivity caseSensitive) {
    const char16_t* place = caseSensitive == CaseSensitivity::sensitive
                                ? fastContainsUnichars(string, substring)
                                : fastCaseInsensitiveContainsUnichars(string, substring);
    return place != nullptr;
}

}  // namespace halden
