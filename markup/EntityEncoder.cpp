#include "foundation/Characters.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace halden {
namespace {

void appendAscii(std::u16string& out, std::string_view text) {
    out.append(text.begin(), text.end());
}

void appendNumber(std::u16string& out, char16_t unit) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<unsigned>(unit)).ptr;
    out += u"&#";
    appendAscii(out, {digits.data(), static_cast<std::size_t>(end - digits.data())});
    out += u';';
}

/// The string with every unit that `needsReplacement` accepts replaced; itself when there is none.
template <class NeedsReplacement, class AppendReplacement>
std::u16string replaced(std::u16string string, NeedsReplacement needsReplacement, AppendReplacement appendReplacement) {
    const auto first = std::ranges::find_if(string, needsReplacement);
    if (first == string.end()) return string;
    std::u16string result;
    result.reserve(string.size() + string.size() / 4 + 8);
    result.append(string.begin(), first);
    for (auto unit = first; unit != string.end(); ++unit) {
        if (needsReplacement(*unit)) {
            appendReplacement(result, *unit);
        } else {
            result += *unit;
        }
    }
    return result;
}

bool isBeyondAscii(char16_t unit) {
    return unit >= 128;
}

std::string_view standardEntity(char16_t unit) {
    switch (unit) {
        case u'"':
            return "&quot;";
        case u'&':
            return "&amp;";
        case u'<':
            return "&lt;";
        case u'>':
            return "&gt;";
        default:
            return {};
    }
}

std::string_view jsonEscape(char16_t unit) {
    switch (unit) {
        case u'\\':
            return "\\\\";
        case u'"':
            return "\\\"";
        case u'/':
            return "\\/";
        case u'\b':
            return "\\b";
        case u'\t':
            return "\\t";
        case u'\n':
            return "\\n";
        case u'\f':
            return "\\f";
        case u'\r':
            return "\\r";
        default:
            return {};
    }
}

}  // namespace

std::u16string stringByConvertingCharactersToEntities(std::u16string string) {
    return replaced(std::move(string), isBeyondAscii, [](std::u16string& out, char16_t unit) {
        const std::string_view name = entityOfCharacter(unit);
        if (name.empty()) {
            appendNumber(out, unit);
        } else {
            out += u'&';
            appendAscii(out, name);
            out += u';';
        }
    });
}

std::u16string stringByConvertingHighCharactersToEntities(std::u16string string) {
    return replaced(std::move(string), isBeyondAscii, appendNumber);
}

std::u16string stringByConvertingCharactersToStandardEntities(std::u16string string) {
    return replaced(
        std::move(string), [](char16_t unit) { return !standardEntity(unit).empty(); },
        [](std::u16string& out, char16_t unit) { appendAscii(out, standardEntity(unit)); });
}

std::u16string stringByConvertingCharactersToJSON(std::u16string string) {
    return replaced(
        std::move(string), [](char16_t unit) { return !jsonEscape(unit).empty(); },
        [](std::u16string& out, char16_t unit) { appendAscii(out, jsonEscape(unit)); });
}

void initConversionTables() {
    // The names' index stands in the program; what is built are the tables of characters that decoding goes through.
    static_cast<void>(alphaNumCharacterSetRep());
    static_cast<void>(initUmlautsCharsTable());
}

}  // namespace halden
