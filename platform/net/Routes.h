// What the kernel's routing tables say of an address.
#pragma once

#include <sys/socket.h>

#include <cstdint>

namespace halden {

/// How packets to `address` (IPv4 or IPv6) would leave: flags of LocalUrl.h, 0 when there is no route or the kernel
/// does not say.
[[nodiscard]] std::uint32_t flagsOfRouteTo(const sockaddr* address);

}  // namespace halden
