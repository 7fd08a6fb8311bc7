// Shows which optional methods a framework asks for.
#pragma once

#include <memory>
#include <string_view>

namespace quarry {

/// An object to be set as a delegate or a data source: it understands nothing, and logs the name of every selector that
/// it is asked about and does not respond to.
class RespondsToListener {
public:
    /// The shared instance, made on first use and kept: it may be set where nobody holds it.
    [[nodiscard]] static std::shared_ptr<RespondsToListener> sharedInstance();

    virtual ~RespondsToListener() = default;

    /// Answers as the base class does, which responds to "respondsToSelector:" alone, and logs `selector` when the
    /// answer is false.
    virtual bool respondsToSelector(std::u16string_view selector);
};

}  // namespace quarry
