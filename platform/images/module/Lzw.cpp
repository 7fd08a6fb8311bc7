#include "platform/images/module/Lzw.h"

#include <array>

namespace halden::images {
namespace {

constexpr std::uint32_t kClear = 256;
constexpr std::uint32_t kEnd = 257;
constexpr std::uint32_t kFirst = 258;
constexpr std::uint32_t kFull = 4094;  // as many codes as the table may have before it is cleared
constexpr int kLeastWidth = 9;

/// Codes of strings, by the code of the string before the last byte, and that byte. Open addressing, half full at most.
class StringTable {
public:
    StringTable() { clear(); }
    void clear() noexcept { slots_.fill(kEmpty); }

    /// The slot of the string, or the empty one where it belongs.
    [[nodiscard]] std::uint32_t& slotOf(std::uint32_t string) noexcept {
        std::uint32_t place = string * 0x9E3779B1U >> (32 - kBits);
        while (slots_[place] != kEmpty && slots_[place] >> 12 != string)
            place = (place + 1) & (kCount - 1);
        return slots_[place];
    }
    [[nodiscard]] static bool isEmpty(std::uint32_t slot) noexcept { return slot == kEmpty; }
    [[nodiscard]] static std::uint32_t codeIn(std::uint32_t slot) noexcept { return slot & 0xFFF; }
    [[nodiscard]] static std::uint32_t slotWith(std::uint32_t string, std::uint32_t code) noexcept {
        return string << 12 | code;
    }

private:
    static constexpr int kBits = 13;
    static constexpr std::uint32_t kCount = 1U << kBits;
    static constexpr std::uint32_t kEmpty = UINT32_MAX;  // the code 4095 is never given

    std::array<std::uint32_t, kCount> slots_;
};

class CodeWriter {
public:
    /// Room for `count` bytes of data: no code is wider than 12 bits, and each stands for a byte at least, but for
    /// those that clear the table and the last.
    explicit CodeWriter(std::size_t count) : bytes_(count + count / 2 + count / 1024 + 32), place_(bytes_.data()) {}

    void put(std::uint32_t code) noexcept {
        pending_ = pending_ << width_ | code;
        count_ += width_;
        if (count_ < 32) return;
        count_ -= 32;
        const auto four = static_cast<std::uint32_t>(pending_ >> count_);
        for (int shift = 24; shift >= 0; shift -= 8)
            *place_++ = static_cast<std::uint8_t>(four >> shift);
    }
    /// To be called after each code, with the number that the next string gets.
    void widenFor(std::uint32_t next) noexcept { width_ += static_cast<int>(next >> width_ != 0); }
    void narrow() noexcept { width_ = kLeastWidth; }

    [[nodiscard]] std::vector<std::uint8_t> take() {
        for (; count_ > 0; count_ -= 8)
            *place_++ = static_cast<std::uint8_t>(count_ >= 8 ? pending_ >> (count_ - 8) : pending_ << (8 - count_));
        bytes_.resize(static_cast<std::size_t>(place_ - bytes_.data()));
        return std::move(bytes_);
    }

private:
    std::vector<std::uint8_t> bytes_;
    std::uint8_t* place_;
    std::uint64_t pending_ = 0;
    int count_ = 0;  // bits of it that are not written yet, the lowest ones
    int width_ = kLeastWidth;
};

}  // namespace

std::vector<std::uint8_t> lzwEncoded(std::span<const std::uint8_t> bytes) {
    CodeWriter writer(bytes.size());
    writer.put(kClear);
    StringTable table;
    std::uint32_t next = kFirst;
    const auto isFull = [&] {
        if (++next < kFull) {
            writer.widenFor(next);
            return false;
        }
        writer.put(kClear);
        writer.narrow();
        next = kFirst;
        return true;
    };
    if (!bytes.empty()) {
        std::uint32_t prefix = bytes.front();
        for (const std::uint8_t byte : bytes.subspan(1)) {
            const std::uint32_t string = prefix << 8 | byte;
            std::uint32_t& slot = table.slotOf(string);
            if (!StringTable::isEmpty(slot)) {
                prefix = StringTable::codeIn(slot);
                continue;
            }
            slot = StringTable::slotWith(string, next);
            writer.put(prefix);
            if (isFull()) table.clear();
            prefix = byte;
        }
        writer.put(prefix);
        (void)isFull();
    }
    writer.put(kEnd);
    return writer.take();
}

}  // namespace halden::images
