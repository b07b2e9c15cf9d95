#include "links/NetworkManagerActions.h"

#include "foundation/Log.h"

namespace corvane {

namespace {

constexpr const char* kName = "org.freedesktop.NetworkManager";
constexpr const char* kPath = "/org/freedesktop/NetworkManager";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

} // namespace

NetworkManagerActions::NetworkManagerActions(GDBusConnection* bus, PrivilegedActions& next)
    : bus_(GObjectRef<GDBusConnection>::share(bus))
    , next_(next) {}

Value NetworkManagerActions::perform(const std::string& message, const Value& argument) {
    const bool network =
        message == "refreshDHCP" || message == "toggleAirPortPower" || message == "setNetworkSet";
    if (!network)
        return next_.perform(message, argument);
    CVBLog("Daemon: %s %s accepted; carrying it out", message.c_str(),
           argument.description().c_str());
    if (message == "refreshDHCP")
        refreshDHCP(argument.stringValue());
    else if (message == "toggleAirPortPower")
        toggleRadio();
    else
        CVBLog("Daemon: network location %s not set; this system has no locations",
               argument.description().c_str());
    return Value::dict();
}

VariantRef NetworkManagerActions::call(const char* path, const char* interface, const char* method,
                                       GVariant* parameters, const char* replyType,
                                       const std::string& what) {
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        bus_.get(), kName, path, interface, method, parameters, G_VARIANT_TYPE(replyType),
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMilliseconds, nullptr, error.out()));
    if (!reply)
        CVBLog("Daemon: %s: NetworkManager's %s failed: %s", what.c_str(), method, error.message());
    return reply;
}

std::optional<std::string> NetworkManagerActions::objectProperty(const char* path,
                                                                 const char* interface,
                                                                 const char* name,
                                                                 const std::string& what) {
    const VariantRef reply =
        call(path, kProperties, "Get", g_variant_new("(ss)", interface, name), "(v)", what);
    if (!reply)
        return std::nullopt;
    VariantRef boxed(g_variant_get_child_value(reply.get(), 0));
    VariantRef value(g_variant_get_variant(boxed.get()));
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_OBJECT_PATH)) {
        CVBLog("Daemon: %s: NetworkManager's %s is no object path", what.c_str(), name);
        return std::nullopt;
    }
    return std::string(g_variant_get_string(value.get(), nullptr));
}

void NetworkManagerActions::refreshDHCP(const std::string& interface) {
    const std::string what = "renewing the lease of " + interface;
    const VariantRef device = call(kPath, kName, "GetDeviceByIpIface",
                                   g_variant_new("(s)", interface.c_str()), "(o)", what);
    if (!device)
        return;
    const char* devicePath = nullptr;
    g_variant_get(device.get(), "(&o)", &devicePath);
    const auto active = objectProperty(devicePath, "org.freedesktop.NetworkManager.Device",
                                       "ActiveConnection", what);
    if (!active)
        return;
    if (*active == "/") {
        CVBLog("Daemon: %s: it has no active connection", what.c_str());
        return;
    }
    const auto connection = objectProperty(
        active->c_str(), "org.freedesktop.NetworkManager.Connection.Active", "Connection", what);
    if (!connection)
        return;
    if (call(kPath, kName, "ActivateConnection",
             g_variant_new("(ooo)", connection->c_str(), devicePath, "/"), "(o)", what))
        CVBLog("Daemon: %s: its connection is activated again", what.c_str());
}

void NetworkManagerActions::toggleRadio() {
    const std::string what = "switching the Wi-Fi radio";
    const VariantRef reply = call(kPath, kProperties, "Get",
                                  g_variant_new("(ss)", kName, "WirelessEnabled"), "(v)", what);
    if (!reply)
        return;
    VariantRef boxed(g_variant_get_child_value(reply.get(), 0));
    VariantRef value(g_variant_get_variant(boxed.get()));
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN)) {
        CVBLog("Daemon: %s: WirelessEnabled is no boolean", what.c_str());
        return;
    }
    const bool on = !g_variant_get_boolean(value.get());
    if (call(kPath, kProperties, "Set",
             g_variant_new("(ssv)", kName, "WirelessEnabled", g_variant_new_boolean(on)), "()",
             what))
        CVBLog("Daemon: the Wi-Fi radio is switched %s", on ? "on" : "off");
}

} // namespace corvane
