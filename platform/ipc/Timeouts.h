// Time-outs as they are set on one thread and used on another. Private to platform/ipc.
#pragma once

#include <algorithm>
#include <atomic>

namespace halden {

/// Seconds; 0 means for ever.
struct Timeouts {
    std::atomic<double> request;
    std::atomic<double> reply;
};

/// What a time-out may be: not negative, and not so long that it overflows a clock. NaN is for ever.
[[nodiscard]] inline double checkedTimeout(double seconds) noexcept {
    constexpr double kYear = 365.0 * 86400.0;
    return seconds > 0 ? std::min(seconds, kYear) : 0.0;
}

}  // namespace halden
