// One-shot timers. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"

#include <algorithm>
#include <utility>

namespace halden {

/// Calls `body` on `context` once, after `seconds`, unless the source is destroyed before.
template <class Body>
[[nodiscard]] GPointer<GSource> timer(GMainContext* context, double seconds, Body body) {
    GPointer<GSource> source(g_timeout_source_new(static_cast<guint>(std::clamp(seconds * 1000.0, 1.0, 4e9))));
    const auto call = [](gpointer pointer) -> gboolean {
        (*static_cast<Body*>(pointer))();
        return G_SOURCE_REMOVE;
    };
    const auto release = [](gpointer pointer) { delete static_cast<Body*>(pointer); };
    g_source_set_callback(source.get(), call, new Body(std::move(body)), release);
    g_source_attach(source.get(), context);
    return source;
}

}  // namespace halden
