// The rules of entity decoding, one character at a time and without any haste: what the decoder is compared with.
#pragma once

#include "foundation/Characters.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"

#include <string>
#include <string_view>

namespace halden::reference {

struct Consumed {
    bool decoded = false;
    char16_t character = 0;
    std::size_t end = 0;  ///< the place behind the reference
};

inline Consumed fixedForm(const std::u16string& s, std::size_t p, std::u16string_view name, char16_t character) {
    if (s.compare(p + 1, name.size(), name) != 0) return {};
    std::size_t end = p + 1 + name.size();
    if (end < s.size() && s[end] == u';') ++end;
    return {true, character, end};
}

inline Consumed finished(const std::u16string& s, std::size_t p, std::size_t bodyEnd, std::size_t bodyStart,
                         char16_t character) {
    if (bodyEnd == bodyStart) return {};
    // From behind the "&" up to the ending character, or to the last one where the text ends first.
    const std::size_t ending = bodyEnd < s.size() ? bodyEnd : s.size() - 1;
    if (ending - p > 7) return {};
    return {true, character, bodyEnd < s.size() && s[bodyEnd] == u';' ? bodyEnd + 1 : bodyEnd};
}

inline Consumed number(const std::u16string& s, std::size_t p) {
    const bool hexadecimal = p + 2 < s.size() && (s[p + 2] == u'x' || s[p + 2] == u'X');
    const std::size_t start = p + (hexadecimal ? 3 : 2);
    const std::u16string_view digits = hexadecimal ? u"0123456789abcdef" : u"0123456789";
    std::size_t at = start;
    unsigned value = 0;
    for (; at < s.size(); ++at) {
        const char16_t lower = s[at] >= u'A' && s[at] <= u'F' ? static_cast<char16_t>(s[at] + 32) : s[at];
        const std::size_t digit = digits.find(lower);
        if (digit == std::u16string_view::npos) break;
        value = static_cast<unsigned>(value * digits.size() + digit) % 65536;
    }
    return finished(s, p, at, start, static_cast<char16_t>(value));
}

inline Consumed name(const std::u16string& s, std::size_t p) {
    std::size_t at = p + 1;
    while (at < s.size() && alphaNumCharacterSetRep().contains(s[at]))
        ++at;
    const std::u16string_view wanted = std::u16string_view(s).substr(p + 1, at - p - 1);
    if (wanted.size() < 2) return {};
    for (const NamedEntity& entity : namedEntities()) {
        if (std::u16string(entity.name.begin(), entity.name.end()) == wanted) {
            return finished(s, p, at, p + 1, entity.character);
        }
    }
    return {};
}

inline Consumed referenceAt(const std::u16string& s, std::size_t p, EntityDecoding decoding) {
    const std::size_t following = s.size() - p - 1;
    if (following == 0) return {};
    if (following >= 4) {
        if (const auto found = fixedForm(s, p, u"apos", u'\''); found.decoded) return found;
        if (const auto found = fixedForm(s, p, u"nbsp", u'\u00A0'); found.decoded) return found;
        if (decoding.decodesSpecials) {
            if (const auto found = fixedForm(s, p, u"quot", u'"'); found.decoded) return found;
        }
    }
    if (decoding.decodesSpecials) {
        if (const auto found = fixedForm(s, p, u"amp", u'&'); found.decoded) return found;
        if (const auto found = fixedForm(s, p, u"gt", u'>'); found.decoded) return found;
        if (const auto found = fixedForm(s, p, u"lt", u'<'); found.decoded) return found;
    }
    if (s[p + 1] == u'#') {
        const Consumed found = number(s, p);
        const bool special = std::u16string_view(u"\"&<>").find(found.character) != std::u16string_view::npos;
        return found.decoded && special && !decoding.decodesSpecials ? Consumed() : found;
    }
    return decoding.onlyNumeric ? Consumed() : name(s, p);
}

inline std::u16string convertEntities(const std::u16string& s, EntityDecoding decoding) {
    std::u16string result;
    for (std::size_t p = 0; p < s.size();) {
        char16_t character = s[p];
        std::size_t end = p + 1;
        if (character == u'&') {
            const Consumed found = referenceAt(s, p, decoding);
            if (found.decoded) {
                character = found.character;
                end = found.end;
            }
        }
        result += decoding.nonUmlauted ? umlautsToAscii(character) : character;
        p = end;
    }
    return result;
}

inline std::u16string convertStandardEntities(const std::u16string& s) {
    std::u16string result;
    for (std::size_t p = 0; p < s.size();) {
        const std::u16string_view at = std::u16string_view(s).substr(p);
        const bool sixthIsSemicolon = at.size() >= 6 && at[5] == u';';
        if (sixthIsSemicolon && at.substr(0, 6) == u"&quot;") {
            result += u'"', p += 6;
        } else if (!sixthIsSemicolon && at.substr(0, 5) == u"&amp;") {
            result += u'&', p += 5;
        } else if (!sixthIsSemicolon && at.substr(0, 4) == u"&gt;") {
            result += u'>', p += 4;
        } else if (!sixthIsSemicolon && at.substr(0, 4) == u"&lt;") {
            result += u'<', p += 4;
        } else {
            result += s[p++];
        }
    }
    return result;
}

/// Every unit looked up on its own: what `replacement` gives for it, or the unit where that is nothing.
template <class Replacement>
std::u16string convertUnits(const std::u16string& s, Replacement replacement) {
    std::u16string result;
    for (const char16_t unit : s) {
        const std::string text = replacement(unit);
        if (text.empty()) result += unit;
        result.append(text.begin(), text.end());
    }
    return result;
}

inline std::string numberOf(char16_t unit) {
    return unit < 128 ? std::string() : "&#" + std::to_string(static_cast<unsigned>(unit)) + ";";
}

inline std::string entityOf(char16_t unit) {
    for (const NamedEntity& entity : namedEntities()) {
        if (entity.character == unit) return "&" + std::string(entity.name) + ";";
    }
    return numberOf(unit);
}

inline std::string replacementIn(std::string_view units, const char* const* replacements, char16_t unit) {
    const std::size_t at = unit < 128 ? units.find(static_cast<char>(unit)) : std::string_view::npos;
    return at == std::string_view::npos ? std::string() : std::string(replacements[at]);
}

inline std::string standardEntityOf(char16_t unit) {
    static const char* const kReplacements[] = {"&quot;", "&amp;", "&lt;", "&gt;"};
    return replacementIn("\"&<>", kReplacements, unit);
}

inline std::string jsonEscapeOf(char16_t unit) {
    static const char* const kReplacements[] = {R"(\\)", R"(\")", R"(\/)", R"(\b)", R"(\t)", R"(\n)", R"(\f)", R"(\r)"};
    return replacementIn("\\\"/\b\t\n\f\r", kReplacements, unit);
}

}  // namespace halden::reference
