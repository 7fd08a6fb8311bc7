// Character attributes in the numbers of RTF, and the control words that lead from one state to another.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfOutput.h"
#include "richtext/RtfWriteTables.h"

#include <cstdint>

namespace halden {

/// What the control words so far have said. As initialised: nothing yet, what a reader begins with.
struct RtfCharacterState {
    std::int32_t font = -1;
    std::int32_t size = -1;  // thousandths of a point
    bool bold = false;
    bool italic = false;
    std::int32_t color = -1;
    std::int32_t background = 0;
    std::int32_t underline = kLineNone;
    std::int32_t underlineColor = 0;
    std::int32_t strike = kLineNone;
    std::int32_t strikeColor = 0;
    std::int32_t superscript = 0;
    std::int32_t baseline = 0;  // half points
    std::int32_t kern = 0;      // twentieths of a point, as the lengths below
    std::int32_t ligature = 1;
    std::int32_t strokeWidth = 0;
    std::int32_t strokeColor = 0;
    std::int32_t obliqueness = 0;
    std::int32_t expansion = 0;
    bool shadow = false;
    std::int32_t shadowX = 0;
    std::int32_t shadowY = 0;
    std::int32_t shadowRadius = 0;
    std::int32_t shadowOpacity = 255;
    std::int32_t shadowColor = 0;
    std::int32_t language = 1024;
    /// \strikestyle has been written; from then on it says how text is struck.
    bool usesStrikeStyle = false;

    friend bool operator==(const RtfCharacterState&, const RtfCharacterState&) noexcept = default;
};

/// The state that says `attributes`, links apart.
[[nodiscard]] RtfCharacterState rtfState(const CharacterAttributes& attributes, RtfWriteTables& tables);

/// Writes what leads from `current` to `wanted`, and makes `current` so.
void writeRtfState(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted);

}  // namespace halden
