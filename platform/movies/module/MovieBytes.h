// The bytes of a movie: of a file, or in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace halden {

class MovieBytes {
public:
    virtual ~MovieBytes() = default;

    [[nodiscard]] virtual std::int64_t length() const noexcept = 0;
    /// Copies what there is from `offset` (0 at least) on into `part`; how many bytes that were, less than asked for at
    /// the end only.
    [[nodiscard]] virtual std::size_t read(std::int64_t offset, std::span<std::uint8_t> part) noexcept = 0;

    /// Null when `path` is no regular file that can be read.
    [[nodiscard]] static std::unique_ptr<MovieBytes> ofFile(const std::string& path);
    /// `bytes` must stay.
    [[nodiscard]] static std::unique_ptr<MovieBytes> ofMemory(std::span<const std::uint8_t> bytes);
};

}  // namespace halden
