// The character set that a document declares about itself, and what HTTP headers say.
//
// A document declares its character set in the CONTENT or CHARSET of a meta tag, or in the ENCODING of an XML
// declaration, whichever comes first. What follows the start (or the end) of the body does not count.
#pragma once

#include "foundation/Range.h"
#include "foundation/TextEncoding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The declared name as it is written, entities converted to characters when it stands in a meta tag; empty when none
/// is declared.
[[nodiscard]] std::u16string markupCharset(std::u16string_view markup);
/// The tag that declares it; {kNotFound, 0} when none does.
[[nodiscard]] Range markupCharsetRange(std::u16string_view markup);
/// The string encoding of the declared name; invalid for none (as `charset2NSStringEncoding`, with its log line).
[[nodiscard]] NSStringEncoding markupEncoding(std::u16string_view markup);
/// What the document's URLs are escaped in: ISO Latin 1 when that is declared, else UTF-8.
[[nodiscard]] NSStringEncoding defaultURLEncoding(std::u16string_view markup);

/// The charset of a header value such as "text/html; charset=utf-8".
[[nodiscard]] std::optional<std::u16string> headerCharset(std::u16string_view value);
/// Its string encoding; invalid when there is none.
[[nodiscard]] NSStringEncoding headerEncoding(std::u16string_view value);
/// The URL of a Refresh header's value, "5; URL=http://example.org/".
[[nodiscard]] std::optional<std::u16string> headerRefresh(std::u16string_view value);
/// The integer that such a value begins with, which may have a sign; 0 when there is none.
[[nodiscard]] std::int64_t refreshInterval(std::u16string_view value) noexcept;

}  // namespace halden
