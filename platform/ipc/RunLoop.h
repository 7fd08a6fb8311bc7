// The run loop of a thread.
#pragma once

#include <string_view>

using GMainContext = struct _GMainContext;

namespace halden {

/// The GLib main context of the current thread (its thread-default one, else the process's default one), as something
/// that runs. Requests of a `Connection` are dispatched by the thread that runs the default one.
class RunLoop {
public:
    [[nodiscard]] static RunLoop currentRunLoop() noexcept;

    /// Runs until `stop` is called. May be entered again, and from within itself.
    void run() const;

    /// Runs for `seconds`, not less: sources are dispatched as they become ready, and otherwise the thread sleeps. With
    /// 0 or less, what is ready already is dispatched once.
    void runForTimeInterval(double seconds) const;

    /// Runs once in `mode`: returns true as soon as a source was dispatched, or when `seconds` are over. False when the
    /// loop cannot be run in that mode (it has but one, "NSDefaultRunLoopMode" or "kCFRunLoopDefaultMode"), or the
    /// seconds make no date (they are infinite, or no number).
    bool runMode(std::u16string_view mode, double seconds) const;

    /// Makes the innermost `run` of this loop return; callable from any thread, and from a dispatched source. Has no
    /// effect on `runForTimeInterval`, nor on a `run` that has not begun.
    void stop() const;

    [[nodiscard]] GMainContext* context() const noexcept { return context_; }

private:
    explicit RunLoop(GMainContext* context) noexcept : context_(context) {}
    GMainContext* context_;
};

/// The same on the current thread's run loop.
void runForTimeInterval(double seconds);
bool runMode(std::u16string_view mode, double seconds);

}  // namespace halden
