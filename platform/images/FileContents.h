// The bytes of a picture's file.
#pragma once

#include "foundation/Data.h"
#include "foundation/Path.h"

#include <optional>
#include <string_view>

namespace halden {

/// The file's bytes; nullopt when it cannot be read. Small files are read: it costs little, and who shortens one
/// meanwhile does no harm. Larger ones are mapped, so that only what is needed of them is read.
inline std::optional<Data> contentsOfImageFile(std::u16string_view path) {
    constexpr std::size_t kMaxReadSize = std::size_t{1} * 1024 * 1024;
    const auto bytes = pathBytesFromString(path);
    if (!bytes) return std::nullopt;
    auto data = Data::contentsOfFile(*bytes, kMaxReadSize);
    return data ? data : Data::mappedContentsOfFile(*bytes);
}

}  // namespace halden
