#pragma once

#include "foundation/GLibHandles.h"

#include <memory>
#include <string>

namespace corvane {

// The address of the session bus, or empty (and why in `error`) when there is none.
std::string sessionBusAddress(std::string& error);

// A connection of its own to the bus at `address`, for an object that must come and go on
// the bus by itself (its unique name vanishes when it is closed). Null and `error` on failure.
GObjectRef<GDBusConnection> openPrivateConnection(const std::string& address, std::string& error);

// Asks the bus for a well-known name on `connection`, without queueing behind another owner.
bool requestBusName(GDBusConnection* connection, const std::string& name, std::string& error);

struct NodeInfoRelease {
    void operator()(GDBusNodeInfo* info) const { g_dbus_node_info_unref(info); }
};
using NodeInfo = std::unique_ptr<GDBusNodeInfo, NodeInfoRelease>;

// Introspection data written in the code; a mistake there is a programming error.
NodeInfo parseNodeInfo(const char* xml);

// Exports the first interface of `info` at `path`. An empty id (and a log line) on failure.
ConnectionId exportObject(GDBusConnection* connection, const std::string& path,
                          const NodeInfo& info, const GDBusInterfaceVTable& vtable, void* self);

// The usual answer to a call that names something unknown.
void returnInvalidArguments(GDBusMethodInvocation* invocation, const std::string& message);

} // namespace corvane
