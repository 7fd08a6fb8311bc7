// What a file's first bytes say about its type.
#pragma once

#include <optional>
#include <string>

namespace halden::types {

/// The MIME type that the shared MIME database is sure of for the beginning of the regular file at `path`; nullopt when
/// it is not sure, or the file cannot be read or is empty. The database is mapped at the first call.
[[nodiscard]] std::optional<std::string> mimeTypeOfFirstBytes(const std::string& path);

}  // namespace halden::types
