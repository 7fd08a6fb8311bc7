#include "markup/PassedWalks.h"

#include <algorithm>

namespace halden {

PassedWalks::State PassedWalks::stateBehind(State state, char16_t unit) noexcept {
    switch (state) {
        case State::outside:
            return unit == u'=' ? State::behindEquals : state;
        case State::behindEquals:
            return unit == u'"' ? State::inDouble : unit == u'\'' ? State::inSingle : state;
        case State::inDouble:
            return unit == u'"' ? State::outside : state;
        case State::inSingle:
            return unit == u'\'' ? State::outside : state;
    }
    return state;
}

/// Takes the walks to `place`. Those that end before are dropped, and of those that come together one remains.
void PassedWalks::advance(std::size_t place) noexcept {
    for (; place_ < place && count_ > 0; ++place_) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            if (walks_[i].close == place_) continue;
            const Walk walk{stateBehind(walks_[i].state, units_[place_]), walks_[i].close};
            const auto end = walks_.begin() + static_cast<std::ptrdiff_t>(kept);
            if (std::any_of(walks_.begin(), end, [&](const Walk& other) { return other.state == walk.state; }))
                continue;
            walks_[kept++] = walk;
        }
        count_ = kept;
    }
    place_ = place;
}

std::size_t PassedWalks::tagEnd(std::size_t open) noexcept {
    advance(open + 1);
    PassedWalks others = *this;
    State state = State::outside;
    for (std::size_t i = open + 1;; ++i) {
        others.advance(i);
        for (std::size_t k = 0; k < others.count_; ++k) {
            if (others.walks_[k].state == state) return others.walks_[k].close;
        }
        if (i == length_) return length_;
        if (units_[i] == u'>' && (state == State::outside || state == State::behindEquals)) return i;
        state = stateBehind(state, units_[i]);
    }
}

void PassedWalks::remember(std::size_t open, std::size_t close) noexcept {
    if (!cover(open)) count_ = 0;
    place_ = open + 1;
    furthestClose_ = std::max(furthestClose_, close);
    for (std::size_t i = 0; i < count_; ++i) {
        if (walks_[i].state == State::outside) return;
    }
    walks_[count_++] = {State::outside, close};
}

}  // namespace halden
