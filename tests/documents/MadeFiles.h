// Small container files, made for tests.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quarry::test {

/// In files made by `compoundFile`: the first sector of the directory, and where the allocation table is.
inline constexpr std::uint32_t kDirectorySector = 1;
inline constexpr std::size_t kTableSectorOffset = 512;

/// A compound file whose directory has streams of these names, without contents.
[[nodiscard]] std::string compoundFile(const std::vector<std::string>& streams);

/// A zip archive of these members, by name.
[[nodiscard]] std::string zipArchive(const std::vector<std::pair<std::string, std::string>>& members,
                                     bool deflated = true);

}  // namespace quarry::test
