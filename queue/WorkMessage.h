// What a message of work holds: one request, or a part of a file of requests.
#pragma once

#include "tools/batch/Request.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quarry::queue {

/// Lines of a file that every worker can read.
struct Shard {
    std::string path;          ///< absolute, bytes
    std::uint64_t offset = 0;  ///< of the first line, in bytes
    std::uint64_t length = 0;  ///< of all of them
    std::uint64_t first = 0;   ///< number of the first line, from 1 on
};

/// {"shard": PATH, "offset": N, "length": N, "first": N}
[[nodiscard]] std::string messageOf(const Shard& shard);

/// {"id": ..., "op": NAME, "path": PATH, ...} as `quarry batch` reads it.
[[nodiscard]] std::string messageOf(const tools::BatchRequest& request);

/// nullopt when the message is a request, or nothing of ours.
[[nodiscard]] std::optional<Shard> shardOf(std::string_view message);

/// A name that the same message has again: for what is submitted twice.
[[nodiscard]] std::string identifierOf(std::string_view job, std::string_view message);

}  // namespace quarry::queue
