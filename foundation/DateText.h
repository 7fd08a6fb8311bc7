// Dates as feeds, mail and pages write them.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The point in time of a date in one of two families, nullopt for anything else and for days that do not exist:
///
/// - RFC 822 and what is written for it: an optional name of the day (in any language, passed over), day, month (in
///   English, three letters or more), year of two or four digits, then optionally hours and minutes, with or without
///   seconds, and a zone: +HHMM, +HH:MM, UT, UTC, GMT, Z, the American ones, a military letter; none is UTC. Two-digit
///   years from 70 on are of the last century.
/// - ISO 8601: YYYY, YYYY-MM, YYYY-MM-DD or YYYYMMDD, then optionally "T" or a space, HH:MM or HHMM with optional
///   seconds and fraction, and a zone: Z, +HH, +HHMM or +HH:MM; none is UTC.
///
/// Second 60 and hour 24:00:00 are read as what they come to.
[[nodiscard]] std::optional<Date> dateFromString(std::u16string_view string);

/// "21 Nov 2026, 20:15", in UTC: the one form in which dates are shown.
[[nodiscard]] std::u16string stringFromDate(Date date);

}  // namespace halden
