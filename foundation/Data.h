// Immutable bytes, shared between copies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// A block of bytes that never changes. Copying a Data shares the block; the last owner frees it.
///
/// The bytes may lie on the heap, in a mapped file or in memory that somebody else owns; a mapped file must not be
/// truncated by another process while a Data refers to it (use `contentsOfFile` for files that may change).
/// Thread-safe as far as reading goes.
class Data {
public:
    /// No bytes.
    Data() noexcept = default;

    /// Takes over `bytes` without copying them.
    explicit Data(std::vector<std::uint8_t> bytes);

    /// A copy of `bytes`.
    [[nodiscard]] static Data copying(std::span<const std::uint8_t> bytes);
    [[nodiscard]] static Data copying(std::string_view bytes);

    /// A view of memory that `owner` keeps alive; nothing is copied.
    [[nodiscard]] static Data sharing(std::shared_ptr<const void> owner, const std::uint8_t* bytes,
                                      std::size_t length) noexcept;

    /// The whole file, read into memory; nullopt when it cannot be read, is no regular file, or exceeds `limit` bytes.
    [[nodiscard]] static std::optional<Data> contentsOfFile(const std::string& path, std::size_t limit = SIZE_MAX);

    /// The file mapped read-only and privately; nullopt as for `contentsOfFile`.
    [[nodiscard]] static std::optional<Data> mappedContentsOfFile(const std::string& path);

    [[nodiscard]] const std::uint8_t* bytes() const noexcept { return bytes_; }
    [[nodiscard]] std::size_t length() const noexcept { return length_; }
    [[nodiscard]] bool empty() const noexcept { return length_ == 0; }
    [[nodiscard]] std::span<const std::uint8_t> span() const noexcept { return {bytes_, length_}; }
    [[nodiscard]] std::string_view view() const noexcept { return {reinterpret_cast<const char*>(bytes_), length_}; }

    /// The `length` bytes from `offset`, sharing this block. The range is cut to the bytes that exist.
    [[nodiscard]] Data subdata(std::size_t offset, std::size_t length) const noexcept;

    friend bool operator==(const Data& a, const Data& b) noexcept;

private:
    std::shared_ptr<const void> owner_;
    const std::uint8_t* bytes_ = nullptr;
    std::size_t length_ = 0;
};

}  // namespace halden
