#include "documents/CompoundFile.h"

#include <algorithm>
#include <array>
#include <optional>

namespace quarry {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::uint32_t kLastSector = 0xFFFFFFFA;  // numbers above it mean: the end, free, a table
constexpr std::size_t kTableSectorsInHeader = 109;
constexpr std::size_t kEntrySize = 128;

class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
        const unsigned shift = bytes.size() >= 512 ? unsigned{bytes[30]} | unsigned{bytes[31]} << 8 : 0;
        sectorSize_ = shift == 9 || shift == 12 ? std::size_t{1} << shift : 0;
    }

    [[nodiscard]] bool hasStream(std::string_view name) const {
        if (sectorSize_ == 0) return false;
        std::uint32_t sector = number(48).value_or(kLastSector + 1);
        // A chain that is longer than the file goes round in circles.
        for (std::size_t left = bytes_.size() / sectorSize_ + 1; left > 0 && sector <= kLastSector; --left) {
            const std::size_t start = startOf(sector);
            if (start >= bytes_.size()) return false;
            for (std::size_t entry = start; entry < start + sectorSize_; entry += kEntrySize) {
                if (isStream(entry, name)) return true;
            }
            const auto next = follower(sector);
            if (!next) return false;
            sector = *next;
        }
        return false;
    }

private:
    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < 4) return std::nullopt;
        return std::uint32_t{bytes_[offset]} | std::uint32_t{bytes_[offset + 1]} << 8 |
               std::uint32_t{bytes_[offset + 2]} << 16 | std::uint32_t{bytes_[offset + 3]} << 24;
    }
    [[nodiscard]] std::size_t startOf(std::uint32_t sector) const { return (std::size_t{sector} + 1) * sectorSize_; }

    /// The sector with the part of the allocation table that `sector` is in.
    [[nodiscard]] std::optional<std::uint32_t> tableSectorFor(std::uint32_t sector) const {
        const std::size_t perSector = sectorSize_ / 4;
        std::size_t place = sector / perSector;
        if (place < kTableSectorsInHeader) return number(76 + 4 * place);
        place -= kTableSectorsInHeader;
        // Lists of further ones; the last number of each names the next list.
        auto list = number(68);
        std::size_t left = bytes_.size() / sectorSize_ + 1;
        for (; list && *list <= kLastSector && place >= perSector - 1 && left > 0; place -= perSector - 1, --left)
            list = number(startOf(*list) + sectorSize_ - 4);
        if (!list || *list > kLastSector || left == 0) return std::nullopt;
        return number(startOf(*list) + 4 * place);
    }

    [[nodiscard]] std::optional<std::uint32_t> follower(std::uint32_t sector) const {
        const auto table = tableSectorFor(sector);
        if (!table || *table > kLastSector) return std::nullopt;
        return number(startOf(*table) + 4 * (sector % (sectorSize_ / 4)));
    }

    [[nodiscard]] bool isStream(std::size_t entry, std::string_view name) const {
        if (entry > bytes_.size() || bytes_.size() - entry < kEntrySize) return false;
        const auto field = bytes_.subspan(entry, kEntrySize);
        const std::size_t length = std::size_t{field[64]} | std::size_t{field[65]} << 8;
        if (field[66] != 2 || length != 2 * (name.size() + 1) || length > 64) return false;
        for (std::size_t i = 0; i < name.size(); ++i) {
            if (field[2 * i] != static_cast<std::uint8_t>(name[i]) || field[2 * i + 1] != 0) return false;
        }
        return true;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t sectorSize_ = 0;
};

}  // namespace

bool isCompoundFile(std::span<const std::uint8_t> bytes) noexcept {
    return bytes.size() >= kSignature.size() && std::equal(kSignature.begin(), kSignature.end(), bytes.begin());
}

bool compoundFileHasStream(std::span<const std::uint8_t> bytes, std::string_view name) noexcept {
    return isCompoundFile(bytes) && Reader(bytes).hasStream(name);
}

}  // namespace quarry
