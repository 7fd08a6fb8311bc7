// The one object that a process vends over its connection.
#pragma once

#include "platform/ipc/Protocol.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

inline constexpr const char* kRootObjectPath = "/QuarryHelper";
inline constexpr const char* kRootObjectInterface = "org.quarry.RootObject1";
inline constexpr const char* kBusyInterface = "org.quarry.Busy1";

/// What clients see of a process: a protocol and its implementation, whether a selector is understood, and, when the
/// process works in the background, whether it is still busy.
///
/// Generated code derives from it (`HaldenImExportRootObject`). Everything is called on the main context's thread, one
/// call at a time unless an operation iterates the run loop.
class RootObject {
public:
    /// `protocol` must outlive the object.
    explicit RootObject(const Protocol& protocol) noexcept : protocol_(protocol) {}
    RootObject(const RootObject&) = delete;
    RootObject& operator=(const RootObject&) = delete;
    virtual ~RootObject() = default;

    [[nodiscard]] const Protocol& protocol() const noexcept { return protocol_; }

    /// Carries out method number `method` of the protocol. `arguments` have the number and the types that the protocol
    /// says. nullopt is nil. May throw anything: the exception travels to the caller.
    [[nodiscard]] virtual std::optional<Value> invoke(std::size_t method, const Arguments& arguments) = 0;

    /// True for the selectors of the protocol, "respondsToSelector:", and "stillBusy" when that is vended.
    [[nodiscard]] virtual bool respondsToSelector(std::string_view selector) const;

    /// Vends `stillBusy`, in an interface of its own. Without it clients find that the object does not respond to it.
    /// To be set before the object is given to a connection.
    void setStillBusy(std::function<bool()> stillBusy) { stillBusy_ = std::move(stillBusy); }
    [[nodiscard]] const std::function<bool()>& stillBusy() const noexcept { return stillBusy_; }

    /// What the Version property says: the version of this system.
    [[nodiscard]] virtual std::string version() const;

private:
    const Protocol& protocol_;
    std::function<bool()> stillBusy_;
};

}  // namespace halden
