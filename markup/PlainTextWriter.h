// Writing into the buffer of a conversion to plain text: breaks, spaces, runs of text.
#pragma once

#include "markup/Html2Text.h"

#include <string_view>

namespace halden {

/// LF, CR, FF, U+0003, U+2028, U+2029, U+FEFF and U+FFFC.
[[nodiscard]] bool isLineBreak(char16_t unit);

/// With nothing written yet, the last character counts as white, and as a line break.
[[nodiscard]] bool lastWrittenIsWhite(const PlainTextState& state);
[[nodiscard]] bool lastWrittenIsLineBreak(const PlainTextState& state);

/// One line feed, or two: the line that follows has no text yet.
void writeLineBreak(PlainTextState& state);
void writeParagraphBreak(PlainTextState& state);

/// A space, unless the last character written is white; returns whether it was needed.
bool writeSpaceUnlessWhite(PlainTextState& state);

/// The run with its entities decoded as the options say, and diacritics dropped; either `run` itself or the state's
/// scratch. Runs of less than four units stay as they are.
[[nodiscard]] std::u16string_view decodedRun(PlainTextState& state, std::u16string_view run);

/// Without white space at both ends.
[[nodiscard]] std::u16string_view trimmedRun(std::u16string_view run);

}  // namespace halden
