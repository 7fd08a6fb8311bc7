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
///   seconds, and a zone: +HHMM, +HH:MM, UT, UTC, GMT, Z, the American ones and others by their usual letters, a
///   military letter; none is UTC. Two-digit years from 70 on are of the last century. The month may come before the
///   day, and then the year after the time ("Sun Nov 13 12:00:00 2016").
/// - ISO 8601: YYYY, YYYY-MM, YYYY-MM-DD, YYYY-DDD, YYYYMMDD or YYYYDDD, then optionally "T" or a space, HH, HH:MM or
///   HHMM with optional seconds and fraction, and a zone: Z, +HH, +HHMM or +HH:MM; none is UTC. With hyphens the month
///   and the day may have one digit.
///
/// Second 60 and hour 24:00:00 are read as what they come to.
[[nodiscard]] std::optional<Date> dateFromString(std::u16string_view string);

/// "21 Nov 2026, 20:15", in UTC: the one form in which dates are shown.
[[nodiscard]] std::u16string stringFromDate(Date date);

}  // namespace halden
