// Computed values of CSS as attributes.
#pragma once

#include "richtext/AttributedString.h"

#include <optional>
#include <string_view>

namespace halden::web {

/// A computed colour: "rgb(1, 2, 3)", "rgba(1, 2, 3, 0.5)", "color(srgb 0.1 0.2 0.3 / 0.5)". nullopt for others, and
/// for what is wholly transparent.
[[nodiscard]] std::optional<Color> colorOfCss(std::u16string_view text);

/// The first of computed shadows: "rgb(0, 0, 0) 1px 2px 3px". nullopt for others.
[[nodiscard]] std::optional<Shadow> shadowOfCss(std::u16string_view text);

/// The font for a computed list of families: the first of them, in the platform's words where it is a generic one.
[[nodiscard]] Font fontOfCss(std::u16string_view families, double size, bool bold, bool italic);

}  // namespace halden::web
