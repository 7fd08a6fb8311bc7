// The first record of a book: how its text is kept, and what the book says of itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarry::mobi {

enum Compression : std::uint16_t { kUncompressed = 1, kPalmDoc = 2, kHuffman = 17480 };

/// Views into the record.
struct BookHeader {
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    std::uint16_t compression = 0, textRecords = 0, recordSize = 0, encryption = 0;
    bool isMobipocket = false;  ///< false for a plain text, which has the fields above and no others
    bool isUtf8 = false;        ///< otherwise Windows Latin 1
    std::uint32_t version = 0, locale = 0, huffmanRecord = kNone, huffmanRecords = 0;
    std::string_view name;                                         ///< the title of books that list none
    std::vector<std::pair<std::uint32_t, std::string_view>> tags;  ///< by number, in the order of the book

    /// The first value of a tag; nullopt without.
    [[nodiscard]] std::optional<std::string_view> tag(std::uint32_t number) const noexcept;
};

/// Where the record says the number of text records and bytes in each.
inline constexpr std::size_t kTextRecordsPlace = 8;

/// nullopt when the record is too short for one. Tags end at the first whose length is nonsense.
[[nodiscard]] std::optional<BookHeader> headerFromRecord(std::string_view record);

}  // namespace quarry::mobi
