// Text as attributes hold it. Everything here is UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarry::support {

/// `text` without control characters but line feeds and tabs: ends of lines of every kind, form feeds and vertical tabs
/// become line feeds, the others go. Ill-formed bytes stay.
[[nodiscard]] std::string cleanText(std::string_view text);

/// A title or a name: clean, every run of white space one space, none at the ends.
[[nodiscard]] std::string cleanLine(std::string_view text);

/// The parts of a list such as "one, two; three": clean lines, empty ones left out.
[[nodiscard]] std::vector<std::string> cleanList(std::string_view text, std::string_view separators = ",;");

/// Whether `a` and `b` are equal, the case of ASCII letters apart.
[[nodiscard]] bool isSameNoCase(std::string_view a, std::string_view b) noexcept;

/// UTF-8 of one character; U+FFFD for what is none.
void appendUtf8(std::string& text, char32_t character);

}  // namespace quarry::support
