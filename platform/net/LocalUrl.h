// Whether what an address names is on this machine or next to it.
#pragma once

#include "foundation/Url.h"

#include <cstdint>

namespace halden {

/// Flags of a host, of those that say how it can be reached.
inline constexpr std::uint32_t kHostIsReachable = 0x2;
inline constexpr std::uint32_t kHostIsLocalAddress = 0x10000;  ///< an address of this machine
inline constexpr std::uint32_t kHostIsDirect = 0x20000;        ///< on a network that this machine is on: no gateway

/// The flags of a host by its name or its address (an IPv6 one without brackets), as UTF-8; 0 when they cannot be had,
/// because the name is not known, the look-up takes longer than a second, or there is no route.
///
/// Of a host with several addresses the flags that hold for every one of them: which one will be used is not known.
/// Names are remembered for some seconds. Thread-safe.
[[nodiscard]] std::uint32_t connectionFlagsForHost(const char* host);

/// Whether the address is that of a file, has no host, or has one that is this machine's own or directly connected.
[[nodiscard]] bool isLocalURL(const Url& url);

}  // namespace halden
