// Dates as XML property lists spell them: YYYY-MM-DDTHH:MM:SSZ.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden::plists {

/// The point in time, or nullopt when `text` has another form or names a day or time that does not exist. The second
/// may be 60 (a leap second counts as the first second of the next minute).
[[nodiscard]] std::optional<Date> dateFromText(std::string_view text);

/// The text of `date`, cut to the whole second, or nullopt outside the years 1 to 9999.
[[nodiscard]] std::optional<std::string> textFromDate(Date date);

}  // namespace halden::plists
