// The search for the next unit of a small set, a block at a time.
#pragma once

#include "foundation/WideUnits.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace halden {

/// The first member of `Set` in [at, end), or `end`. A set answers for one unit (`contains`), and for a block of them
/// with a comparison (`members`).
template <class Set>
[[nodiscard]] const char16_t* nextMember(const char16_t* at, const char16_t* end) noexcept {
    while (static_cast<std::size_t>(end - at) >= WideUnits::kCount) {
        const std::uint32_t bits = Set::members(WideUnits::load(at)).bits();
        if (bits != 0) return at + std::countr_zero(bits);
        at += WideUnits::kCount;
    }
    return std::find_if(at, end, Set::contains);
}

}  // namespace halden
