// The control words that the reader acts on, and the subject that each belongs to.
#pragma once

#include "richtext/RtfTokenizer.h"

#include <cstdint>

namespace halden {

/// Which part of the reader acts on a word.
enum class RtfSubject : std::uint8_t {
    unknown,
    document,            // header, page set-up
    tableDestination,    // opens a table of the header
    infoDestination,     // opens the information, or a part of it
    contentDestination,  // opens a part of the text, or something in it
    skipped,             // opens a destination that is passed over
    font,
    color,
    style,
    list,
    info,
    paragraph,
    character,
    special,
    picture,
    table,
};

/// One enumerator a control word, named as the word (with a trailing underscore where C++ takes the name).
enum class RtfWord : std::uint16_t {
    unknown,
#define RTF_WORD(subject, enumerator, spelling) enumerator,
#include "richtext/RtfControlWords.inc"
#undef RTF_WORD
};

struct RtfControlWord {
    RtfWord word = RtfWord::unknown;
    RtfSubject subject = RtfSubject::unknown;
};

/// What the token of a word stands for; spelling counts in case. `unknown` for words that the reader does not know.
[[nodiscard]] RtfControlWord rtfControlWord(const RtfToken& token) noexcept;

}  // namespace halden
