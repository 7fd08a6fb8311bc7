// The files that messages are kept in.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace quarry::mail {

/// The message in a file of one message and a property list: a line with the message's length, the message, the list.
/// nullopt when the first line is no number. A length beyond the file is cut.
[[nodiscard]] std::optional<std::string_view> messageInEmlx(std::string_view bytes);

/// The messages of a mailbox file, each without its "From " line; none when the file does not begin with one. A line
/// that begins with "From " and follows an empty line, or begins the file, begins a message.
[[nodiscard]] std::vector<std::string_view> messagesInMbox(std::string_view bytes);

}  // namespace quarry::mail
