// What the commands read that need no helper: one file of markup, or standard input.
#pragma once

#include <optional>
#include <string>

namespace quarry::tools {

/// The text of the file, or of standard input for "-": UTF-16 and UTF-32 where it evidently is that, else by the
/// character set that it declares, else as UTF-8 where it is that, else as Windows Latin 1. nullopt, with a message on
/// standard error, when it cannot be read or has more than 1 GB; empty when it is no text.
[[nodiscard]] std::optional<std::u16string> markupOfFile(const std::string& file);

}  // namespace quarry::tools
