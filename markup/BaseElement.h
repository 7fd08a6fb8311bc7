// The base and canonical addresses of a page, and the rewriting of its base element.
#pragma once

#include "foundation/Url.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The cleaned HREF of the first canonical link before the body; one that begins with "#" is passed over.
[[nodiscard]] std::optional<std::u16string> htmlCanonicalURL(std::u16string_view html);

/// The URL of the first base element with an HREF before the body; nullopt also when that is no remote web URL (see
/// `baseURL` in LinkCleaning.h).
[[nodiscard]] std::optional<Url> htmlBaseURL(std::u16string_view html);

/// With `url` as its base: in place of the base element, else behind the head tag. An empty url only removes a base
/// element. The page itself for a nil url, and when there is neither a base element nor a head tag.
[[nodiscard]] std::u16string stringBySettingBaseURL(std::u16string html, std::optional<std::u16string_view> url);

/// With `url` as its base, if it has none and there is a head tag; otherwise the page itself.
[[nodiscard]] std::u16string stringByAddingBaseURL(std::u16string html, std::optional<std::u16string_view> url);

}  // namespace halden
