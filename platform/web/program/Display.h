// A display that shows nothing: as much of Wayland as a toolkit asks for before it draws.
#pragma once

#include <string>

namespace quarry::web {

/// Serves a Wayland display on a thread of its own and points the toolkit at it. `folder` becomes XDG_RUNTIME_DIR.
/// False when the socket cannot be made.
[[nodiscard]] bool startWaylandDisplay(const std::string& folder);

/// Starts Xvfb as a child and points the toolkit at it. False when it is not installed or does not come up.
[[nodiscard]] bool startXvfb();

}  // namespace quarry::web
