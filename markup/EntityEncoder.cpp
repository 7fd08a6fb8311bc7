#include "foundation/Characters.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"
#include "markup/UnitSearch.h"

#include <array>
#include <charconv>
#include <utility>

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

/// The string with every member of `Set` replaced; itself when there is none.
template <class Set, class AppendReplacement>
std::u16string replaced(std::u16string string, AppendReplacement appendReplacement) {
    const char16_t* at = string.data();
    const char16_t* const end = at + string.size();
    const char16_t* member = nextMember<Set>(at, end);
    if (member == end) return string;
    std::u16string result;
    result.reserve(string.size() + string.size() / 4 + 8);
    for (; member != end; member = nextMember<Set>(at, end)) {
        result.append(at, member);
        appendReplacement(result, *member);
        at = member + 1;
    }
    result.append(at, end);
    return result;
}

WideUnits is(WideUnits units, char16_t unit) {
    return units == WideUnits::broadcast(unit);
}

struct BeyondAscii {
    static bool contains(char16_t unit) { return unit >= 128; }
    static WideUnits members(WideUnits units) { return within(units, 128, 0xFFFF); }
};

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

struct MarkupSignificant {
    static bool contains(char16_t unit) { return !standardEntity(unit).empty(); }
    static WideUnits members(WideUnits units) {
        return (is(units, u'"') | is(units, u'&')) | (is(units, u'<') | is(units, u'>'));
    }
};

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

struct JsonEscaped {
    static bool contains(char16_t unit) { return !jsonEscape(unit).empty(); }
    static WideUnits members(WideUnits units) {
        const WideUnits controls = andNot(within(units, u'\b', u'\r'), is(units, u'\v'));
        return (is(units, u'\\') | is(units, u'"')) | (is(units, u'/') | controls);
    }
};

}  // namespace

std::u16string stringByConvertingCharactersToEntities(std::u16string string) {
    return replaced<BeyondAscii>(std::move(string), [](std::u16string& out, char16_t unit) {
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
    return replaced<BeyondAscii>(std::move(string), appendNumber);
}

std::u16string stringByConvertingCharactersToStandardEntities(std::u16string string) {
    return replaced<MarkupSignificant>(
        std::move(string), [](std::u16string& out, char16_t unit) { appendAscii(out, standardEntity(unit)); });
}

std::u16string stringByConvertingCharactersToJSON(std::u16string string) {
    return replaced<JsonEscaped>(std::move(string),
                                 [](std::u16string& out, char16_t unit) { appendAscii(out, jsonEscape(unit)); });
}

void initConversionTables() {
    // The names' index stands in the program; what is built are the tables of characters that decoding goes through.
    static_cast<void>(alphaNumCharacterSetRep());
    static_cast<void>(initUmlautsCharsTable());
}

}  // namespace halden
