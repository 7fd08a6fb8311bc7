// How the results of a batch are packed.
#pragma once

#include <cstdint>

namespace quarry::tools {

enum class ShardCompression : std::uint8_t { none, gzip, zstd };

}  // namespace quarry::tools
