// The interfaces that every root object has beside its protocol, and the little that D-Bus tools ask of a peer. Private
// to platform/ipc.
#pragma once

#include <gio/gio.h>

namespace halden {

/// org.quarry.RootObject1: RespondsToSelector(s) -> b, and the property Version.
[[nodiscard]] GDBusInterfaceInfo* rootObjectInterfaceInfo();

/// org.quarry.Busy1: StillBusy() -> b.
[[nodiscard]] GDBusInterfaceInfo* busyInterfaceInfo();

/// Answers what clients that are made for a message bus ask first (Hello and the like), so that they can be used on a
/// direct connection. Dispatched on the caller's thread-default context. Returns the registration's number, or 0.
guint registerBusStandIn(GDBusConnection* connection);

}  // namespace halden
