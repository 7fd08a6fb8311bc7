// Names of character sets, as headers and pages spell and misspell them, to encodings.
//
// A name counts by its letters and digits only, in lower case: "ISO-8859-1", "iso_8859-1" and "ISO8859_1" are one. When
// it has a digit, the number from the first digit on decides where it is known; else words do. Misspellings that pages
// carry are accepted on purpose. nil is a name without characters.
#pragma once

#include "foundation/TextEncoding.h"

#include <string_view>

namespace halden {

/// The Core Foundation encoding, available or not; invalid for names that say nothing, among them all of less than
/// three letters and digits.
[[nodiscard]] CFStringEncoding charset2CFStringEncoding(std::u16string_view name);
[[nodiscard]] CFStringEncoding CFEncodingFromName(std::u16string_view name);

/// The string encoding, only when text can be converted from and to it. Otherwise the answer is invalid, and
/// "Unknown/Unsupported encoding: NAME" is logged unless the name is empty, "auto" in any case, "/", "0", "<" or ">".
[[nodiscard]] NSStringEncoding charset2NSStringEncoding(std::u16string_view name);
[[nodiscard]] NSStringEncoding NSEncodingFromName(std::u16string_view name);

/// The Mac encoding of what follows "mac" or "xmac" in a name, in lower case without separators: Mac Roman for nothing,
/// invalid for what is no script.
[[nodiscard]] CFStringEncoding macEncoding(std::u16string_view name) noexcept;

}  // namespace halden
