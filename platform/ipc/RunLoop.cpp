#include "platform/ipc/RunLoop.h"

#include "platform/ipc/GPointer.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

namespace halden {
namespace {

// How many runs of a context are to end, and how many are under way.
struct Runs {
    int depth = 0;
    int stops = 0;
};

std::mutex runsMutex;
std::map<GMainContext*, Runs>& runs() {
    static auto* const table = new std::map<GMainContext*, Runs>;
    return *table;
}

// While a context is ours, sources that other threads attach wait for us instead of being dispatched over there between
// two of our iterations.
class AcquiredContext {
public:
    explicit AcquiredContext(GMainContext* context) : context_(context), owned_(g_main_context_acquire(context)) {}
    AcquiredContext(const AcquiredContext&) = delete;
    AcquiredContext& operator=(const AcquiredContext&) = delete;
    ~AcquiredContext() {
        if (owned_) g_main_context_release(context_);
    }

private:
    GMainContext* context_;
    bool owned_;
};

bool takeStop(GMainContext* context) {
    const std::lock_guard lock(runsMutex);
    Runs& entry = runs()[context];
    if (entry.stops == 0) return false;
    --entry.stops;
    return true;
}

class CountedRun {
public:
    explicit CountedRun(GMainContext* context) : context_(context) {
        const std::lock_guard lock(runsMutex);
        ++runs()[context_].depth;
    }
    CountedRun(const CountedRun&) = delete;
    CountedRun& operator=(const CountedRun&) = delete;
    ~CountedRun() {
        const std::lock_guard lock(runsMutex);
        if (--runs()[context_].depth == 0) runs().erase(context_);
    }

private:
    GMainContext* context_;
};

gboolean wake(gpointer) {
    return G_SOURCE_CONTINUE;
}

}  // namespace

RunLoop RunLoop::currentRunLoop() noexcept {
    GMainContext* const context = g_main_context_get_thread_default();
    return RunLoop(context != nullptr ? context : g_main_context_default());
}

void RunLoop::run() const {
    const AcquiredContext acquired(context_);
    const CountedRun counted(context_);
    while (!takeStop(context_))
        g_main_context_iteration(context_, TRUE);
}

void RunLoop::runForTimeInterval(double seconds) const {
    const AcquiredContext acquired(context_);
    // A year is for ever, and keeps the sum below from overflowing.
    const double limited = std::clamp(seconds, 0.0, 365.0 * 86400.0);
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(limited * G_USEC_PER_SEC);
    GPointer<GSource> alarm(g_timeout_source_new(G_MAXUINT));
    g_source_set_callback(alarm.get(), wake, nullptr, nullptr);
    g_source_set_ready_time(alarm.get(), end);
    g_source_attach(alarm.get(), context_);
    do {
        g_main_context_iteration(context_, limited > 0);
    } while (g_get_monotonic_time() < end);
}

void RunLoop::stop() const {
    {
        const std::lock_guard lock(runsMutex);
        const auto entry = runs().find(context_);
        if (entry == runs().end() || entry->second.stops >= entry->second.depth) return;
        ++entry->second.stops;
    }
    g_main_context_wakeup(context_);
}

bool RunLoop::runMode(std::u16string_view mode, double seconds) const {
    if (!std::isfinite(seconds) || (mode != u"NSDefaultRunLoopMode" && mode != u"kCFRunLoopDefaultMode")) return false;
    const AcquiredContext acquired(context_);
    if (seconds <= 0) {
        g_main_context_iteration(context_, FALSE);
        return true;
    }
    const GPointer<GSource> limit(g_timeout_source_new(static_cast<guint>(std::clamp(seconds * 1000.0, 1.0, 4e9))));
    g_source_set_callback(limit.get(), wake, nullptr, nullptr);
    g_source_attach(limit.get(), context_);
    g_main_context_iteration(context_, TRUE);
    return true;
}

void runForTimeInterval(double seconds) {
    RunLoop::currentRunLoop().runForTimeInterval(seconds);
}

bool runMode(std::u16string_view mode, double seconds) {
    return RunLoop::currentRunLoop().runMode(mode, seconds);
}

}  // namespace halden
