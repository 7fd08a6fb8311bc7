// The settings LibreOffice starts with.
#pragma once

#include <string>

namespace halden::office {

/// Makes a profile in the folder and returns its URL; empty when it cannot be written. With the `version` that is
/// installed ("7.4") LibreOffice takes the profile for one it has used before, which saves more than half a second.
///
/// The settings switch off whatever acts on its own: macros, links to other files and addresses, Java, recovery.
[[nodiscard]] std::string makeProfile(const std::string& folder, const std::string& version);

/// The URL of a path of bytes.
[[nodiscard]] std::string fileUrl(const std::string& path);

}  // namespace halden::office
