// The text of a file of unknown encoding.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarry::text {

/// Whether bytes are all of a file, or end where reading stopped.
enum class Extent { whole, beginning };

/// `bytes` as clean UTF-8, or nullopt when they are no text.
///
/// The encoding is told by a byte-order mark (UTF-8, UTF-16), else by validity: bytes without zeros are UTF-8 when
/// well-formed, else of the encoding that their letters tell, else ISO Latin 1; bytes with zeros are UTF-16 of the byte
/// order that makes sense of them, or no text. A character that the end of `bytes` cuts is left out.
///
/// Clean means: lines end with a line feed, form feeds and vertical tabs are line feeds, and there are no other control
/// characters but tabs.
[[nodiscard]] std::optional<std::string> cleanTextOfBytes(std::string_view bytes, Extent extent = Extent::whole);

}  // namespace quarry::text
