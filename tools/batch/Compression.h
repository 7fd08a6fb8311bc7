// Pieces of compressed files that can be read on their own: put one after the other, they are a file.
#pragma once

#include <string>
#include <string_view>

namespace quarry::tools {

/// A member of a gzip file (RFC 1952). Throws `std::bad_alloc` when the system has no memory for it.
[[nodiscard]] std::string gzipMember(std::string_view bytes);

/// A frame of a Zstandard file (RFC 8878), with a checksum. Throws as above.
[[nodiscard]] std::string zstdFrame(std::string_view bytes);

}  // namespace quarry::tools
