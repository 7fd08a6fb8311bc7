#include "importers/system/support/CleanText.h"

#include <algorithm>
#include <cstddef>

namespace quarry::support {
namespace {

char lowered(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

bool isSecondOfC1(std::string_view text, std::size_t i) noexcept {
    return i < text.size() && static_cast<unsigned char>(text[i]) >= 0x80 && static_cast<unsigned char>(text[i]) < 0xA0;
}

/// The bytes of the white space at `i`: ASCII, or the no-break space, which ends of lines of office programs have.
std::size_t lengthOfSpace(std::string_view text, std::size_t i) noexcept {
    if (text[i] == ' ' || text[i] == '\t' || text[i] == '\n') return 1;
    return text.substr(i).starts_with("\xC2\xA0") ? 2 : 0;
}

}  // namespace

std::string cleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '\r') {
            if (i + 1 == text.size() || text[i + 1] != '\n') clean.push_back('\n');
        } else if (byte == '\f' || byte == '\v') {
            clean.push_back('\n');
        } else if (byte == 0xC2 && isSecondOfC1(text, i + 1)) {
            if (text[++i] == '\x85') clean.push_back('\n');
        } else if ((byte >= 0x20 && byte != 0x7F) || byte == '\n' || byte == '\t') {
            clean.push_back(text[i]);
        }
    }
    return clean;
}

std::string cleanLine(std::string_view text) {
    const std::string clean = cleanText(text);
    std::string line;
    line.reserve(clean.size());
    bool isSpacePending = false;
    for (std::size_t i = 0; i < clean.size();) {
        if (const std::size_t length = lengthOfSpace(clean, i)) {
            isSpacePending = !line.empty();
            i += length;
            continue;
        }
        if (isSpacePending) line.push_back(' ');
        isSpacePending = false;
        line.push_back(clean[i++]);
    }
    return line;
}

std::vector<std::string> cleanList(std::string_view text, std::string_view separators) {
    std::vector<std::string> list;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        if (std::string line = cleanLine(text.substr(0, end)); !line.empty()) list.push_back(std::move(line));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return list;
}

bool isSameNoCase(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lowered(x) == lowered(y); });
}

void appendUtf8(std::string& text, char32_t character) {
    if (character > 0x10FFFF || (character >= 0xD800 && character < 0xE000)) character = 0xFFFD;
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        put(character);
        return;
    }
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        put(0x80 | (character >> 6 & 0x3F));
    } else {
        put(0xF0 | character >> 18);
        put(0x80 | (character >> 12 & 0x3F));
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

}  // namespace quarry::support
