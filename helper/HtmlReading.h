// How the service has pages read.
#pragma once

#include "foundation/Url.h"
#include "platform/web/HtmlRenderer.h"

#include <optional>
#include <string>
#include <string_view>

namespace quarry {

/// The web engine's options for one request: 15 s to load, the delegate (a null pointer: none), the base address that
/// `baseURLForWebKit` makes of `base`, and the charset's name, if it is not empty, exactly as it is given.
[[nodiscard]] halden::HtmlReadingOptions htmlReadingOptions(const std::optional<halden::Url>& base,
                                                            std::u16string_view charset,
                                                            halden::ResourceLoadDelegate* delegate);

/// An address that the web engine may use as the base of a page: a file address itself when there is something at its
/// path; an "http" or "https" address itself; a "feed" address as the web address that it wraps ("feed:http:...") or
/// stands for ("http:" and what stands behind its scheme). nullopt for all others.
[[nodiscard]] std::optional<halden::Url> baseURLForWebKit(const halden::Url& url);

/// The same with that anchor in place of any other.
[[nodiscard]] std::optional<halden::Url> baseURLForWebKitUsingAnchor(const halden::Url& url,
                                                                     std::u16string_view anchor);

}  // namespace quarry
