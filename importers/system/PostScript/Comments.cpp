#include "importers/system/PostScript/Comments.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace quarry::postscript {
namespace {

constexpr std::string_view kMark = "%!PS";
constexpr std::string_view kAtEnd = "(atend)";

/// The next line, taken off.
std::string_view takeLine(std::string_view& text) {
    const std::size_t length = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(std::min(text.size(), length + 1));
    return line;
}

/// The text in parentheses without them and without the signs before others; the words otherwise.
std::string valueOf(std::string_view text) {
    constexpr std::string_view kSpaces = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
    text = text.substr(0, text.find_last_not_of(kSpaces) + 1);
    if (text.size() < 2 || text.front() != '(' || text.back() != ')') return std::string(text);
    std::string value;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '\\' && i + 2 < text.size()) ++i;
        value.push_back(text[i]);
    }
    return value;
}

/// Entries that stand already stay: the first one counts in a header, the last in a trailer, where there is but one.
void takeEntry(Comments& comments, std::string_view line) {
    const std::size_t colon = line.find(':');
    if (!line.starts_with("%%") || colon == std::string_view::npos) return;
    const std::string_view name = line.substr(2, colon - 2);
    const std::string value = valueOf(line.substr(colon + 1));
    if (value == kAtEnd) return;
    const std::pair<std::string_view, std::string*> strings[] = {
        {"Title", &comments.title}, {"Creator", &comments.creator}, {"For", &comments.author}};
    for (const auto& [known, string] : strings) {
        if (name == known && string->empty()) *string = value;
    }
    if (name == "Pages" && comments.pages == 0) {
        constexpr long kMaxPages = 10'000'000;
        long pages = 0;
        std::from_chars(value.data(), value.data() + value.size(), pages);
        comments.pages = std::clamp(pages, 0L, kMaxPages);
    }
}

}  // namespace

bool isPostScript(std::string_view bytes) {
    constexpr std::string_view kPreview = "\xC5\xD0\xD3\xC6";  // a header that says where the program stands
    if (!bytes.empty() && bytes.front() == '\4') bytes.remove_prefix(1);
    return bytes.starts_with(kMark) || (bytes.starts_with(kPreview) && bytes.find(kMark) != std::string_view::npos);
}

Comments commentsOf(std::string_view begin, std::string_view end) {
    Comments comments;
    std::string_view header = begin.substr(std::min(begin.find(kMark), begin.size()));
    while (!header.empty()) {
        const std::string_view line = takeLine(header);
        if (line.starts_with("%%EndComments") || (!line.empty() && line.front() != '%')) break;
        takeEntry(comments, line);
    }
    const std::size_t trailer = end.rfind("%%Trailer");
    std::string_view rest = end.substr(std::min(trailer, end.size()));
    while (!rest.empty())
        takeEntry(comments, takeLine(rest));
    return comments;
}

}  // namespace quarry::postscript
