// What a Markdown text is called.
#pragma once

#include <string>
#include <string_view>

namespace quarry::text {

/// The text of the first heading, by number signs before the line or by a line of equals signs or hyphens below it,
/// outside fenced code; empty when there is none.
[[nodiscard]] std::string titleOfMarkdown(std::string_view text);

}  // namespace quarry::text
