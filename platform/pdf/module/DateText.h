// Dates as PDF documents write them.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string_view>

namespace halden::pdf {

/// The date of "D:YYYYMMDDHHmmSSOHH'mm'". The prefix, everything after the year, and the closing apostrophe may be
/// missing; a date without zone is in UTC. nullopt when anything else is there or a number is out of its range.
[[nodiscard]] std::optional<Date> dateFromText(std::string_view text);

}  // namespace halden::pdf
