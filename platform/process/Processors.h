// What the machine computes with.
#pragma once

namespace halden {

/// 64 on a machine with 64-bit addresses, else 32.
[[nodiscard]] int numberOfBits() noexcept;

/// The processors that the machine has; never below 1.
[[nodiscard]] int numberOfCPUs() noexcept;

/// The processors that are switched on now; never below 1.
[[nodiscard]] int numberOfAvailableCPUs() noexcept;

}  // namespace halden
