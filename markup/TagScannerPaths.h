// The scanner's ways through a text, one for each kind of block. They make the same calls; `GetTagsOfString` takes the
// fastest that the machine has.
#pragma once

#include "foundation/Characters.h"
#include "markup/TagScanner.h"

#include <cstddef>
#include <string>

namespace halden {

/// One scan, prepared: `length` is not 0.
struct TagScan {
    const char16_t* units = nullptr;
    std::size_t length = 0;
    std::u16string* string = nullptr;
    TagHandler handler = nullptr;
    void* context = nullptr;
    const CharacterBitmap* letters = &alphaCharacterSetRep();
    const CharacterBitmap* white = &whiteCharacterSetRep();
};

/// Unit by unit.
void scanTagsPortably(const TagScan& scan);
/// With the instructions that every machine of the architecture has.
void scanTagsWide(const TagScan& scan);
#if defined(__x86_64__)
/// Only where the processor has AVX2.
void scanTagsAvx2(const TagScan& scan);
#endif

}  // namespace halden
