#include "status/BusConnection.h"

#include "foundation/Log.h"

#include <stdexcept>

namespace corvane {

std::string sessionBusAddress(std::string& error) {
    GErrorHolder failure;
    std::string address =
        takeGString(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, failure.out()));
    if (address.empty())
        error = failure.message();
    return address;
}

GObjectRef<GDBusConnection> openPrivateConnection(const std::string& address, std::string& error) {
    GErrorHolder failure;
    auto connection = GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, failure.out()));
    if (!connection)
        error = failure.message();
    else
        g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    return connection;
}

bool requestBusName(GDBusConnection* connection, const std::string& name, std::string& error) {
    constexpr guint32 kDoNotQueue = 4;
    constexpr guint32 kPrimaryOwner = 1;
    GErrorHolder failure;
    VariantRef reply(g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", name.c_str(), kDoNotQueue), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, failure.out()));
    if (!reply) {
        error = failure.message();
        return false;
    }
    guint32 result = 0;
    g_variant_get(reply.get(), "(u)", &result);
    if (result != kPrimaryOwner)
        error = "the name has another owner";
    return result == kPrimaryOwner;
}

NodeInfo parseNodeInfo(const char* xml) {
    GErrorHolder failure;
    NodeInfo info(g_dbus_node_info_new_for_xml(xml, failure.out()));
    if (!info || !info->interfaces || !info->interfaces[0])
        throw std::logic_error(std::string("bad introspection data: ") + failure.message());
    return info;
}

ConnectionId exportObject(GDBusConnection* connection, const std::string& path,
                          const NodeInfo& info, const GDBusInterfaceVTable& vtable, void* self) {
    GErrorHolder failure;
    const guint id = g_dbus_connection_register_object(
        connection, path.c_str(), info->interfaces[0], &vtable, self, nullptr, failure.out());
    if (!id)
        CVBLog("Cannot offer %s at %s on the bus: %s", info->interfaces[0]->name, path.c_str(),
               failure.message());
    return {connection, id, ConnectionId::Kind::Object};
}

void returnInvalidArguments(GDBusMethodInvocation* invocation, const std::string& message) {
    g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.InvalidArgs",
                                               message.c_str());
}

} // namespace corvane
