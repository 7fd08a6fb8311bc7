// Names of fonts: PostScript names, which say family and style in one, and families.
#pragma once

#include "richtext/AttributedString.h"

#include <string_view>

namespace halden {

/// How a name of a font table is to be understood where it is no well-known one.
enum class FontNaming {
    postScript,  // "HelveticaNeue-Bold"
    family,      // "Helvetica Neue"
};

/// The font that `name` means, made bold or italic where that is asked for. A name that says "Bold", "Italic" or
/// "Oblique" after a hyphen is so by itself. Well-known names are recognised in either form.
[[nodiscard]] Font fontNamed(std::u16string_view name, FontNaming naming, double size, bool bold, bool italic);

}  // namespace halden
