#include "foundation/Geometry.h"

#include <array>
#include <charconv>

namespace halden {
namespace {

void appendNumber(std::u16string& out, double number) {
    // 17 significant digits tell every double from its neighbours; 32 characters hold the longest form.
    constexpr int kDigits = 17;
    std::array<char, 32> text{};
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general, kDigits);
    out.append(text.data(), result.ptr);
}

}  // namespace

std::u16string NSStringFromSize(Size size) {
    std::u16string text = u"{";
    appendNumber(text, size.width);
    text += u", ";
    appendNumber(text, size.height);
    text += u'}';
    return text;
}

}  // namespace halden
