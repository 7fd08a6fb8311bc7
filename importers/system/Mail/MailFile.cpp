#include "importers/system/Mail/MailFile.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace quarry::mail {
namespace {

constexpr std::string_view kFrom = "From ";

/// What follows the line at `place`.
std::size_t nextLine(std::string_view bytes, std::size_t place) {
    const std::size_t end = bytes.find('\n', place);
    return end == std::string_view::npos ? bytes.size() : end + 1;
}

bool isAfterEmptyLine(std::string_view bytes, std::size_t place) {
    const std::string_view before = bytes.substr(0, place);
    return before.ends_with("\n\n") || before.ends_with("\n\r\n");
}

}  // namespace

std::optional<std::string_view> messageInEmlx(std::string_view bytes) {
    const std::size_t start = nextLine(bytes, 0);
    const std::string_view line = bytes.substr(0, start);
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), length);
    const auto rest = line.substr(static_cast<std::size_t>(end - line.data()));
    if (error != std::errc() || rest.find_first_not_of(" \t\r\n") != std::string_view::npos) return std::nullopt;
    return bytes.substr(start, length);
}

std::vector<std::string_view> messagesInMbox(std::string_view bytes) {
    std::vector<std::string_view> messages;
    if (!bytes.starts_with(kFrom)) return messages;
    std::size_t start = nextLine(bytes, 0);
    for (std::size_t place = start; place < bytes.size();) {
        place = bytes.find("\nFrom ", place > 0 ? place - 1 : 0);
        if (place == std::string_view::npos) break;
        ++place;
        if (isAfterEmptyLine(bytes, place)) {
            messages.push_back(bytes.substr(start, std::max(start, place) - start));
            start = nextLine(bytes, place);
        }
        place = std::max(nextLine(bytes, place), place + 1);
    }
    messages.push_back(bytes.substr(std::min(start, bytes.size())));
    return messages;
}

}  // namespace quarry::mail
