#include "importers/system/Mobi/Huffman.h"

#include "importers/system/Mobi/PalmDatabase.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quarry::mobi {
namespace {

constexpr int kMaxDepth = 20;  // words within words
constexpr std::uint64_t kMaxSteps = std::uint64_t{16} << 20;
constexpr int kLongest = 32;  // bits of a code

/// What it takes to unpack a word, and what comes out.
struct Cost {
    std::uint64_t steps = 0, bytes = 0;

    [[nodiscard]] bool isFair() const { return steps <= 4 + 40 * bytes; }
};

class Dictionary {
public:
    /// False when the tables lie outside the records.
    bool read(std::span<const std::string_view> records) {
        return !records.empty() && readCodes(records[0]) &&
               std::ranges::all_of(records.subspan(1), [this](std::string_view record) { return readWords(record); });
    }
    bool isHarmless() {
        costs_.resize(words_.size());
        isOpen_.resize(words_.size());
        for (std::size_t i = 0; i < words_.size(); ++i) {
            if (!costOf(i, 0)) return false;
        }
        return true;
    }

private:
    struct Word {
        std::string_view bytes;
        bool isPlain = false;
    };

    bool readCodes(std::string_view record) {
        const std::size_t first = number32(record, 8), second = number32(record, 12);
        const auto isInside = [&](std::size_t place, std::size_t length) {
            return place <= record.size() && length <= record.size() - place;
        };
        if (!record.starts_with("HUFF") || !isInside(first, 4 * byFirstByte_.size()) ||
            !isInside(second, 8 * std::size_t{kLongest}))
            return false;
        for (std::size_t i = 0; i < byFirstByte_.size(); ++i) {
            byFirstByte_[i] = number32(record, first + 4 * i);
            if ((byFirstByte_[i] & 0x1F) == 0) return false;  // a code of no bits never ends
        }
        for (std::size_t length = 1; length <= kLongest; ++length) {
            const std::size_t shift = kLongest - length;
            least_[length] = number32(record, second + 8 * (length - 1)) << shift;
            most_[length] = static_cast<std::uint32_t>(
                ((std::uint64_t{number32(record, second + 8 * (length - 1) + 4)} + 1) << shift) - 1);
        }
        return true;
    }

    bool readWords(std::string_view record) {
        constexpr std::size_t kHeader = 16;
        if (!record.starts_with("CDIC") || record.size() < kHeader) return false;
        const std::size_t all = number32(record, 8), bits = number32(record, 12);
        if (bits > 16) return false;
        const std::size_t count = std::min(std::size_t{1} << bits, all - std::min(all, words_.size()));
        if (count * 2 > record.size() - kHeader) return false;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t place = kHeader + number16(record, kHeader + 2 * i);
            if (place + 2 > record.size()) return false;
            const std::size_t length = number16(record, place);
            const std::string_view bytes = record.substr(place + 2, length & 0x7FFF);
            if (bytes.size() < (length & 0x7FFF)) return false;
            words_.push_back({bytes, (length & 0x8000) != 0});
        }
        return true;
    }

    /// nullopt for a word that holds itself, or takes too long for what it gives.
    std::optional<Cost> costOf(std::size_t index, int depth) {
        if (costs_[index]) return costs_[index];
        if (isOpen_[index] || depth > kMaxDepth) return std::nullopt;
        isOpen_[index] = true;
        Cost cost{1, words_[index].bytes.size()};
        if (!words_[index].isPlain) {
            const auto inner = costOfWords(words_[index].bytes, depth);
            if (!inner) return std::nullopt;
            cost = {1 + inner->steps, inner->bytes};
        }
        isOpen_[index] = false;
        if (!cost.isFair()) return std::nullopt;
        costs_[index] = cost;
        return cost;
    }

    std::optional<Cost> costOfWords(std::string_view bytes, int depth) {
        Cost cost;
        const std::size_t bits = 8 * bytes.size();
        for (std::size_t bit = 0; bit < bits;) {
            if (++steps_ > kMaxSteps) return std::nullopt;
            const std::uint32_t code = codeAt(bytes, bit);
            const auto [length, most] = lengthOf(code);
            bit += static_cast<std::size_t>(length);
            if (length > kLongest || bit > bits) break;
            const std::size_t index = static_cast<std::uint32_t>(most - code) >> (kLongest - length);
            if (index >= words_.size()) break;  // where the unpacking ends, too
            const auto inner = costOf(index, depth + 1);
            if (!inner) return std::nullopt;
            cost.steps += inner->steps;
            cost.bytes += inner->bytes;
        }
        return cost;
    }

    /// The 32 bits from a bit on, zeros behind the end.
    static std::uint32_t codeAt(std::string_view bytes, std::size_t bit) {
        std::uint64_t window = 0;
        for (std::size_t i = 0; i < 5; ++i) {
            const std::size_t place = bit / 8 + i;
            window = window << 8 | (place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0U);
        }
        return static_cast<std::uint32_t>(window >> (8 - bit % 8));
    }

    struct Length {
        int bits;
        std::uint32_t most;
    };
    [[nodiscard]] Length lengthOf(std::uint32_t code) const {
        const std::uint32_t entry = byFirstByte_[code >> 24];
        int length = static_cast<int>(entry & 0x1F);
        if ((entry & 0x80) != 0) return {length, (((entry >> 8) + 1) << (kLongest - length)) - 1};
        while (length <= kLongest && code < least_[static_cast<std::size_t>(length)])
            ++length;
        return {length, length <= kLongest ? most_[static_cast<std::size_t>(length)] : 0};
    }

    std::array<std::uint32_t, 256> byFirstByte_{};
    std::array<std::uint32_t, kLongest + 1> least_{}, most_{};  // of the codes of a length
    std::vector<Word> words_;
    std::vector<std::optional<Cost>> costs_;
    std::vector<bool> isOpen_;
    std::uint64_t steps_ = 0;
};

}  // namespace

bool isHarmlessDictionary(std::span<const std::string_view> records) {
    Dictionary dictionary;
    return dictionary.read(records) && dictionary.isHarmless();
}

}  // namespace quarry::mobi
