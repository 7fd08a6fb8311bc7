// Scans as methods of a string.
#pragma once

#include "markup/TagScanner.h"

#include <string>
#include <string_view>

namespace halden {

/// The string with characters that scans can address without a copy. They always can be here, so that this is the
/// string itself, moved through.
[[nodiscard]] std::u16string optimizedXml(std::u16string string) noexcept;

/// As `GetTagsOfString`, for handlers that may throw: an exception ends the scan, is logged with its call stack, and
/// the result is false. The second form is mutable mode.
bool parseXmlWithHandler(std::u16string_view string, TagHandler handler, void* context);
bool parseXmlWithHandler(std::u16string* string, TagHandler handler, void* context);

}  // namespace halden
