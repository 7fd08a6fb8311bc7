// The members of a zip archive that make up a document.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace quarry::packages {

/// Unpacked bytes of one member, and of all that are taken; what exceeds them is left out. A bomb ends here.
inline constexpr std::size_t kMaxMember = std::size_t{64} << 20;
inline constexpr std::size_t kMaxMembers = std::size_t{256} << 20;
inline constexpr int kMaxEntries = 65536;

struct ZipPackage {
    std::map<std::string, std::string, std::less<>> members;  ///< by name
    bool isEncrypted = false;                                 ///< some member asks for a password

    /// The member with that name; empty without.
    [[nodiscard]] std::string_view member(std::string_view name) const;
};

/// The wanted members of the archive in `bytes`, as far as they can be read.
[[nodiscard]] ZipPackage packageFromBytes(std::string_view bytes,
                                          const std::function<bool(std::string_view name)>& isWanted);

/// Whether the bytes are a container of the older office format with an encrypted package in it, which is what a
/// document with a password is.
[[nodiscard]] bool isEncryptedDocument(std::string_view bytes);

/// Seconds since 1970 of a date of ISO 8601, by which XML documents tell time; NaN for anything else.
[[nodiscard]] double secondsFromDate(std::string_view date);

}  // namespace quarry::packages
