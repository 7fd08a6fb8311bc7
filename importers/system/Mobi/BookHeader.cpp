#include "importers/system/Mobi/BookHeader.h"

#include "importers/system/Mobi/PalmDatabase.h"

#include <algorithm>

namespace quarry::mobi {
namespace {

constexpr std::size_t kMobiHeader = 16;  // after the sixteen bytes that plain texts have too
constexpr std::size_t kShortest = 24;
constexpr std::uint32_t kHasTags = 0x40;
constexpr std::uint32_t kMaxTags = 4096;

/// "EXTH", its length, a count; then number, length (of all three) and bytes of each tag.
void readTags(std::string_view bytes, BookHeader& header) {
    constexpr std::size_t kTag = 8;
    if (!bytes.starts_with("EXTH")) return;
    const std::uint32_t count = std::min(number32(bytes, 8), kMaxTags);
    std::size_t i = 12;
    for (std::uint32_t n = 0; n < count && i + kTag <= bytes.size(); ++n) {
        const std::size_t length = number32(bytes, i + 4);
        if (length < kTag || length > bytes.size() - i) return;
        header.tags.emplace_back(number32(bytes, i), bytes.substr(i + kTag, length - kTag));
        i += length;
    }
}

}  // namespace

std::optional<std::string_view> BookHeader::tag(std::uint32_t number) const noexcept {
    const auto found = std::ranges::find(tags, number, [](const auto& pair) { return pair.first; });
    if (found == tags.end()) return std::nullopt;
    return found->second;
}

std::optional<BookHeader> headerFromRecord(std::string_view record) {
    constexpr std::uint32_t kUtf8 = 65001;
    if (record.size() < kMobiHeader) return std::nullopt;
    BookHeader header;
    header.compression = number16(record, 0);
    header.textRecords = number16(record, kTextRecordsPlace);
    header.recordSize = number16(record, kTextRecordsPlace + 2);
    header.encryption = number16(record, 12);
    if (!record.substr(kMobiHeader).starts_with("MOBI")) return header;

    header.isMobipocket = true;
    // The first headers of the kind are shorter: what lies beyond their end is something else.
    // Some of them say no length.
    const std::size_t length = std::max<std::size_t>(number32(record, 20), kShortest);
    const std::string_view fields = record.substr(0, kMobiHeader + std::min(length, record.size() - kMobiHeader));
    header.isUtf8 = number32(fields, 28) == kUtf8;
    header.version = number32(fields, 36);
    header.locale = number32(fields, 92);
    const std::size_t name = number32(fields, 84);
    if (name != 0 && name < record.size()) header.name = record.substr(name, number32(fields, 88));
    header.huffmanRecord = number32(fields, 112);
    header.huffmanRecords = number32(fields, 116);
    if ((number32(fields, 128) & kHasTags) != 0) readTags(record.substr(fields.size()), header);
    return header;
}

}  // namespace quarry::mobi
