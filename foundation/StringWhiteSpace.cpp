#include "foundation/StringWhiteSpace.h"

#include "foundation/UnitSets.h"
#include "foundation/WideUnits.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace halden {
namespace {

constexpr std::size_t kCount = WideUnits::kCount;

/// Writes a string over itself, always behind the place where it is read: what is dropped moves the rest forward.
class Compaction {
public:
    explicit Compaction(std::u16string& string) : string_(string), units_(string.data()) {}
    ~Compaction() { string_.resize(written_); }
    Compaction(const Compaction&) = delete;
    Compaction& operator=(const Compaction&) = delete;

    void keepBlock(std::size_t at) {
        if (at != written_) WideUnits::load(units_ + at).store(units_ + written_);
        written_ += kCount;
    }
    /// Without branches: where a block is no plain text, nobody can tell which of its units are kept.
    void put(char16_t unit, bool isKept) {
        units_[written_] = unit;
        written_ += isKept ? 1 : 0;
    }

private:
    std::u16string& string_;
    char16_t* units_;
    std::size_t written_ = 0;
};

template <class Set>
void removeMembers(std::u16string& string, const Set& set) {
    Compaction compaction(string);
    const char16_t* units = string.data();
    const std::size_t size = string.size();
    std::size_t at = 0;
    for (; at + kCount <= size; at += kCount) {
        const std::uint32_t members = set.members(units + at);
        if (members == 0) {
            compaction.keepBlock(at);
        } else if (members != kWholeBlock) {
            for (std::size_t i = 0; i < kCount; ++i)
                compaction.put(units[at + i], ((members >> i) & 1) == 0);
        }
    }
    for (; at < size; ++at)
        compaction.put(units[at], !set.contains(units[at]));
}

/// Makes each run of members one `replacement`, which is a member itself: most runs of a text are just that already.
template <class Set>
void collapseRuns(std::u16string& string, const Set& set, char16_t replacement) {
    Compaction compaction(string);
    const char16_t* units = string.data();
    const std::size_t size = string.size();
    std::uint32_t isInRun = 0;
    std::size_t at = 0;
    for (; at + kCount <= size; at += kCount) {
        const std::uint32_t members = set.members(units + at);
        const std::uint32_t plain = (WideUnits::load(units + at) == WideUnits::broadcast(replacement)).bits();
        const std::uint32_t dropped = members & ((members << 1) | isInRun);
        isInRun = members >> (kCount - 1);
        if (((members & ~plain) | dropped) == 0) {
            compaction.keepBlock(at);
        } else if (dropped != kWholeBlock) {
            for (std::size_t i = 0; i < kCount; ++i)
                compaction.put(((members >> i) & 1) != 0 ? replacement : units[at + i], ((dropped >> i) & 1) == 0);
        }
    }
    for (; at < size; ++at) {
        const bool isMember = set.contains(units[at]);
        compaction.put(isMember ? replacement : units[at], !isMember || isInRun == 0);
        isInRun = isMember ? 1 : 0;
    }
}

template <class Edit>
std::u16string edited(std::u16string string, Edit edit) {
    edit(string);
    return string;
}

// --- Tabs ----------------------------------------------------------------------------------------------------------

bool isUsableWidth(std::size_t width) {
    return width > 0 && width <= kMaximalTabWidth;
}

std::size_t nextStop(std::size_t column, std::size_t width) {
    return column + width - column % width;
}

std::size_t columnAfter(char16_t unit, std::size_t column, std::size_t width) {
    if (unit == u'\t') return nextStop(column, width);
    return isFeed(unit) ? 0 : column + 1;
}

std::u16string withDecodedTabs(std::u16string_view string, std::size_t width) {
    std::u16string result;
    std::size_t column = 0;
    for (const char16_t unit : string) {
        const std::size_t next = columnAfter(unit, column, width);
        if (unit == u'\t') {
            result.append(next - column, u' ');
        } else {
            result += unit;
        }
        column = next;
    }
    return result;
}

}  // namespace

// --- Collapsing ----------------------------------------------------------------------------------------------------

std::size_t removeMultipleSpacesAndFeeds(std::u16string& string, CollapsedSet set) {
    if (set == CollapsedSet::white) {
        collapseRuns(string, WhiteUnits(), u' ');
    } else {
        collapseRuns(string, SpaceUnits(), u' ');
    }
    return string.size();
}

std::u16string stringByRemovingMultipleSpacesAndFeeds(std::u16string string, CollapsedSet set) {
    removeMultipleSpacesAndFeeds(string, set);
    return string;
}

void removeMultipleFeeds(std::u16string& string) {
    collapseRuns(string, FeedUnits(), u'\n');
}

std::u16string stringByRemovingMultipleFeeds(std::u16string string) {
    return edited(std::move(string), removeMultipleFeeds);
}

// --- Deleting ------------------------------------------------------------------------------------------------------

void removeFeeds(std::u16string& string) {
    removeMembers(string, FeedUnits());
}

void removeTabs(std::u16string& string) {
    removeMembers(string, TabUnits());
}

void removeSpaces(std::u16string& string) {
    removeMembers(string, SpaceUnits());
}

void removeWhiteCharacters(std::u16string& string) {
    removeMembers(string, WhiteUnits());
}

std::u16string stringByRemovingFeeds(std::u16string string) {
    return edited(std::move(string), removeFeeds);
}

std::u16string stringByRemovingTabs(std::u16string string) {
    return edited(std::move(string), removeTabs);
}

std::u16string stringByRemovingSpaces(std::u16string string) {
    return edited(std::move(string), removeSpaces);
}

std::u16string stringByRemovingWhiteCharacters(std::u16string string) {
    return edited(std::move(string), removeWhiteCharacters);
}

// --- Tabs ----------------------------------------------------------------------------------------------------------

void decodeTabs(std::u16string& string, std::size_t width) {
    if (!isUsableWidth(width) || string.find(u'\t') == std::u16string::npos) return;
    try {
        string = withDecodedTabs(string, width);
    } catch (const std::bad_alloc&) {  // the string stays as it is
    } catch (const std::length_error&) {
    }
}

void encodeTabs(std::u16string& string, std::size_t width) {
    if (!isUsableWidth(width)) return;
    const auto isBlank = [](char16_t unit) { return unit == u' ' || unit == u'\t'; };
    // Every tab stop that a run crosses costs it a unit already, so that the encoded run is never longer.
    auto written = string.begin();
    std::size_t column = 0;
    for (auto at = string.begin(); at != string.end();) {
        const auto runEnd = std::find_if_not(at, string.end(), isBlank);
        if (runEnd - at <= 1) {
            column = columnAfter(*at, column, width);
            *written++ = *at++;
            continue;
        }
        std::size_t reached = column;
        for (; at != runEnd; ++at)
            reached = columnAfter(*at, reached, width);
        for (; nextStop(column, width) <= reached; column = nextStop(column, width))
            *written++ = u'\t';
        written = std::fill_n(written, reached - column, u' ');
        column = reached;
    }
    string.erase(written, string.end());
}

}  // namespace halden
