#include "platform/pdf/module/DateText.h"

#include <array>
#include <cstdint>

namespace halden::pdf {
namespace {

/// Takes `count` digits off the front; nullopt when there are fewer.
std::optional<int> takeNumber(std::string_view& text, std::size_t count) {
    if (text.size() < count) return std::nullopt;
    int number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        number = number * 10 + (text[i] - '0');
    }
    text.remove_prefix(count);
    return number;
}

/// Days from 1970-01-01 to a day of the Gregorian calendar; years are counted from March.
std::int64_t daysFromCivil(int year, int month, int day) {
    const std::int64_t marchYear = month <= 2 ? year - 1 : year;  // never negative: there is no year 0
    const std::int64_t era = marchYear / 400;
    const std::int64_t yearOfEra = marchYear - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

int daysOfMonth(int year, int month) {
    const bool isLeapYear = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    if (month == 2) return isLeapYear ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

/// Seconds that the zone "Z", "+HH'mm'" or "-HH'mm'" is ahead of UTC; nullopt when it is ill-formed.
std::optional<int> takeZone(std::string_view& text) {
    if (text.empty()) return 0;
    const char sign = text.front();
    if (sign != 'Z' && sign != '+' && sign != '-') return std::nullopt;
    text.remove_prefix(1);
    if (text.empty()) return sign == 'Z' ? std::optional(0) : std::nullopt;
    const auto hours = takeNumber(text, 2);
    if (!hours || *hours > 23) return std::nullopt;
    if (!text.empty() && text.front() == '\'') text.remove_prefix(1);
    int minutes = 0;
    if (!text.empty()) {
        const auto number = takeNumber(text, 2);
        if (!number || *number > 59) return std::nullopt;
        minutes = *number;
        if (!text.empty() && text.front() == '\'') text.remove_prefix(1);
    }
    const int seconds = (*hours * 60 + minutes) * 60;
    return sign == '-' ? -seconds : sign == '+' ? seconds : 0;
}

}  // namespace

std::optional<Date> dateFromText(std::string_view text) {
    if (text.starts_with("D:")) text.remove_prefix(2);
    const auto year = takeNumber(text, 4);
    if (!year) return std::nullopt;
    struct Field {
        int value, least, most;
    };
    std::array<Field, 5> fields = {{{1, 1, 12}, {1, 1, 31}, {0, 0, 23}, {0, 0, 59}, {0, 0, 60}}};
    for (auto& field : fields) {
        if (text.empty() || text.front() < '0' || text.front() > '9') break;
        const auto number = takeNumber(text, 2);
        if (!number || *number < field.least || *number > field.most) return std::nullopt;
        field.value = *number;
    }
    if (*year == 0 || fields[1].value > daysOfMonth(*year, fields[0].value)) return std::nullopt;
    const auto zone = takeZone(text);
    if (!zone || !text.empty()) return std::nullopt;
    const std::int64_t days = daysFromCivil(*year, fields[0].value, fields[1].value);
    const std::int64_t seconds = ((days * 24 + fields[2].value) * 60 + fields[3].value) * 60 + fields[4].value - *zone;
    return Date::fromUnixSeconds(static_cast<double>(seconds));
}

}  // namespace halden::pdf
