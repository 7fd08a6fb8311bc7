#include "platform/web/CssValues.h"

#include "foundation/Unicode.h"
#include "richtext/FontNames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <utility>
#include <vector>

namespace halden::web {
namespace {

constexpr double kPointsOfPixel = 0.75;

/// The numbers of a text, percentages as parts of one.
std::vector<double> numbersIn(std::string_view text) {
    std::vector<double> numbers;
    const char* next = text.data();
    const char* const end = next + text.size();
    while (next < end && numbers.size() < 8) {
        double number = 0;
        const auto result = std::from_chars(next, end, number);
        if (result.ec != std::errc()) {
            ++next;
            continue;
        }
        next = result.ptr;
        if (next < end && *next == '%') number /= 100;
        numbers.push_back(number);
    }
    return numbers;
}

double part(double value) {
    return value >= 0 && value <= 1 ? value : (value > 1 ? 1 : 0);
}

constexpr std::pair<std::u16string_view, std::u16string_view> kGenericFamilies[] = {
    {u"serif", u"Times"},
    {u"sans-serif", u"Helvetica"},
    {u"monospace", u"Courier"},
    {u"cursive", u"Apple Chancery"},
    {u"fantasy", u"Papyrus"},
    {u"system-ui", u"Helvetica"},
    {u"ui-sans-serif", u"Helvetica"},
    {u"ui-serif", u"Times"},
    {u"ui-monospace", u"Menlo"},
    {u"-apple-system", u"Helvetica"},
    {u"BlinkMacSystemFont", u"Helvetica"},
    {u"math", u"Times"},
    {u"ui-rounded", u"Helvetica"},
    {u"-webkit-standard", u"Times"},
    {u"emoji", u"Apple Color Emoji"},
    // The face of form fields, by the toolkit.
    {u"Cantarell", u"Helvetica"},
};

std::u16string_view firstFamily(std::u16string_view families) {
    const auto isBlank = [](char16_t unit) { return unit == u' ' || unit == u'\t'; };
    while (!families.empty() && isBlank(families.front()))
        families.remove_prefix(1);
    if (!families.empty() && (families.front() == u'"' || families.front() == u'\'')) {
        const char16_t quote = families.front();
        families.remove_prefix(1);
        return families.substr(0, families.find(quote));
    }
    families = families.substr(0, families.find(u','));
    while (!families.empty() && isBlank(families.back()))
        families.remove_suffix(1);
    return families;
}

}  // namespace

std::optional<Color> colorOfCss(std::u16string_view text) {
    const std::string bytes = utf8FromUtf16(text.substr(0, 200));
    const bool isBytes = bytes.starts_with("rgb");
    const bool isParts = bytes.starts_with("color(srgb ");
    if (!isBytes && !isParts) return std::nullopt;
    const std::size_t start = bytes.find(isParts ? ' ' : '(');
    const std::vector<double> numbers = numbersIn(std::string_view(bytes).substr(std::min(start, bytes.size())));
    if (numbers.size() < 3) return std::nullopt;
    const double whole = isBytes ? 255 : 1;
    Color color{part(numbers[0] / whole), part(numbers[1] / whole), part(numbers[2] / whole),
                numbers.size() > 3 ? part(numbers[3]) : 1};
    if (color.alpha == 0) return std::nullopt;
    return color;
}

std::optional<Shadow> shadowOfCss(std::u16string_view text) {
    const std::size_t end = text.find(u')');
    const auto color = colorOfCss(text.substr(0, end));
    if (!color) return std::nullopt;
    const std::vector<double> numbers = numbersIn(utf8FromUtf16(text.substr(end, 100)));
    if (numbers.size() < 3) return std::nullopt;
    const auto length = [&](std::size_t i) { return std::clamp(numbers[i], -1000.0, 1000.0) * kPointsOfPixel; };
    return Shadow{length(0), -length(1), std::max(0.0, length(2)), color};
}

Font fontOfCss(std::u16string_view families, double size, bool bold, bool italic) {
    std::u16string_view family = firstFamily(families.substr(0, 1000)).substr(0, 100);
    for (const auto& [generic, name] : kGenericFamilies) {
        if (family == generic) family = name;
    }
    if (family.empty()) family = u"Times";
    return fontNamed(family, FontNaming::family, size, bold, italic);
}

}  // namespace halden::web
