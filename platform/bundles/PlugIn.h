// Plug-ins: bundles whose executable makes instances of published types.
#pragma once

#include "platform/bundles/Bundle.h"
#include "platform/bundles/Uuid.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// A plug-in with its code in memory.
///
/// Which types it makes, and by which functions, stands in its Info dictionary: CFPlugInFactories maps a factory's
/// identifier to the name of a function of the executable, CFPlugInTypes maps a type's identifier to one factory or
/// an array of them. Loaded code is never unloaded: instances may outlive the plug-in.
class PlugIn {
public:
    /// A factory function: makes an instance of the type (its first word points to a table of functions), or returns
    /// null. The allocator is always null.
    using Factory = void* (*)(void* allocator, Uuid type);

    /// Opens the bundle at `path` and loads its executable. Null, with the reason as a debug message in the log, when
    /// there is no bundle, when it does not pass its preflight, or when the loader refuses it.
    [[nodiscard]] static std::unique_ptr<PlugIn> plugInWithPath(std::u16string_view path);

    PlugIn(const PlugIn&) = delete;
    PlugIn& operator=(const PlugIn&) = delete;

    /// The factories that the Info dictionary names for `type`, in its order.
    [[nodiscard]] std::vector<Uuid> factoriesForPlugInType(const Uuid& type) const;

    /// What the function of `factory` makes of `type`; null when the factory has no function, the executable does not
    /// have it, or it makes nothing.
    [[nodiscard]] void* createInstance(const Uuid& factory, const Uuid& type) const;

private:
    PlugIn(Bundle bundle, void* library) : bundle_(std::move(bundle)), library_(library) {}

    [[nodiscard]] std::optional<std::string> functionOfFactory(const Uuid& factory) const;

    Bundle bundle_;
    void* library_;
};

}  // namespace halden
