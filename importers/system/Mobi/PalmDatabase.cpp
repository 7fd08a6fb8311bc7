#include "importers/system/Mobi/PalmDatabase.h"

#include <algorithm>

namespace quarry::mobi {
namespace {

constexpr std::size_t kHeader = 78;
constexpr std::size_t kEntry = 8;  // four bytes of place, four that say nothing of use
constexpr std::size_t kCount = 76;
constexpr std::size_t kName = 32;

void append(std::string& bytes, std::size_t number, int length) {
    while (length-- > 0)
        bytes.push_back(static_cast<char>(number >> (8 * length) & 0xFF));
}

}  // namespace

std::uint16_t number16(std::string_view bytes, std::size_t position) noexcept {
    if (bytes.size() < 2 || position > bytes.size() - 2) return 0;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[i])); };
    return static_cast<std::uint16_t>(byte(position) << 8 | byte(position + 1));
}

std::uint32_t number32(std::string_view bytes, std::size_t position) noexcept {
    if (bytes.size() < 4 || position > bytes.size() - 4) return 0;
    return static_cast<std::uint32_t>(number16(bytes, position)) << 16 | number16(bytes, position + 2);
}

std::string_view PalmDatabase::name() const noexcept {
    const std::string_view field = header.substr(0, kName);
    return field.substr(0, field.find('\0'));
}

std::optional<PalmDatabase> databaseFromBytes(std::string_view bytes) {
    if (bytes.size() < kHeader) return std::nullopt;
    PalmDatabase database{bytes.substr(0, kHeader), {}};
    const std::size_t count = number16(bytes, kCount);
    const std::size_t table = kHeader + count * kEntry;
    if (table >= bytes.size()) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = number32(bytes, kHeader + i * kEntry);
        const std::size_t end = i + 1 < count ? number32(bytes, kHeader + (i + 1) * kEntry) : bytes.size();
        if (begin < table || end <= begin || end > bytes.size()) break;
        database.records.push_back(bytes.substr(begin, end - begin));
    }
    if (database.records.empty()) return std::nullopt;
    return database;
}

std::string bytesOfDatabase(std::string_view header, const std::vector<std::string_view>& records) {
    std::string bytes(header.substr(0, kCount));
    bytes.resize(kCount, '\0');
    append(bytes, records.size(), 2);
    std::size_t place = kHeader + records.size() * kEntry;
    for (std::size_t i = 0; i < records.size(); ++i) {
        append(bytes, place, 4);
        append(bytes, 2 * i, 4);
        place += std::max<std::size_t>(records[i].size(), 1);
    }
    bytes.reserve(place);
    for (const std::string_view record : records)
        record.empty() ? bytes.push_back('\0') : static_cast<void>(bytes.append(record));
    return bytes;
}

}  // namespace quarry::mobi
