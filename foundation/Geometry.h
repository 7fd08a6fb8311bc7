// Sizes and their text form.
#pragma once

#include <string>

namespace halden {

/// A width and a height, in whatever unit the context says (points or pixels).
struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) noexcept = default;
};

/// "{WIDTH, HEIGHT}", each number with up to 17 significant digits and no trailing zeros, whatever the locale:
/// "{612, 792}", "{595.27599999999995, 841.88999999999999}".
[[nodiscard]] std::u16string NSStringFromSize(Size size);

}  // namespace halden
