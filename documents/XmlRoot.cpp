#include "documents/XmlRoot.h"

#include <algorithm>

namespace quarry {
namespace {

constexpr std::string_view kWhite = " \t\r\n";

void skipWhite(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhite), text.size()));
}

/// Drops everything up to and with `end`; false when it is not there.
bool skipPast(std::string_view& text, std::string_view end) {
    const std::size_t place = text.find(end);
    if (place == std::string_view::npos) return false;
    text.remove_prefix(place + end.size());
    return true;
}

/// A document type may have declarations in brackets, with quoted texts in them.
bool skipDocumentType(std::string_view& text) {
    bool isInBrackets = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char unit = text[i];
        if (unit == '"' || unit == '\'') {
            i = text.find(unit, i + 1);
            if (i == std::string_view::npos) return false;
        } else if (unit == '[' || unit == ']') {
            isInBrackets = unit == '[';
        } else if (unit == '>' && !isInBrackets) {
            text.remove_prefix(i + 1);
            return true;
        }
    }
    return false;
}

std::string_view takeName(std::string_view& text) {
    const std::string_view name = text.substr(0, text.find_first_of(" \t\r\n/>=<\"'"));
    text.remove_prefix(name.size());
    return name;
}

/// Reads attributes up to the end of the tag; false when the text ends before.
bool readAttributes(std::string_view text, XmlRoot& root) {
    constexpr std::size_t kMostAttributes = 1024;
    while (root.attributes.size() < kMostAttributes) {
        skipWhite(text);
        if (text.empty()) return false;
        if (text[0] == '>' || text[0] == '/') return true;
        const std::string_view name = takeName(text);
        skipWhite(text);
        if (name.empty() || !text.starts_with('=')) return false;
        text.remove_prefix(1);
        skipWhite(text);
        if (!text.starts_with('"') && !text.starts_with('\'')) return false;
        const char quote = text[0];
        const std::size_t end = text.find(quote, 1);
        if (end == std::string_view::npos) return false;
        root.attributes.emplace_back(name, text.substr(1, end - 1));
        text.remove_prefix(end + 1);
    }
    return true;
}

}  // namespace

std::string_view XmlRoot::attribute(std::string_view attributeName) const noexcept {
    const auto found =
        std::ranges::find_if(attributes, [&](const auto& entry) { return entry.first == attributeName; });
    return found != attributes.end() ? std::string_view(found->second) : std::string_view();
}

std::string_view XmlRoot::localName() const noexcept {
    return std::string_view(name).substr(name.find(':') + 1);
}

std::string_view XmlRoot::namespaceUri() const noexcept {
    const std::size_t colon = name.find(':');
    if (colon == std::string::npos) return attribute("xmlns");
    const auto binds = [&](const auto& entry) {
        return entry.first.starts_with("xmlns:") && std::string_view(entry.first).substr(6) == name.substr(0, colon);
    };
    const auto found = std::ranges::find_if(attributes, binds);
    return found != attributes.end() ? std::string_view(found->second) : std::string_view();
}

std::optional<XmlRoot> xmlRootOf(std::string_view text) {
    for (;;) {
        skipWhite(text);
        if (!text.starts_with('<')) return std::nullopt;
        if (text.starts_with("<?")) {
            if (!skipPast(text, "?>")) return std::nullopt;
        } else if (text.starts_with("<!--")) {
            if (!skipPast(text, "-->")) return std::nullopt;
        } else if (text.starts_with("<!")) {
            if (!skipDocumentType(text)) return std::nullopt;
        } else {
            break;
        }
    }
    text.remove_prefix(1);
    XmlRoot root;
    root.name = takeName(text);
    if (root.name.empty() || !readAttributes(text, root)) return std::nullopt;
    return root;
}

}  // namespace quarry
