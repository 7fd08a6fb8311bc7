#include "importers/system/support/ContentLines.h"

#include "importers/system/support/CleanText.h"

#include <algorithm>

namespace quarry::support {
namespace {

std::string inCapitals(std::string_view text) {
    std::string capitals(text);
    for (char& letter : capitals) {
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - ('a' - 'A'));
    }
    return capitals;
}

std::size_t lengthOfUtf8(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    return length;
}

std::string utf8Of(std::string&& text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lengthOfUtf8(std::string_view(text).substr(i));
        if (length == 0) {
            std::string converted;
            for (const char byte : text)
                appendUtf8(converted, static_cast<unsigned char>(byte));
            return converted;
        }
        i += length;
    }
    return std::move(text);
}

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string decodedQuotedPrintable(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '=' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low >= 0) i += 2;
        decoded.push_back(low >= 0 ? static_cast<char>(high * 16 + low) : text[i]);
    }
    return decoded;
}

/// The first of `characters` outside quotes.
std::size_t findUnquoted(std::string_view text, std::string_view characters, std::size_t start = 0) {
    bool isQuoted = false;
    for (std::size_t i = start; i < text.size(); ++i) {
        if (text[i] == '"') isQuoted = !isQuoted;
        if (!isQuoted && characters.find(text[i]) != std::string_view::npos) return i;
    }
    return std::string_view::npos;
}

/// Everything before the colon: group, name and parameters.
ContentLine headOf(std::string_view head) {
    constexpr std::size_t kMaxParameters = 64;
    ContentLine line;
    std::size_t end = std::min(findUnquoted(head, ";"), head.size());
    const std::string_view name = head.substr(0, end);
    line.name = inCapitals(name.substr(name.rfind('.') + 1));
    while (end < head.size() && line.parameters.size() < kMaxParameters) {
        const std::size_t start = end + 1;
        end = std::min(findUnquoted(head, ";", start), head.size());
        const std::string_view parameter = head.substr(start, end - start);
        const std::size_t equals = parameter.find('=');
        std::string value(equals == std::string_view::npos ? parameter : parameter.substr(equals + 1));
        std::erase(value, '"');
        // In the oldest version a value may stand alone.
        const bool isEncoding = equals == std::string_view::npos && isSameNoCase(value, "QUOTED-PRINTABLE");
        line.parameters.emplace_back(equals != std::string_view::npos ? inCapitals(parameter.substr(0, equals))
                                     : isEncoding                     ? "ENCODING"
                                                                      : "TYPE",
                                     utf8Of(std::move(value)));
    }
    return line;
}

bool isQuotedPrintable(const ContentLine& line) {
    return isSameNoCase(line.parameter("ENCODING"), "QUOTED-PRINTABLE");
}

class Lines {
public:
    explicit Lines(std::string_view bytes) : bytes_(bytes) {
        if (bytes_.starts_with("\xEF\xBB\xBF")) bytes_.remove_prefix(3);
    }
    [[nodiscard]] bool isAtEnd() const { return bytes_.empty(); }
    [[nodiscard]] bool isAtContinuation() const { return bytes_.starts_with(' ') || bytes_.starts_with('\t'); }

    std::string_view next() {
        const std::size_t end = std::min(bytes_.find('\n'), bytes_.size());
        std::string_view line = bytes_.substr(0, end);
        bytes_.remove_prefix(std::min(end + 1, bytes_.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        return line;
    }

private:
    std::string_view bytes_;
};

void appendUpToLimit(std::string& text, std::string_view more) {
    text += more.substr(0, kMaxContentLine + 1 - std::min(text.size(), kMaxContentLine + 1));
}

}  // namespace

std::string_view ContentLine::parameter(std::string_view parameterName) const noexcept {
    for (const auto& [candidate, candidateValue] : parameters) {
        if (candidate == parameterName) return candidateValue;
    }
    return {};
}

void readContentLines(std::string_view bytes, const std::function<bool(ContentLine&& line)>& handle) {
    Lines lines(bytes);
    while (!lines.isAtEnd()) {
        std::string text;
        appendUpToLimit(text, lines.next());
        while (lines.isAtContinuation())
            appendUpToLimit(text, lines.next().substr(1));
        const std::size_t colon = findUnquoted(text, ":");
        if (colon == std::string::npos) continue;
        ContentLine line = headOf(std::string_view(text).substr(0, colon));
        std::string value = text.substr(colon + 1);
        if (isQuotedPrintable(line)) {
            while (value.ends_with('=') && !lines.isAtEnd() && value.size() <= kMaxContentLine) {
                value.pop_back();
                appendUpToLimit(value, lines.next());
            }
            value = decodedQuotedPrintable(value);
        }
        if (text.size() > kMaxContentLine || value.size() > kMaxContentLine) continue;
        line.value = utf8Of(std::move(value));
        if (!handle(std::move(line))) return;
    }
}

std::string unescapedText(std::string_view value) {
    std::string text;
    text.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text.push_back(value[i]);
            continue;
        }
        const char next = value[++i];
        text.push_back(next == 'n' || next == 'N' ? '\n' : next);
    }
    return text;
}

std::vector<std::string> unescapedParts(std::string_view value, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\') {
            ++i;
        } else if (value[i] == separator) {
            parts.push_back(unescapedText(value.substr(start, i - start)));
            start = i + 1;
        }
    }
    parts.push_back(unescapedText(value.substr(start)));
    return parts;
}

}  // namespace quarry::support
