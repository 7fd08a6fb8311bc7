// Bytes in the letters of RFC 4648.
#pragma once

#include "foundation/Data.h"

#include <optional>
#include <string_view>

namespace halden::operations {

/// The bytes of base-64 `text`, padded or not; nullopt when it holds anything else, white space included.
[[nodiscard]] std::optional<Data> dataFromBase64(std::u16string_view text);

}  // namespace halden::operations
