// The old bracketed form of a list of strings, written. OldTextReader.cpp describes it.
#include "platform/plists/PropertyList.h"

#include <cstdio>

namespace halden {
namespace {

void appendEscaped(std::string& out, char16_t unit) {
    char escape[8];
    if (unit == u'"' || unit == u'\\') {
        out += '\\';
        out += static_cast<char>(unit);
    } else if (unit == u'\n') {
        out += "\\n";
    } else if (unit == u'\t') {
        out += "\\t";
    } else if (unit < 0x20 || unit == 0x7F) {
        std::snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned>(unit));
        out += escape;
    } else if (unit < 0x80) {
        out += static_cast<char>(unit);
    } else {
        std::snprintf(escape, sizeof escape, "\\U%04x", static_cast<unsigned>(unit));
        out += escape;
    }
}

}  // namespace

std::string oldTextPropertyListOfStrings(std::span<const std::u16string> strings) {
    std::string out = "(\n";
    for (std::size_t i = 0; i < strings.size(); ++i) {
        out += "    \"";
        for (const char16_t unit : strings[i])
            appendEscaped(out, unit);
        out += i + 1 < strings.size() ? "\",\n" : "\"\n";
    }
    out += ")\n";
    return out;
}

}  // namespace halden
