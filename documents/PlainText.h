// Plain text of unknown encoding.
#pragma once

#include "foundation/TextEncoding.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarry {

struct PlainText {
    std::u16string text;
    halden::NSStringEncoding encoding = halden::kNSUTF8StringEncoding;
};

/// Whether bytes are text rather than noise: no zeros and next to no control characters other than white space, or
/// marked or evident UTF-16 or UTF-32. `isDeclaredText`: the file's type says that it is text, so that bytes that are
/// no UTF-8 may be text of another encoding.
[[nodiscard]] bool isText(std::span<const std::uint8_t> bytes, bool isDeclaredText);

/// The text of `bytes`, which `isText` accepts; nullopt when no encoding makes sense of them.
///
/// The encoding is told by a byte-order mark (which is dropped), then by validity as UTF-8 with characters beyond
/// ASCII, then by `declaredEncoding` (what the file's extended attribute says; invalid when there is none) if it
/// decodes all bytes; else ASCII is UTF-8, evident UTF-16 is UTF-16, and the rest Windows Latin 1. Line ends stay as
/// they are.
[[nodiscard]] std::optional<PlainText> plainTextFromBytes(std::span<const std::uint8_t> bytes,
                                                          halden::CFStringEncoding declaredEncoding);

/// The encoding in the text of the extended attribute com.apple.TextEncoding, "NAME;NUMBER", where the number is that
/// of a Core Foundation encoding. Either may be missing: the number counts, and the name where there is none that is
/// known. Invalid for anything else.
[[nodiscard]] halden::CFStringEncoding encodingFromAttribute(std::string_view attribute);

}  // namespace quarry
