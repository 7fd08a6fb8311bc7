#include "foundation/CharacterComparison.h"

#include "foundation/WideUnits.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <vector>

namespace halden {
namespace {

constexpr char16_t widened(char byte) {
    return static_cast<char16_t>(static_cast<std::int16_t>(static_cast<signed char>(byte)));
}

const ConversionTable& caseFoldingTable() {
    static_cast<void>(initLowerCharsTable());  // both tables stand after the first comparison that ignores case
    return initUpperCharsTable();
}

// --- Comparisons ---------------------------------------------------------------------------------------------------

template <class First, class Second, class ConvertFirst, class ConvertSecond>
std::int64_t compare(First first, Second second, ConvertFirst convertFirst, ConvertSecond convertSecond) {
    const std::size_t common = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < common; ++i) {
        const std::int64_t difference = std::int64_t{convertFirst(first[i])} - std::int64_t{convertSecond(second[i])};
        if (difference != 0) return difference;
    }
    return static_cast<std::int64_t>(first.size()) - static_cast<std::int64_t>(second.size());
}

char16_t sameUnit(char16_t unit) {
    return unit;
}

/// How many units the buffers have in common at their start, rounded down to whole blocks.
std::size_t commonBlocks(std::u16string_view first, std::u16string_view second) {
    const std::size_t common = std::min(first.size(), second.size());
    std::size_t i = 0;
    while (i + WideUnits::kCount <= common) {
        const WideUnits equal = WideUnits::load(first.data() + i) == WideUnits::load(second.data() + i);
        if (std::popcount(equal.bits()) != WideUnits::kCount) break;
        i += WideUnits::kCount;
    }
    return i;
}

// --- Searches ------------------------------------------------------------------------------------------------------

/// The units that count as equal to one unit of a needle.
struct EquivalentUnits {
    // Four letters at most share an upper case, as the Cyrillic T and its three small forms do.
    static constexpr std::size_t kLimit = 8;

    std::array<WideUnits, kLimit> wide;
    std::size_t count = 0;

    void add(char16_t unit) {
        if (count < kLimit) wide[count++] = WideUnits::broadcast(unit);
    }
    [[nodiscard]] WideUnits where(WideUnits units) const {
        WideUnits result = units == wide[0];
        for (std::size_t i = 1; i < count; ++i)
            result = result | (units == wide[i]);
        return result;
    }
};

EquivalentUnits onlyUnit(char16_t unit) {
    EquivalentUnits result;
    result.add(unit);
    return result;
}

/// The letters that the upper-case table changes, by what they become.
const std::vector<std::pair<char16_t, char16_t>>& lowercaseLettersByUppercase() {
    static const auto letters = [] {
        const ConversionTable& upper = caseFoldingTable();
        std::vector<std::pair<char16_t, char16_t>> result;
        for (std::size_t unit = 0; unit < upper.units.size(); ++unit) {
            if (upper.units[unit] != unit) result.emplace_back(upper.units[unit], static_cast<char16_t>(unit));
        }
        std::ranges::sort(result);
        return result;
    }();
    return letters;
}

EquivalentUnits unitsWithUppercase(char16_t uppercase) {
    EquivalentUnits result;
    if (caseFoldingTable()[uppercase] == uppercase) result.add(uppercase);
    const auto& letters = lowercaseLettersByUppercase();
    auto entry = std::ranges::lower_bound(letters, uppercase, {}, &std::pair<char16_t, char16_t>::first);
    for (; entry != letters.end() && entry->first == uppercase; ++entry)
        result.add(entry->second);
    return result;
}

/// The first place where `matches` accepts. Only places are tried where the needle's first and last unit agree, which
/// are looked for a block at a time.
template <class Matches>
const char16_t* search(std::u16string_view haystack, std::size_t needleLength, const EquivalentUnits& first,
                       const EquivalentUnits& last, Matches matches) {
    constexpr std::size_t kCount = WideUnits::kCount;
    const std::size_t starts = haystack.size() - needleLength + 1;
    const char16_t* units = haystack.data();
    const auto candidates = [&](std::size_t at) {
        const WideUnits atFirst = first.where(WideUnits::load(units + at));
        return (atFirst & last.where(WideUnits::load(units + at + needleLength - 1))).bits();
    };
    std::size_t at = 0;
    for (; at + kCount <= starts; at += kCount) {
        for (std::uint32_t bits = candidates(at); bits != 0; bits &= bits - 1) {
            const char16_t* place = units + at + std::countr_zero(bits);
            if (matches(place)) return place;
        }
    }
    for (; at < starts; ++at) {
        if (matches(units + at)) return units + at;
    }
    return nullptr;
}

const char16_t* searchExact(std::u16string_view haystack, std::u16string_view needle) {
    if (needle.empty() || needle.size() > haystack.size()) return nullptr;
    return search(haystack, needle.size(), onlyUnit(needle.front()), onlyUnit(needle.back()),
                  [&](const char16_t* place) { return std::equal(needle.begin(), needle.end(), place); });
}

/// `needle` is already in upper case.
const char16_t* searchUppercase(std::u16string_view haystack, std::u16string_view needle) {
    if (needle.empty() || needle.size() > haystack.size()) return nullptr;
    const ConversionTable& upper = caseFoldingTable();
    const auto matches = [&](const char16_t* place) {
        return std::equal(needle.begin(), needle.end(), place,
                          [&](char16_t wanted, char16_t unit) { return wanted == upper[unit]; });
    };
    const EquivalentUnits first = unitsWithUppercase(needle.front());
    const EquivalentUnits last = unitsWithUppercase(needle.back());
    return search(haystack, needle.size(), first, last, matches);
}

/// The converted units of a needle, on the stack where it is short.
class ConvertedNeedle {
public:
    template <class Needle, class Convert>
    ConvertedNeedle(Needle needle, Convert convert) : length_(needle.size()) {
        char16_t* units = shortUnits_.data();
        if (length_ > shortUnits_.size()) {
            longUnits_.resize(length_);
            units = longUnits_.data();
        }
        std::transform(needle.begin(), needle.end(), units, convert);
    }
    [[nodiscard]] std::u16string_view view() const {
        return {length_ > shortUnits_.size() ? longUnits_.data() : shortUnits_.data(), length_};
    }

private:
    std::array<char16_t, 256> shortUnits_;
    std::u16string longUnits_;
    std::size_t length_;
};

}  // namespace

std::int64_t fastCompareUnicharsUsingConversionTable(std::u16string_view first, std::u16string_view second,
                                                     const ConversionTable* table) {
    if (table == nullptr) return fastCompareUnichars(first, second);
    const auto convert = [table](char16_t unit) { return (*table)[unit]; };
    return compare(first, second, convert, convert);
}

std::int64_t fastCompareUnichars(std::u16string_view first, std::u16string_view second) {
    const std::size_t common = commonBlocks(first, second);
    return compare(first.substr(common), second.substr(common), sameUnit, sameUnit);
}

std::int64_t fastCompareUnicharsWithChars(std::u16string_view first, std::string_view second) {
    return compare(first, second, sameUnit, widened);
}

std::int64_t fastCompareChars(std::string_view first, std::string_view second) {
    const auto value = [](char byte) { return static_cast<signed char>(byte); };
    return compare(first, second, value, value);
}

std::int64_t fastCaseInsensitiveCompareUnichars(std::u16string_view first, std::u16string_view second) {
    return fastCompareUnicharsUsingConversionTable(first, second, &caseFoldingTable());
}

std::int64_t fastCaseInsensitiveCompareUnicharsWithChars(std::u16string_view first, std::string_view second) {
    const ConversionTable& upper = caseFoldingTable();
    return compare(
        first, second, [&](char16_t unit) { return upper[unit]; }, [&](char byte) { return upper[widened(byte)]; });
}

std::int64_t fastCaseInsensitiveCompareChars(std::string_view first, std::string_view second) {
    const ConversionTable& upper = caseFoldingTable();
    const auto convert = [&](char byte) { return upper[widened(byte)]; };
    return compare(first, second, convert, convert);
}

const char16_t* fastContainsUnichars(std::u16string_view haystack, std::u16string_view needle) {
    return searchExact(haystack, needle);
}

const char16_t* fastCaseInsensitiveContainsUnichars(std::u16string_view haystack, std::u16string_view needle) {
    const ConversionTable& upper = caseFoldingTable();
    return searchUppercase(haystack, ConvertedNeedle(needle, [&](char16_t unit) { return upper[unit]; }).view());
}

const char16_t* fastUnicharsContainChars(std::u16string_view haystack, std::string_view needle) {
    return searchExact(haystack, ConvertedNeedle(needle, widened).view());
}

const char16_t* fastCaseInsensitiveUnicharsContainChars(std::u16string_view haystack, std::string_view needle) {
    const ConversionTable& upper = caseFoldingTable();
    return searchUppercase(haystack, ConvertedNeedle(needle, [&](char byte) { return upper[widened(byte)]; }).view());
}

std::optional<std::size_t> positionOfCharacters(std::string_view needle, std::u16string_view haystack,
                                                CaseSensitivity caseSensitive) {
    const char16_t* place = caseSensitive == CaseSensitivity::sensitive
                                ? fastUnicharsContainChars(haystack, needle)
                                : fastCaseInsensitiveUnicharsContainChars(haystack, needle);
    if (place == nullptr) return std::nullopt;
    return static_cast<std::size_t>(place - haystack.data());
}

}  // namespace halden
