#include "foundation/DateText.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace halden {
namespace {

/// A place in a string that is read from left to right.
class Cursor {
public:
    explicit Cursor(std::u16string_view text) : rest_(text) {}

    [[nodiscard]] bool atEnd() const noexcept { return rest_.empty(); }
    [[nodiscard]] char16_t peek(std::size_t ahead = 0) const noexcept {
        return ahead < rest_.size() ? rest_[ahead] : u'\0';
    }
    void skip(std::size_t count) noexcept { rest_.remove_prefix(std::min(count, rest_.size())); }
    bool take(char16_t unit) noexcept {
        if (peek() != unit || atEnd()) return false;
        skip(1);
        return true;
    }
    void skipAny(std::u16string_view units) noexcept {
        while (!atEnd() && units.find(peek()) != std::u16string_view::npos)
            skip(1);
    }
    [[nodiscard]] std::size_t digitsAhead(std::size_t limit = SIZE_MAX) const noexcept {
        std::size_t count = 0;
        while (count < limit && peek(count) >= u'0' && peek(count) <= u'9')
            ++count;
        return count;
    }
    /// A number of exactly `digits` digits, whatever follows; of nine at most, which an int holds.
    [[nodiscard]] std::optional<int> number(std::size_t digits) noexcept {
        if (digits == 0 || digits > 9 || digitsAhead(digits) < digits) return std::nullopt;
        int value = 0;
        for (std::size_t i = 0; i < digits; ++i)
            value = value * 10 + (peek(i) - u'0');
        skip(digits);
        return value;
    }
    /// A word of ASCII letters, in lower case.
    [[nodiscard]] std::string word() {
        std::string letters;
        for (; (peek() | 0x20) >= u'a' && (peek() | 0x20) <= u'z' && peek() < 0x80; skip(1))
            letters += static_cast<char>(peek() | 0x20);
        return letters;
    }

private:
    std::u16string_view rest_;
};

constexpr std::u16string_view kBlanks = u" \t\r\n\u00A0";

struct Time {
    double seconds = 0;  ///< of the day
    int offset = 0;      ///< seconds east of Greenwich
};

struct NamedZone {
    std::string_view name;
    int hours;
};

constexpr NamedZone kZones[] = {
    {"z", 0},     {"ut", 0},    {"utc", 0},   {"gmt", 0},  {"wet", 0},  {"est", -5},  {"edt", -4},  {"cst", -6},
    {"cdt", -5},  {"mst", -7},  {"mdt", -6},  {"pst", -8}, {"pdt", -7}, {"akst", -9}, {"akdt", -8}, {"hst", -10},
    {"bst", 1},   {"west", 1},  {"cet", 1},   {"cest", 2}, {"eet", 2},  {"eest", 3},  {"msk", 3},   {"jst", 9},
    {"mez", 1},   {"mesz", 2},  {"sast", 2},  {"sgt", 8},  {"hkt", 8},  {"awst", 8},  {"kst", 9},   {"aest", 10},
    {"aedt", 11}, {"nzst", 12}, {"nzdt", 13}, {"ast", -4}, {"adt", -3}, {"brt", -3},
};

std::optional<int> offsetOfZone(const std::string& name) {
    for (const NamedZone& zone : kZones) {
        if (zone.name == name) return zone.hours * 3600;
    }
    if (name.size() != 1 || name == "j") return std::nullopt;
    // Military letters: A to M (without J) east of Greenwich, N to Y west of it.
    const int letter = name[0] - 'a';
    if (letter < 9) return (letter + 1) * 3600;
    if (letter < 13) return letter * 3600;
    return -(letter - 12) * 3600;
}

/// A zone at the end of a date; none is that of Greenwich.
std::optional<int> readZone(Cursor& cursor) {
    cursor.skipAny(kBlanks);
    if (cursor.atEnd()) return 0;
    const bool isEast = cursor.peek() == u'+';
    if (isEast || cursor.peek() == u'-' || cursor.peek() == u'\u2212') {
        cursor.skip(1);
        const auto hours = cursor.number(cursor.digitsAhead() == 1 || cursor.digitsAhead() == 3 ? 1 : 2);
        cursor.take(u':');
        const auto minutes = cursor.atEnd() || cursor.digitsAhead() == 0 ? std::optional(0) : cursor.number(2);
        if (!hours || !minutes || *hours > 24 || *minutes > 59) return std::nullopt;
        return (isEast ? 1 : -1) * (*hours * 3600 + *minutes * 60);
    }
    const std::string name = cursor.word();
    // "GMT+0200" is "+0200".
    if ((name == "gmt" || name == "utc" || name == "ut") && (cursor.peek() == u'+' || cursor.peek() == u'-')) {
        return readZone(cursor);
    }
    return offsetOfZone(name);
}

std::optional<double> readSeconds(Cursor& cursor) {
    const auto whole = cursor.number(2);
    if (!whole || *whole > 60) return std::nullopt;
    double seconds = *whole;
    if (cursor.peek() == u'.' || cursor.peek() == u',') {
        cursor.skip(1);
        double place = 0.1;
        for (std::size_t digits = cursor.digitsAhead(); digits > 0; --digits, place /= 10)
            seconds += place * *cursor.number(1);
    }
    return seconds;
}

/// The time of the day, in seconds.
std::optional<double> readClock(Cursor& cursor, bool mayEndWithHours) {
    const auto hours = cursor.number(cursor.digitsAhead() == 1 ? 1 : 2);
    const bool hasColons = cursor.take(u':');
    if (!hours || *hours > 24) return std::nullopt;
    if (mayEndWithHours && !hasColons && cursor.digitsAhead() == 0 && *hours < 24) return *hours * 3600;
    const auto minutes = cursor.number(2);
    if (!minutes || *minutes > 59) return std::nullopt;
    double seconds = 0;
    if (hasColons ? cursor.take(u':') : cursor.digitsAhead() >= 2) {
        const auto read = readSeconds(cursor);
        if (!read) return std::nullopt;
        seconds = *read;
    }
    if (*hours == 24 && (*minutes != 0 || seconds != 0)) return std::nullopt;
    return *hours * 3600 + *minutes * 60 + seconds;
}

std::optional<Time> readTime(Cursor& cursor, bool mayEndWithHours) {
    const auto seconds = readClock(cursor, mayEndWithHours);
    const auto offset = seconds ? readZone(cursor) : std::nullopt;
    if (!offset) return std::nullopt;
    return Time{*seconds, *offset};
}

std::optional<Date> dateOf(std::chrono::year_month_day date, Time time) {
    if (!date.ok()) return std::nullopt;
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return Date::fromUnixSeconds(static_cast<double>(days) * 86400 + time.seconds - time.offset);
}

std::chrono::year_month_day dayOf(int year, int month, int day) {
    return {std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
            std::chrono::day(static_cast<unsigned>(day))};
}

// --- ISO 8601 ------------------------------------------------------------------------------------------------------

/// The day of the year with that number from 1 on; of another year, which is no day, when it has none.
std::chrono::year_month_day dayOfYear(int year, int number) {
    const std::chrono::year_month_day day(std::chrono::sys_days(dayOf(year, 1, 1)) + std::chrono::days(number - 1));
    return day.year() == std::chrono::year(year) ? day : dayOf(year, 0, 0);
}

/// YYYY, YYYY-MM, YYYY-MM-DD, YYYY-DDD, YYYYMMDD, YYYYDDD.
std::optional<std::chrono::year_month_day> readIsoDay(Cursor& cursor) {
    const std::size_t digits = cursor.digitsAhead();
    const int year = *cursor.number(4);
    const bool isSplit = digits == 4 && cursor.take(u'-');
    if (digits == 4 && !isSplit) return dayOf(year, 1, 1);
    if (cursor.digitsAhead() == 3) return dayOfYear(year, *cursor.number(3));
    const auto part = [&] { return cursor.number(isSplit && cursor.digitsAhead() == 1 ? 1 : 2); };
    const auto month = part();
    if (!month) return std::nullopt;
    if (isSplit && !cursor.take(u'-')) return dayOf(year, *month, 1);
    const auto day = part();
    return day ? std::optional(dayOf(year, *month, *day)) : std::nullopt;
}

std::optional<Date> readIso8601(Cursor cursor) {
    const auto day = readIsoDay(cursor);
    if (!day) return std::nullopt;
    if (cursor.take(u'T') || cursor.take(u't') || (cursor.peek() == u' ' && cursor.peek(1) != u'\0')) {
        cursor.skipAny(kBlanks);
        const auto time = readTime(cursor, true);
        return time ? dateOf(*day, *time) : std::nullopt;
    }
    cursor.skipAny(kBlanks);
    return cursor.atEnd() ? dateOf(*day, {}) : std::nullopt;
}

// --- RFC 822 -------------------------------------------------------------------------------------------------------

constexpr std::u16string_view kBetween = u" \t\r\n\u00A0-,";

std::optional<int> monthOfWord(std::string_view name) {
    static constexpr std::string_view kMonths[] = {"january",   "february", "march",    "april",
                                                   "may",       "june",     "july",     "august",
                                                   "september", "october",  "november", "december"};
    for (std::size_t i = 0; i < std::size(kMonths); ++i) {
        if (name.size() >= 3 && kMonths[i].starts_with(name)) return static_cast<int>(i + 1);
    }
    return name == "sept" ? std::optional(9) : std::nullopt;
}

/// Up to the first digit; the month, if the last word before it is one.
std::optional<int> readMonthBeforeDay(Cursor& cursor) {
    std::optional<int> month;
    while (!cursor.atEnd() && cursor.digitsAhead() == 0) {
        const std::string word = cursor.word();
        if (word.empty()) {
            cursor.skip(1);
        } else {
            month = monthOfWord(word);
        }
    }
    return month;
}

std::optional<int> readYear(Cursor& cursor) {
    const std::size_t digits = cursor.digitsAhead();
    auto year = cursor.number(digits);
    if (!year || (digits != 2 && digits != 4)) return std::nullopt;
    if (digits == 2) *year += *year >= 70 ? 1900 : 2000;
    return year;
}

/// "12:00:00 2016" or "12:00:00 UTC 2016", behind a month and a day.
std::optional<Date> readTimeAndYear(Cursor cursor, int month, int day) {
    const auto seconds = readClock(cursor, false);
    cursor.skipAny(kBlanks);
    const auto offset = cursor.digitsAhead() > 0 ? std::optional(0) : readZone(cursor);
    cursor.skipAny(kBlanks);
    const auto year = readYear(cursor);
    return seconds && offset && year ? dateOf(dayOf(*year, month, day), {*seconds, *offset}) : std::nullopt;
}

std::optional<Date> readRfc822(Cursor cursor) {
    auto month = readMonthBeforeDay(cursor);
    const auto day = cursor.number(cursor.digitsAhead() == 1 ? 1 : 2);
    cursor.skipAny(kBetween);
    if (const std::string word = cursor.word(); !word.empty()) {
        month = monthOfWord(word);  // what stands before the day is a day's name, "mar." for one
        cursor.take(u'.');
        cursor.skipAny(kBetween);
    }
    if (!day || !month) return std::nullopt;
    if (cursor.digitsAhead() <= 2 && cursor.peek(cursor.digitsAhead()) == u':')
        return readTimeAndYear(cursor, *month, *day);
    const auto year = readYear(cursor);
    if (!year) return std::nullopt;
    cursor.skipAny(u" \t\r\n\u00A0,");
    const auto time = cursor.atEnd() ? std::optional(Time()) : readTime(cursor, false);
    return time ? dateOf(dayOf(*year, *month, *day), *time) : std::nullopt;
}

}  // namespace

std::optional<Date> dateFromString(std::u16string_view string) {
    constexpr std::size_t kLongestDate = 128;
    if (string.size() > kLongestDate) return std::nullopt;
    Cursor cursor(string);
    cursor.skipAny(kBlanks);
    const std::size_t digits = cursor.digitsAhead();
    return digits == 4 || digits == 7 || digits == 8 ? readIso8601(cursor) : readRfc822(cursor);
}

std::u16string stringFromDate(Date date) {
    static constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto seconds = static_cast<std::int64_t>(std::floor(date.unixSeconds()));
    const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day ymd(day);
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(time - day).count();
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), "%u %s %d, %02d:%02d", static_cast<unsigned>(ymd.day()),
                                     kMonths[static_cast<unsigned>(ymd.month()) - 1], static_cast<int>(ymd.year()),
                                     static_cast<int>(minutes / 60), static_cast<int>(minutes % 60));
    return {text.data(), text.data() + length};
}

}  // namespace halden
