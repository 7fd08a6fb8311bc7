// Sets of units whose members are found a block at a time, for the scans of whole strings.
//
// `members` gives a bit for each of the `WideUnits::kCount` units from `block` on, `contains` answers for one unit;
// both follow the bitmap of the same name. Blocks are compared with the few members that texts of Western scripts hold.
// Only where a block has higher units its units are looked up one by one: the further spaces stand among punctuation.
#pragma once

#include "foundation/Characters.h"
#include "foundation/StringWhiteSpace.h"
#include "foundation/WideUnits.h"

#include <cstddef>
#include <cstdint>

namespace halden {

/// Which units of a block are members of `bitmap`.
[[nodiscard]] inline std::uint32_t membersOf(const CharacterBitmap& bitmap, const char16_t* block) noexcept {
    std::uint32_t members = 0;
    for (std::size_t i = 0; i < WideUnits::kCount; ++i)
        members |= std::uint32_t{bitmap.contains(block[i])} << i;
    return members;
}

/// The first white unit above Latin 1.
inline constexpr char16_t kFirstHighSpace = 0x1680;

class SpaceUnits {
public:
    [[nodiscard]] bool contains(char16_t unit) const noexcept { return bitmap_.contains(unit); }
    [[nodiscard]] std::uint32_t members(const char16_t* block) const noexcept {
        const WideUnits units = WideUnits::load(block);
        if (!isBelow(units, kFirstHighSpace)) return membersOf(bitmap_, block);
        const auto is = [&](char16_t unit) { return units == WideUnits::broadcast(unit); };
        return ((is(u' ') | is(u'\t')) | (is(0) | is(0xA0))).bits();
    }

private:
    const CharacterBitmap& bitmap_ = spaceCharacterSetRep();
};

class WhiteUnits {
public:
    [[nodiscard]] bool contains(char16_t unit) const noexcept { return bitmap_.contains(unit); }
    [[nodiscard]] std::uint32_t members(const char16_t* block) const noexcept {
        const WideUnits units = WideUnits::load(block);
        if (!isBelow(units, kFirstHighSpace)) return membersOf(bitmap_, block);
        const auto is = [&](char16_t unit) { return units == WideUnits::broadcast(unit); };
        return ((is(u' ') | within(units, u'\t', u'\r')) | (is(0) | is(0x03)) | (is(0x85) | is(0xA0))).bits();
    }

private:
    const CharacterBitmap& bitmap_ = whiteCharacterSetRep();
};

class FeedUnits {
public:
    [[nodiscard]] static bool contains(char16_t unit) noexcept { return isFeed(unit); }
    [[nodiscard]] static std::uint32_t members(const char16_t* block) noexcept {
        const WideUnits units = WideUnits::load(block);
        const auto is = [&](char16_t unit) { return units == WideUnits::broadcast(unit); };
        const WideUnits low = is(u'\n') | within(units, u'\f', u'\r') | is(0x03);
        return (low | (is(0xFFFC) | is(0xFEFF)) | within(units, 0x2028, 0x2029)).bits();
    }
};

class TabUnits {
public:
    [[nodiscard]] static bool contains(char16_t unit) noexcept { return unit == u'\t'; }
    [[nodiscard]] static std::uint32_t members(const char16_t* block) noexcept {
        return (WideUnits::load(block) == WideUnits::broadcast(u'\t')).bits();
    }
};

}  // namespace halden
