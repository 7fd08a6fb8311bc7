#include "platform/ipc/DBusErrors.h"

#include "foundation/Unicode.h"
#include "platform/ipc/GPointer.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace halden {
namespace {

struct ErrorName {
    const char* name;
    ConnectionFailure failure;
};

constexpr const char* kRaised = "org.quarry.Error.Raised";

// Between name and reason. No exception's name holds it.
constexpr std::string_view kNameEnd = ": ";

// The first name of a failure is the one it is sent with.
constexpr std::array kErrorNames = {
    ErrorName{"org.quarry.Error.TooLarge", ConnectionFailure::tooLarge},
    ErrorName{kRaised, ConnectionFailure::raised},
    ErrorName{"org.freedesktop.DBus.Error.InvalidArgs", ConnectionFailure::badMessage},
    ErrorName{"org.freedesktop.DBus.Error.InvalidSignature", ConnectionFailure::badMessage},
    ErrorName{"org.freedesktop.DBus.Error.UnknownMethod", ConnectionFailure::unknownMethod},
    ErrorName{"org.freedesktop.DBus.Error.UnknownInterface", ConnectionFailure::unknownMethod},
    ErrorName{"org.freedesktop.DBus.Error.UnknownObject", ConnectionFailure::unknownMethod},
    ErrorName{"org.freedesktop.DBus.Error.UnknownProperty", ConnectionFailure::unknownMethod},
    ErrorName{"org.freedesktop.DBus.Error.NoReply", ConnectionFailure::timedOut},
    ErrorName{"org.freedesktop.DBus.Error.Timeout", ConnectionFailure::timedOut},
    ErrorName{"org.freedesktop.DBus.Error.Disconnected", ConnectionFailure::peerDied},
    ErrorName{"org.freedesktop.DBus.Error.AccessDenied", ConnectionFailure::refused},
};

constexpr std::size_t kMaxErrorText = std::size_t{64} << 10;

// Well-formed UTF-8 without U+0000, of bounded length: what a D-Bus string may hold.
std::string sendable(std::string_view text) {
    std::u16string units = utf16FromUtf8(text.substr(0, kMaxErrorText));
    for (std::size_t i = 0; i < units.size(); ++i) {
        const bool pair = isHighSurrogate(units[i]) && i + 1 < units.size() && isLowSurrogate(units[i + 1]);
        if (pair) {
            ++i;
        } else if (isSurrogate(units[i]) || units[i] == u'\0') {
            units[i] = kReplacementCharacter;
        }
    }
    return utf8FromUtf16(units);
}

const char* nameToSend(ConnectionFailure failure) {
    const auto isFailure = [failure](const ErrorName& entry) { return entry.failure == failure; };
    const auto found = std::find_if(kErrorNames.begin(), kErrorNames.end(), isFailure);
    return found == kErrorNames.end() ? "org.freedesktop.DBus.Error.Failed" : found->name;
}

std::string textOfError(GDBusMessage* reply) {
    GVariant* const body = g_dbus_message_get_body(reply);
    if (body == nullptr || g_variant_n_children(body) == 0) return {};
    const GPointer<GVariant> text(g_variant_get_child_value(body, 0));
    if (!g_variant_is_of_type(text.get(), G_VARIANT_TYPE_STRING)) return {};
    return g_variant_get_string(text.get(), nullptr);
}

}  // namespace

void returnFailure(GDBusMethodInvocation* invocation, const ConnectionException& exception) {
    g_dbus_method_invocation_return_dbus_error(invocation, nameToSend(exception.failure()),
                                               sendable(exception.reason()).c_str());
}

void returnRaised(GDBusMethodInvocation* invocation, const std::string& name, const std::string& reason) {
    const std::string text = sendable(std::string(name).append(kNameEnd).append(reason));
    g_dbus_method_invocation_return_dbus_error(invocation, kRaised, text.c_str());
}

ConnectionException exceptionFromReply(GDBusMessage* reply) {
    const char* const sent = g_dbus_message_get_error_name(reply);
    const std::string_view name = sent != nullptr ? sent : "";
    std::string text = textOfError(reply);
    if (name == kRaised) {
        const auto end = text.find(kNameEnd);
        if (end == std::string::npos) return ConnectionException::raised(std::move(text), {});
        return ConnectionException::raised(text.substr(0, end), text.substr(end + kNameEnd.size()));
    }
    const auto found = std::find_if(kErrorNames.begin(), kErrorNames.end(),
                                    [name](const ErrorName& entry) { return entry.name == name; });
    if (found != kErrorNames.end()) return {found->failure, std::move(text)};
    return ConnectionException::raised(std::string(name), std::move(text));
}

ConnectionException exceptionFromError(const GError* error) {
    const char* const text = error != nullptr ? error->message : "";
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) return {ConnectionFailure::timedOut, text};
    // A message that the transport itself would not take, before it was sent.
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT)) return {ConnectionFailure::badMessage, text};
    return {ConnectionFailure::peerDied, text};
}

}  // namespace halden
