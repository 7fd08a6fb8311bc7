#include "tools/Arguments.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace quarry::tools {

namespace {
constexpr std::string_view kUnits = "KMGT";
}

std::optional<std::uint64_t> bytesFromSize(std::string_view size) {
    double number = 0;
    const auto [rest, error] =
        std::from_chars(size.data(), size.data() + size.size(), number, std::chars_format::fixed);
    if (error != std::errc()) {
        return std::nullopt;
    }
    std::string_view unit(rest, static_cast<std::size_t>(size.data() + size.size() - rest));
    if (!unit.empty()) {
        const std::size_t power = kUnits.find(static_cast<char>(unit[0] & ~0x20));
        if (power != std::string_view::npos) {
            number = std::ldexp(number, static_cast<int>(10 * (power + 1)));
            unit.remove_prefix(1);
            if (unit.starts_with('i')) {
                unit.remove_prefix(1);
                if (unit.empty()) {
                    return std::nullopt;
                }
            }
        }
        if (!unit.empty() && unit != "B" && unit != "b") {
            return std::nullopt;
        }
    }
    constexpr double kLimit = 9.0e18;
    if (!(number >= 1) || number > kLimit) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(number);
}

std::string sizeFromBytes(std::uint64_t bytes) {
    double number = static_cast<double>(bytes);
    std::size_t power = 0;
    while (number >= 1024 && power < kUnits.size()) {
        number /= 1024;
        ++power;
    }
    return power == 0 ? fmt::format("{}", bytes) : fmt::format("{:.1f}{}", number, kUnits[power - 1]);
}

}  // namespace quarry::tools
