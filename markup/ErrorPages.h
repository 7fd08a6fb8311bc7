// Pages that servers answer with instead of what was asked for.
#pragma once

#include <string_view>

namespace halden {

/// Whether the text of a page is one of the known notices about too many requests, by its letters, in any case. The
/// first argument is not used.
[[nodiscard]] bool exceededPageLoadFrequency(std::u16string_view unused, std::u16string_view text);

/// Whether a page says that what was asked for is not there, or not allowed, by its title and text, and by its URL
/// where that names such a page. Title and text may be empty.
[[nodiscard]] bool isErrorPage(std::u16string_view url, std::u16string_view title, std::u16string_view text);

}  // namespace halden
