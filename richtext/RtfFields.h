// The instructions of fields: which of them are links, which stand for a character.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// Where `instruction` links to: `HYPERLINK "address"`, with the place inside the document that `\l "place"` names
/// after a number sign. nullopt for every other field, and for a link to nowhere.
[[nodiscard]] std::optional<std::u16string> linkOfFieldInstruction(std::u16string_view instruction);

/// `SYMBOL number \f "font"`: one character of a font. The number is decimal, or hexadecimal after 0x.
struct RtfSymbolField {
    char32_t number = 0;
    std::u16string font;
    /// `\u`: the number is a Unicode character, else a byte in the font's own set.
    bool isUnicode = false;
};
[[nodiscard]] std::optional<RtfSymbolField> symbolOfFieldInstruction(std::u16string_view instruction);

}  // namespace halden
