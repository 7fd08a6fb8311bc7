// Keeps the scan linear where it has to go back.
//
// A script whose end tag stands inside its start tag, <script a="</script>">, ends at that end tag; but whether there
// is a token at all is only known when the ">" of the start tag is found, which may be far behind. In a text made of
// such tags every walk could go to the far end. Walks that have come to the same place in the same state end together,
// though, and there are only four states: so it is enough to remember the walks that went too far, and to end each new
// one where it joins one of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace halden {

class PassedWalks {
public:
    PassedWalks(const char16_t* units, std::size_t length) noexcept : units_(units), length_(length) {}

    /// Whether a walk that is remembered passed `open`, so that `tagEnd` has to be asked.
    [[nodiscard]] bool cover(std::size_t open) const noexcept { return open < furthestClose_; }

    /// The ">" that ends the tag whose "<" is at `open`; the length of the text when there is none. `open` must not be
    /// less than in earlier calls.
    [[nodiscard]] std::size_t tagEnd(std::size_t open) noexcept;

    /// The walk from `open` on, the last one that was made, went to the ">" at `close`, beyond the end of its element.
    void remember(std::size_t open, std::size_t close) noexcept;

private:
    enum class State : std::uint8_t { outside, behindEquals, inDouble, inSingle };

    struct Walk {
        State state;
        std::size_t close;
    };

    [[nodiscard]] static State stateBehind(State state, char16_t unit) noexcept;
    void advance(std::size_t place) noexcept;

    const char16_t* units_;
    std::size_t length_;
    std::size_t furthestClose_ = 0;
    /// Walks before the unit at `place_`, each in a state of its own.
    std::size_t place_ = 0;
    std::size_t count_ = 0;
    std::array<Walk, 4> walks_;
};

}  // namespace halden
