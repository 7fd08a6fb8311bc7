// What both sides of a connection do before the first message. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"

#include <gio/gio.h>

namespace halden {

/// The stream of a connected socket. Takes the descriptor, also when it fails (a null pointer).
[[nodiscard]] GPointer<GIOStream> streamFromSocket(int descriptor);

/// Allows the one mechanism by which the system itself vouches for the peer. (Another one would write cookies to the
/// user's home folder.)
[[nodiscard]] GPointer<GDBusAuthObserver> newAuthObserver();

}  // namespace halden
