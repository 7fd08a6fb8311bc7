// What the extension and the worker say to each other, in the machine's own byte order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quarry::web::hook {

inline constexpr std::size_t kLongestAddress = 65536;
inline constexpr std::size_t kLongestDataAddress = 64;

/// Followed by the address and the address that redirected to it.
struct Question {
    std::uint64_t page = 0;
    std::uint32_t addressLength = 0;
    std::uint32_t redirectLength = 0;
};

/// Followed by the address to load instead, empty as a rule.
struct Answer {
    std::uint32_t allowed = 0;
    std::uint32_t addressLength = 0;
};

}  // namespace quarry::web::hook
