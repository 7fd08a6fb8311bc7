#include "richtext/DocumentAttributes.h"

#include "richtext/FontNames.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace halden {
namespace {

constexpr std::u16string_view kFontNameKey = u"NSFontNameAttribute";
constexpr std::u16string_view kFontSizeKey = u"NSFontSizeAttribute";

std::optional<double> numberOf(const Value& value) noexcept {
    std::optional<double> number;
    if (const auto* const real = value.as<double>()) number = *real;
    if (const auto* const integer = value.as<std::int64_t>()) number = static_cast<double>(*integer);
    if (const auto* const truth = value.as<bool>()) number = *truth ? 1 : 0;
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// Takes a decimal number from the front of `text`, blanks before it passed over.
std::optional<double> takeNumber(std::string_view& text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// Takes `sign` from the front of `text`, blanks before it passed over.
bool takeSign(std::string_view& text, char sign) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (!text.starts_with(sign)) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

void setRtfdType(Dictionary& attributes) {
    attributes.set(std::u16string(kDocumentTypeKey), kRtfdDocumentType);
    attributes.set(std::u16string(kUtiKey), u"com.apple.rtfd");
}

std::optional<double> numberAttribute(const Dictionary& attributes, std::u16string_view key) noexcept {
    const Value* const value = attributes.find(key);
    return value ? numberOf(*value) : std::nullopt;
}

std::u16string_view stringAttribute(const Dictionary& attributes, std::u16string_view key) noexcept {
    const Value* const value = attributes.find(key);
    const auto* const text = value ? value->as<std::u16string>() : nullptr;
    return text ? std::u16string_view(*text) : std::u16string_view();
}

std::optional<Size> sizeAttribute(const Dictionary& attributes, std::u16string_view key) {
    return sizeFromString(stringAttribute(attributes, key));
}

std::optional<Size> sizeFromString(std::u16string_view text) {
    if (text.size() > 256 || std::ranges::any_of(text, [](char16_t unit) { return unit > 0x7F; })) return std::nullopt;
    const std::string ascii(text.begin(), text.end());
    std::string_view rest(ascii);
    Size size;
    if (!takeSign(rest, '{')) return std::nullopt;
    const auto width = takeNumber(rest);
    if (!width || !takeSign(rest, ',')) return std::nullopt;
    const auto height = takeNumber(rest);
    if (!height || !takeSign(rest, '}') || rest.find_first_not_of(' ') != rest.npos) return std::nullopt;
    size.width = *width;
    size.height = *height;
    return size;
}

Value valueFromColor(const Color& color) {
    return Array{color.red, color.green, color.blue, color.alpha};
}

std::optional<Color> colorFromValue(const Value& value) {
    const auto* const components = value.as<Array>();
    if (!components || components->size() != 4) return std::nullopt;
    double numbers[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const auto number = numberOf((*components)[i]);
        if (!number) return std::nullopt;
        numbers[i] = std::clamp(*number, 0.0, 1.0);
    }
    return Color{numbers[0], numbers[1], numbers[2], numbers[3]};
}

Value valueFromFont(const Font& font) {
    return Dictionary{{std::u16string(kFontNameKey), font.name}, {std::u16string(kFontSizeKey), font.size}};
}

std::optional<Font> fontFromValue(const Value& value) {
    const auto* const attributes = value.as<Dictionary>();
    if (!attributes) return std::nullopt;
    const std::u16string_view name = stringAttribute(*attributes, kFontNameKey);
    const auto size = numberAttribute(*attributes, kFontSizeKey);
    if (name.empty() || !size || *size <= 0) return std::nullopt;
    return fontNamed(name, FontNaming::postScript, *size, false, false);
}

}  // namespace halden
