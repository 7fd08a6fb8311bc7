#include "foundation/Strings.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <stdexcept>

namespace halden {
namespace {

std::int32_t lengthForIcu(std::u16string_view string) {
    if (string.size() > INT32_MAX / 4) throw std::length_error("string too long for case mapping");
    return static_cast<std::int32_t>(string.size());
}

bool isAscii(std::u16string_view string) noexcept {
    char16_t all = 0;
    for (const char16_t unit : string)
        all |= unit;
    return all < 0x80;
}

bool isAsciiWhite(char16_t unit) noexcept {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

char16_t asciiLower(char16_t unit) noexcept {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

}  // namespace

std::u16string lowercaseString(std::u16string_view string) {
    std::u16string lower(string);
    if (isAscii(string)) {
        // Identifiers and extensions: no need to page in the case tables.
        for (char16_t& unit : lower)
            unit = asciiLower(unit);
        return lower;
    }
    const std::int32_t length = lengthForIcu(string);
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t needed = u_strToLower(lower.data(), length, string.data(), length, "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        lower.resize(static_cast<std::size_t>(needed));
        needed = u_strToLower(lower.data(), needed, string.data(), length, "", &status);
    }
    lower.resize(static_cast<std::size_t>(needed));
    return lower;
}

bool isEqualToStringNoCase(std::u16string_view a, std::u16string_view b) {
    if (a.empty() || b.empty()) return a.size() == b.size();
    UErrorCode status = U_ZERO_ERROR;
    return u_strCaseCompare(a.data(), lengthForIcu(a), b.data(), lengthForIcu(b), U_FOLD_CASE_DEFAULT, &status) == 0 &&
           U_SUCCESS(status);
}

std::int64_t integerValue(std::u16string_view string) noexcept {
    std::size_t at = 0;
    while (at < string.size() && isAsciiWhite(string[at]))
        ++at;
    const bool isNegative = at < string.size() && string[at] == u'-';
    if (at < string.size() && (isNegative || string[at] == u'+')) ++at;
    std::int64_t value = 0;
    for (; at < string.size() && string[at] >= u'0' && string[at] <= u'9'; ++at) {
        const int digit = isNegative ? u'0' - string[at] : string[at] - u'0';
        if (__builtin_mul_overflow(value, 10, &value) || __builtin_add_overflow(value, digit, &value)) {
            return isNegative ? INT64_MIN : INT64_MAX;
        }
    }
    return value;
}

float floatValue(std::u16string_view string) noexcept {
    constexpr std::size_t kLongestNumber = 128;  // more digits than a float can tell apart
    std::size_t at = 0;
    while (at < string.size() && isAsciiWhite(string[at]))
        ++at;
    if (string.substr(at).starts_with(u"+-")) return 0;
    if (at < string.size() && string[at] == u'+') ++at;
    std::array<char, kLongestNumber> number{};
    std::size_t length = 0;
    constexpr std::u16string_view kUnits = u"0123456789.eE+-";
    while (length < number.size() && at < string.size() && kUnits.find(string[at]) != std::u16string_view::npos) {
        number[length++] = static_cast<char>(string[at++]);
    }
    float value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + length, value);
    if (error != std::errc::result_out_of_range) return value;
    const bool isLarge = std::string_view(number.data(), length).find("e-") == std::string_view::npos;
    return !isLarge ? 0 : number[0] == '-' ? -HUGE_VALF : HUGE_VALF;
}

}  // namespace halden
