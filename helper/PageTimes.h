// How long the pages of a document may take.
#pragma once

#include <functional>

namespace quarry {

/// Tells the time, in seconds from any start.
using SecondsClock = std::function<double()>;

/// Measures the reading of pages, one after the other, against a limit.
///
/// Reading ends after a page when the time since the start and the time of that page together reach the limit: the
/// page's time counts twice, so that a slow page ends it sooner. A limit of zero or less is none, and the clock is not
/// looked at.
class PageTimes {
public:
    /// Starts the time. `clock` outlives this.
    PageTimes(double limit, const SecondsClock& clock)
        : limit_(limit), clock_(clock), start_(isLimited() ? clock() : 0) {}

    void pageBegins() {
        if (isLimited()) pageStart_ = clock_();
    }
    /// Whether the page that ends now is the last one.
    [[nodiscard]] bool isOverAfterPage() const {
        if (!isLimited()) return false;
        const double now = clock_();
        return (now - start_) + (now - pageStart_) >= limit_;
    }

private:
    [[nodiscard]] bool isLimited() const noexcept { return limit_ > 0; }

    const double limit_;
    const SecondsClock& clock_;
    const double start_;
    double pageStart_ = 0;
};

}  // namespace quarry
