// The bytes of a file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quarry::support {

/// The first bytes of the regular file at `path`, `limit` at most; nullopt when it cannot be read or is none.
[[nodiscard]] std::optional<std::string> bytesOfFile(const char* path, std::size_t limit);

}  // namespace quarry::support
