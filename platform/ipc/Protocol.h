// The description of an interface: which methods there are and what they take and give.
#pragma once

#include "foundation/Value.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using GDBusInterfaceInfo = struct _GDBusInterfaceInfo;

namespace halden {

/// What an argument or a result is. A URL is a string whose contents are a URL; `value` is any property-list value.
enum class ArgumentType { flag, string, url, data, dictionary, array, value };

struct ProtocolArgument {
    std::string name;
    ArgumentType type = ArgumentType::value;
    bool nullable = false;

    /// Whether `value` is what this argument takes; nil (nullopt) only when nullable.
    [[nodiscard]] bool accepts(const std::optional<Value>& value) const noexcept;
};

struct ProtocolMethod {
    std::string member;    ///< name on the wire: "ImageWithContentsOfFile"
    std::string selector;  ///< "imageWithContentsOfFile:stringFromPDF:canUseSpotlight:"
    std::vector<ProtocolArgument> arguments;
    ProtocolArgument result;
    /// The D-Bus type of the arguments as one tuple, and of the result: "(vbb)", "(av)".
    std::string argumentSignature;
    std::string resultSignature;
};

/// The arguments of a call in the order of the method's description; nullopt is nil.
using Arguments = std::vector<std::optional<Value>>;

/// An interface, built from its introspection text. Immutable, cheap to copy, safe to share between threads.
class Protocol {
public:
    /// The interface called `interfaceName` (empty: the first one that is a protocol) in `introspection` (the D-Bus
    /// introspection format with the annotations org.quarry.Protocol, org.quarry.Selector, org.quarry.Type and
    /// org.quarry.Nullable); nullopt when the text is ill-formed, longer than 1 MiB, has no such interface, or a method
    /// of it has argument types that no property-list value has. Without annotations `b` is a flag, `v` a value, `av` a
    /// nullable value, and the selector is the member.
    [[nodiscard]] static std::optional<Protocol> fromIntrospection(std::string_view introspection,
                                                                   std::string_view interfaceName);

    [[nodiscard]] const std::string& name() const noexcept;           ///< "HaldenImExport"
    [[nodiscard]] const std::string& interfaceName() const noexcept;  ///< "org.quarry.HaldenImExport1"
    /// The methods in their documented order.
    [[nodiscard]] const std::vector<ProtocolMethod>& methods() const noexcept;

    /// The method of this wire name or of this selector; a null pointer when there is none.
    [[nodiscard]] const ProtocolMethod* methodForMember(std::string_view member) const noexcept;
    [[nodiscard]] const ProtocolMethod* methodForSelector(std::string_view selector) const noexcept;

    /// GDBus's own form of the description, which lives as long as this object or a copy of it.
    [[nodiscard]] GDBusInterfaceInfo* interfaceInfo() const noexcept;

private:
    struct Parts;
    explicit Protocol(std::shared_ptr<const Parts> parts) noexcept : parts_(std::move(parts)) {}
    std::shared_ptr<const Parts> parts_;
};

}  // namespace halden
