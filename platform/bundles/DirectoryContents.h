// The entries of a folder.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

enum class EntryForm { name, fullPath };

/// The entries of the folder at `path`, without "." and "..", in the order in which the system lists them. Empty when
/// the folder is missing or cannot be read.
[[nodiscard]] std::vector<std::u16string> directoryContentsAtPath(std::u16string_view path);

/// The entries of the folder whose path extension equals `extension` ignoring case, in the order in which the system
/// lists them, as names or joined to `path`. No extension (nullopt) matches nothing.
[[nodiscard]] std::vector<std::u16string> directoryContentsAtPath(std::u16string_view path,
                                                                  std::optional<std::u16string_view> matchingExtension,
                                                                  EntryForm form = EntryForm::name);

/// Whether a folder, or a link to one, is at `path`.
[[nodiscard]] bool isDirectoryAtPath(std::u16string_view path);

/// Whether a regular file, or a link to one, is at `path`.
[[nodiscard]] bool isRegularFileAtPath(std::u16string_view path);

/// Whether anything, links followed, is at `path`.
[[nodiscard]] bool fileExistsAtPath(std::u16string_view path);

}  // namespace halden
