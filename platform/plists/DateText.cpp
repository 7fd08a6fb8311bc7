#include "platform/plists/DateText.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace halden::plists {
namespace {

using std::chrono::sys_days;

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kFirst = sys_days{std::chrono::year{1} / 1 / 1}.time_since_epoch().count() * kSecondsPerDay;
constexpr std::int64_t kEnd = sys_days{std::chrono::year{10000} / 1 / 1}.time_since_epoch().count() * kSecondsPerDay;

}  // namespace

std::optional<Date> dateFromText(std::string_view text) {
    constexpr std::string_view kPattern = "0000-00-00T00:00:00Z";
    if (text.size() != kPattern.size()) return std::nullopt;
    unsigned fields[6] = {};
    unsigned field = 0;
    for (std::size_t i = 0; i < kPattern.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (kPattern[i] == '0' ? !isDigit : text[i] != kPattern[i]) return std::nullopt;
        if (isDigit) {
            fields[field] = fields[field] * 10 + static_cast<unsigned>(text[i] - '0');
        } else {
            ++field;
        }
    }
    const auto [year, month, day, hour, minute, second] = fields;
    const auto date = std::chrono::year{static_cast<int>(year)} / std::chrono::month{month} / std::chrono::day{day};
    if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    const std::int64_t days = sys_days{date}.time_since_epoch().count();
    const std::int64_t inDay = hour * 3600 + minute * 60 + second;
    return Date::fromUnixSeconds(static_cast<double>(days * kSecondsPerDay + inDay));
}

std::optional<std::string> textFromDate(Date date) {
    const double seconds = std::floor(date.unixSeconds());
    // The comparison is false for what is no number, too.
    if (!(seconds >= static_cast<double>(kFirst) && seconds < static_cast<double>(kEnd))) return std::nullopt;
    const std::chrono::sys_seconds time{std::chrono::seconds{static_cast<std::int64_t>(seconds)}};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day civil{day};
    const std::chrono::hh_mm_ss clock{time - day};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(civil.year()),
                  static_cast<unsigned>(civil.month()), static_cast<unsigned>(civil.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

}  // namespace halden::plists
