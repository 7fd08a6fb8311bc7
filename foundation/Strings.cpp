#include "foundation/Strings.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <climits>
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
    while (at < string.size() && (string[at] == u' ' || (string[at] >= u'\t' && string[at] <= u'\r'))) ++at;
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

}  // namespace halden
