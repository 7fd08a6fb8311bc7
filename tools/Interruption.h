// Ctrl-C, a termination request, a closed terminal.
#pragma once

#include <functional>

namespace quarry::tools {

/// While one of these exists, SIGINT, SIGTERM, SIGHUP and SIGQUIT first have `cleanUp` run, on a thread of its own, and
/// then end the process as they would have anyway. Signals that were ignored stay ignored. One at a time.
///
/// With `finishSoon`, the first of them has that called instead and nothing else; it may come from the same thread.
class Interruption {
public:
    explicit Interruption(std::function<void()> cleanUp, std::function<void()> finishSoon = {});
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Does not return once a signal has come: the process is about to end, and what fails from now on fails for that
    /// reason.
    static void stopHereWhenInterrupted();
};

}  // namespace quarry::tools
