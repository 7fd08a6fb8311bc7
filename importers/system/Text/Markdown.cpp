#include "importers/system/Text/Markdown.h"

#include <algorithm>

namespace quarry::text {
namespace {

constexpr std::string_view kSpaces = " \t";

std::string_view trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(kSpaces);
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(kSpaces) - first + 1);
}

/// The text after one to six number signs and a space, closing number signs taken off; empty for any other line.
std::string_view headingOf(std::string_view line) {
    const std::size_t signs = std::min(line.find_first_not_of('#'), line.size());
    if (signs == 0 || signs > 6 || signs == line.size() || kSpaces.find(line[signs]) == std::string_view::npos)
        return {};
    std::string_view text = trimmed(line.substr(signs));
    const std::size_t last = text.find_last_not_of('#');
    if (last == std::string_view::npos) return {};
    const bool isClosed = last + 1 < text.size() && kSpaces.find(text[last]) != std::string_view::npos;
    return isClosed ? trimmed(text.substr(0, last)) : text;
}

bool isUnderline(std::string_view line) {
    return !line.empty() && (line.find_first_not_of('=') == std::string_view::npos ||
                             line.find_first_not_of('-') == std::string_view::npos);
}

bool isFence(std::string_view line) {
    return line.starts_with("```") || line.starts_with("~~~");
}

}  // namespace

std::string titleOfMarkdown(std::string_view text) {
    std::string_view previous;
    bool isInCode = false;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (isFence(line)) {
            isInCode = !isInCode;
            previous = {};
            continue;
        }
        if (isInCode) continue;
        if (const std::string_view heading = headingOf(line); !heading.empty()) return std::string(heading);
        if (!previous.empty() && isUnderline(line)) return std::string(previous);
        previous = line;
    }
    return {};
}

}  // namespace quarry::text
