// Addresses as pages write them, made clean.
#pragma once

#include "foundation/Url.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

enum class PercentEscapes : bool { keep, decode };

/// The value of an attribute as a URL string: without line ends and tabs, with entities decoded, backslashes made
/// slashes (unless there is a "?"), without escaped white space, quotes and brackets at its end, and without white
/// space and pairs of double quotes around it. nullopt when nothing is left.
[[nodiscard]] std::optional<std::u16string> normalizedStringURL(std::u16string_view value,
                                                                PercentEscapes escapes = PercentEscapes::keep);

/// The same for the HREF of a link element: a bare name becomes relative to the root.
[[nodiscard]] std::optional<std::u16string> normalizedRelLink(std::u16string_view value);

/// Whether a link leads nowhere that could be loaded: a lone "#", "&", "-" or ":"; a scheme without a "/" behind it
/// that is not feed:; schemes of other programs and of scripts.
[[nodiscard]] bool filterLink(std::u16string_view link);

/// The URL of a base element's HREF, when it is a remote web URL. One that begins with "#" is passed over; any other
/// that is rejected is logged: "Invalid base: URL".
[[nodiscard]] std::optional<Url> baseURL(std::u16string_view href);

}  // namespace halden
