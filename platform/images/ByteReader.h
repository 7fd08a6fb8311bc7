// Numbers out of bytes that somebody sent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace halden {

/// Reads numbers in one byte order. What lies beyond the end is zero, so that a reader need not ask before each number;
/// where zero could be mistaken for something it checks the length first.
class ByteReader {
public:
    enum class Order { big, little };

    ByteReader(std::span<const std::uint8_t> bytes, Order order) noexcept : bytes_(bytes), order_(order) {}

    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
    [[nodiscard]] std::uint8_t u8(std::size_t at) const noexcept { return at < bytes_.size() ? bytes_[at] : 0; }
    [[nodiscard]] std::uint16_t u16(std::size_t at) const noexcept {
        const unsigned first = u8(at);
        const unsigned second = u8(at + 1);
        return static_cast<std::uint16_t>(order_ == Order::big ? first << 8 | second : second << 8 | first);
    }
    [[nodiscard]] std::uint32_t u32(std::size_t at) const noexcept {
        const std::uint32_t first = u16(at);
        const std::uint32_t second = u16(at + 2);
        return order_ == Order::big ? first << 16 | second : second << 16 | first;
    }
    /// Whether `length` bytes from `at` are there.
    [[nodiscard]] bool has(std::size_t at, std::size_t length) const noexcept {
        return at <= bytes_.size() && length <= bytes_.size() - at;
    }
    /// The bytes of that range, cut to those that are there.
    [[nodiscard]] std::span<const std::uint8_t> range(std::size_t at, std::size_t length) const noexcept {
        if (at >= bytes_.size()) return {};
        return bytes_.subspan(at, length < bytes_.size() - at ? length : bytes_.size() - at);
    }

private:
    std::span<const std::uint8_t> bytes_;
    Order order_;
};

}  // namespace halden
