// The lines of calendars and contacts: NAME;PARAMETER=VALUE:VALUE, folded, in the versions that are about.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarry::support {

struct ContentLine {
    std::string name;                                             // in capitals, without its group
    std::vector<std::pair<std::string, std::string>> parameters;  // names in capitals, values without quotes
    std::string value;                                            // UTF-8; its escapes are still there

    /// The first parameter of that name (in capitals); empty without.
    [[nodiscard]] std::string_view parameter(std::string_view parameterName) const noexcept;
};

/// Bytes of one line with all its continuations; longer ones, as pictures are, are passed over.
inline constexpr std::size_t kMaxContentLine = std::size_t{1} << 20;

/// Tells every line until `handle` returns false. Continuations are joined, quoted-printable values decoded, bytes that
/// are no UTF-8 taken for Latin 1. What has no colon is passed over.
void readContentLines(std::string_view bytes, const std::function<bool(ContentLine&& line)>& handle);

/// A text: \n is a line feed, a backslash before any other character goes.
[[nodiscard]] std::string unescapedText(std::string_view value);

/// The parts of a value between separators that no backslash precedes, their escapes taken off.
[[nodiscard]] std::vector<std::string> unescapedParts(std::string_view value, char separator);

}  // namespace quarry::support
