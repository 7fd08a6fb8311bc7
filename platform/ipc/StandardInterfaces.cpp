#include "platform/ipc/StandardInterfaces.h"

#include "platform/ipc/RootObject.h"

#include <string_view>

namespace halden {
namespace {

constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kBusInterface = "org.freedesktop.DBus";

// The names that the two ends of a direct connection bear, for those who want names.
constexpr const char* kServerName = ":1.0";
constexpr const char* kClientName = ":1.1";

constexpr const char* kIntrospection = R"xml(<node>
  <interface name="org.quarry.RootObject1">
    <method name="RespondsToSelector">
      <arg name="selector" type="s" direction="in"/>
      <arg name="responds" type="b" direction="out"/>
    </method>
    <property name="Version" type="s" access="read">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="const"/>
    </property>
  </interface>
  <interface name="org.quarry.Busy1">
    <method name="StillBusy">
      <arg name="busy" type="b" direction="out"/>
    </method>
  </interface>
  <interface name="org.freedesktop.DBus">
    <method name="Hello">
      <arg name="name" type="s" direction="out"/>
    </method>
    <method name="AddMatch">
      <arg name="rule" type="s" direction="in"/>
    </method>
    <method name="RemoveMatch">
      <arg name="rule" type="s" direction="in"/>
    </method>
    <method name="GetNameOwner">
      <arg name="name" type="s" direction="in"/>
      <arg name="owner" type="s" direction="out"/>
    </method>
    <method name="NameHasOwner">
      <arg name="name" type="s" direction="in"/>
      <arg name="owned" type="b" direction="out"/>
    </method>
    <method name="ListNames">
      <arg name="names" type="as" direction="out"/>
    </method>
  </interface>
</node>)xml";

GDBusInterfaceInfo* interfaceInfo(const char* name) {
    // Parsed once and kept for life: connections refer to it.
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(kIntrospection, nullptr);
    return g_dbus_node_info_lookup_interface(node, name);
}

GVariant* answerTo(std::string_view method) {
    if (method == "Hello") return g_variant_new("(s)", kClientName);
    if (method == "GetNameOwner") return g_variant_new("(s)", kServerName);
    if (method == "NameHasOwner") return g_variant_new("(b)", TRUE);
    if (method == "ListNames") {
        const char* const names[] = {kBusInterface, kServerName, kClientName, nullptr};
        return g_variant_new("(^as)", names);
    }
    return nullptr;  // AddMatch, RemoveMatch: nothing is ever signalled
}

void handleBusCall(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant*,
                   GDBusMethodInvocation* invocation, gpointer) {
    g_dbus_method_invocation_return_value(invocation, answerTo(method));
}

}  // namespace

GDBusInterfaceInfo* rootObjectInterfaceInfo() {
    return interfaceInfo(kRootObjectInterface);
}

GDBusInterfaceInfo* busyInterfaceInfo() {
    return interfaceInfo(kBusyInterface);
}

guint registerBusStandIn(GDBusConnection* connection) {
    static const GDBusInterfaceVTable kTable = {handleBusCall, nullptr, nullptr, {}};
    return g_dbus_connection_register_object(connection, kBusPath, interfaceInfo(kBusInterface), &kTable, nullptr,
                                             nullptr, nullptr);
}

}  // namespace halden
