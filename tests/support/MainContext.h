#pragma once

#include "foundation/GLibHandles.h"

#include <chrono>
#include <functional>
#include <gio/gio.h>
#include <thread>

namespace corvane::test {

// Runs the default main context, where GDBus, sockets and timers deliver, until `condition`
// holds or the time is up; true when it held. Never blocks, so the clock is always looked at.
inline bool runMainContextUntil(const std::function<bool()>& condition, double seconds = 5.0) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        if (!g_main_context_iteration(nullptr, FALSE))
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// Lets whatever comes within `seconds` be delivered.
inline void runMainContextFor(double seconds) {
    runMainContextUntil([] { return false; }, seconds);
}

// A session-bus connection of its own, as another process has: the test can close it as a
// client that goes away, and its messages really cross the bus.
inline GObjectRef<GDBusConnection> privateSessionConnection() {
    gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    auto connection = GObjectRef<GDBusConnection>::adopt(
        address
            ? g_dbus_connection_new_for_address_sync(
                  address,
                  static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                    G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                  nullptr, nullptr, nullptr)
            : nullptr);
    g_free(address);
    return connection;
}

} // namespace corvane::test
