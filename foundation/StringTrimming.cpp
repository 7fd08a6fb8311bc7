#include "foundation/StringTrimming.h"

#include "foundation/Characters.h"
#include "foundation/StringWhiteSpace.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace halden {
namespace {

// --- Ends ----------------------------------------------------------------------------------------------------------
// Each gives how many units are taken off, all of them when all belong to the set.

template <class IsMember>
std::size_t membersAtStart(std::u16string_view string, IsMember isMember) {
    return static_cast<std::size_t>(std::ranges::find_if_not(string, isMember) - string.begin());
}

template <class IsMember>
std::size_t membersAtEnd(std::u16string_view string, IsMember isMember) {
    const auto kept = std::find_if_not(string.rbegin(), string.rend(), isMember);
    return static_cast<std::size_t>(kept - string.rbegin());
}

template <class IsMember>
Range rangeWithoutEnds(std::u16string_view string, IsMember isMember) {
    const std::size_t start = membersAtStart(string, isMember);
    const std::size_t end = membersAtEnd(string.substr(start), isMember);
    return {start, string.size() - start - end};
}

std::u16string cutTo(std::u16string string, Range range) {
    string.erase(range.end());
    string.erase(0, range.location);
    return string;
}

template <class IsMember>
std::u16string trimmed(std::u16string string, IsMember isMember) {
    const Range range = rangeWithoutEnds(string, isMember);
    return cutTo(std::move(string), range);
}

template <class IsMember>
std::u16string trimmedAtStart(std::u16string string, IsMember isMember) {
    string.erase(0, membersAtStart(string, isMember));
    return string;
}

template <class IsMember>
std::u16string trimmedAtEnd(std::u16string string, IsMember isMember) {
    string.erase(string.size() - membersAtEnd(string, isMember));
    return string;
}

// --- Sets ----------------------------------------------------------------------------------------------------------

auto memberOf(const CharacterBitmap& bitmap) {
    return [&bitmap](char16_t unit) { return bitmap.contains(unit); };
}

auto memberOf(TrimmedSet set) {
    return memberOf(set == TrimmedSet::white ? whiteCharacterSetRep() : spaceCharacterSetRep());
}

/// Unicode's white space, without what the white bitmap has besides.
const CharacterBitmap& platformWhiteSpace() {
    static const CharacterBitmap set = [] {
        CharacterBitmap result;
        const std::vector<std::uint8_t> bytes = bitmap(CharacterSet::whitespaceAndNewline);
        std::copy_n(bytes.begin(), result.bytes.size(), result.bytes.begin());
        return result;
    }();
    return set;
}

// --- Ellipses ------------------------------------------------------------------------------------------------------

constexpr char16_t kEllipsis = u'\u2026';
constexpr std::size_t kFewestStops = 3;

bool isStop(char16_t unit) {
    return unit == u'.';
}

std::size_t ellipsesAtStart(std::u16string_view string) {
    std::size_t count = 0;
    while (count < string.size()) {
        const std::size_t stops = membersAtStart(string.substr(count), isStop);
        if (stops >= kFewestStops) {
            count += stops;
        } else if (string[count] == kEllipsis) {
            ++count;
        } else {
            break;
        }
    }
    return count;
}

std::size_t ellipsesAtEnd(std::u16string_view string) {
    std::size_t rest = string.size();
    while (rest > 0) {
        const std::size_t stops = membersAtEnd(string.substr(0, rest), isStop);
        if (stops >= kFewestStops) {
            rest -= stops;
        } else if (string[rest - 1] == kEllipsis) {
            --rest;
        } else {
            break;
        }
    }
    return string.size() - rest;
}

}  // namespace

// --- Spaces and line ends ------------------------------------------------------------------------------------------

std::u16string stringByTrimmingSpacesAndFeeds(std::u16string string, TrimmedSet set) {
    return trimmed(std::move(string), memberOf(set));
}

std::u16string stringByTrimmingLeftSpacesAndFeeds(std::u16string string, TrimmedSet set) {
    return trimmedAtStart(std::move(string), memberOf(set));
}

std::u16string stringByTrimmingRightSpacesAndFeeds(std::u16string string, TrimmedSet set) {
    return trimmedAtEnd(std::move(string), memberOf(set));
}

std::u16string_view trimmedOfSpacesAndFeeds(std::u16string_view string, TrimmedSet set) {
    return substringWithRange(string, rangeWithoutEnds(string, memberOf(set)));
}

Range trimSpacesInRange(std::u16string& string, Range range, TrimmedSet set) {
    const std::size_t start = std::min(range.location, string.size());
    const std::size_t length = std::min(range.length, string.size() - start);
    const Range kept = rangeWithoutEnds(std::u16string_view(string).substr(start, length), memberOf(set));
    string.erase(start + kept.end(), length - kept.end());
    string.erase(start, kept.location);
    return {start, kept.length};
}

std::u16string stringByTrimmingWhiteSpaces(std::u16string string) {
    return trimmed(std::move(string), memberOf(platformWhiteSpace()));
}

void trimFeeds(std::u16string& string) {
    string = trimmed(std::move(string), isFeed);
}

// --- Other characters ----------------------------------------------------------------------------------------------

std::u16string stringByTrimmingQuotes(std::u16string string) {
    return trimmed(std::move(string), [](char16_t unit) { return unit == u'"' || unit == u'\''; });
}

std::u16string stringByTrimmingCharacter(std::u16string string, char16_t character) {
    return trimmed(std::move(string), [=](char16_t unit) { return unit == character; });
}

std::u16string stringByTrimmingPrefixCharacter(std::u16string string, char16_t character) {
    return trimmedAtStart(std::move(string), [=](char16_t unit) { return unit == character; });
}

std::u16string stringByTrimmingSuffixCharacter(std::u16string string, char16_t character) {
    return trimmedAtEnd(std::move(string), [=](char16_t unit) { return unit == character; });
}

std::u16string stringByTrimmingEnclosingCharacter(std::u16string string, char16_t character) {
    std::size_t pairs = 0;
    std::size_t last = string.size();
    while (pairs + 1 < last && string[pairs] == character && string[last - 1] == character) {
        ++pairs;
        --last;
    }
    return cutTo(std::move(string), {pairs, last - pairs});
}

std::u16string stringByTrimmingEllipsis(std::u16string string) {
    string.erase(string.size() - ellipsesAtEnd(string));
    string.erase(0, ellipsesAtStart(string));
    return string;
}

std::u16string stringByTrimmingDigits(std::u16string string) {
    return trimmed(std::move(string), memberOf(digitCharacterSetRep()));
}

}  // namespace halden
