// The container of Mobipocket books: records, one after the other, behind a table of where they begin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::mobi {

/// Numbers as the container and its records write them, the highest byte first. 0 for what lies beyond the end.
[[nodiscard]] std::uint16_t number16(std::string_view bytes, std::size_t position) noexcept;
[[nodiscard]] std::uint32_t number32(std::string_view bytes, std::size_t position) noexcept;

/// Views into the bytes that it was made from.
struct PalmDatabase {
    std::string_view header;                ///< 78 bytes: a name of up to 31, type and creator at 60, the count at 76
    std::vector<std::string_view> records;  ///< none is empty

    [[nodiscard]] std::string_view name() const noexcept;
    /// Type and creator, eight letters.
    [[nodiscard]] std::string_view type() const noexcept { return header.substr(60, 8); }
};

/// The database in `bytes` with the records that lie inside, as far as their places follow one another: what is cut off
/// or nonsense ends the list. nullopt when there is no first record.
[[nodiscard]] std::optional<PalmDatabase> databaseFromBytes(std::string_view bytes);

/// A database of its own: the header, then these records. An empty record gets one byte.
[[nodiscard]] std::string bytesOfDatabase(std::string_view header, const std::vector<std::string_view>& records);

}  // namespace quarry::mobi
