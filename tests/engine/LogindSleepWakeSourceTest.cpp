#include "engine/LogindSleepWakeSource.h"

#include "foundation/Log.h"

#include <chrono>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <thread>

namespace corvane {
namespace {

TEST(LogindSleepWakeSource, SignalArgumentSaysWhichWay) {
    LogCapture log;
    LogindSleepWakeSource source(nullptr);
    EXPECT_FALSE(source.isConnected());
    EXPECT_TRUE(log.contains("sleep and wake are not followed"));

    int sleeps = 0, wakes = 0;
    Observation a = source.observeWillSleep([&] { ++sleeps; });
    Observation b = source.observeDidWake([&] { ++wakes; });
    source.prepareForSleep(true);
    EXPECT_EQ(sleeps, 1);
    EXPECT_EQ(wakes, 0);
    source.prepareForSleep(false);
    EXPECT_EQ(wakes, 1);
    b.reset();
    source.prepareForSleep(false);
    EXPECT_EQ(wakes, 1);
}

// Plays the login manager on a session bus (tests run under dbus-run-session): a second
// connection takes its name and sends the signal, as logind does on the system bus.
TEST(LogindSleepWakeSource, FollowsTheSignalOnABus) {
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (!bus) {
        g_clear_error(&error);
        GTEST_SKIP() << "no session bus";
    }
    gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GDBusConnection* manager = g_dbus_connection_new_for_address_sync(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    g_free(address);
    ASSERT_TRUE(manager) << (error ? error->message : "");
    GVariant* reply = g_dbus_connection_call_sync(
        manager, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", "org.freedesktop.login1", 4u), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    ASSERT_TRUE(reply) << (error ? error->message : "");
    g_variant_unref(reply);

    int sleeps = 0, wakes = 0;
    {
        LogindSleepWakeSource source(bus);
        // The subscription's match rule goes out first on this connection: a round trip on it
        // makes sure the bus has it before the signal is sent.
        GVariant* id = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId",
            nullptr, G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        if (id)
            g_variant_unref(id);
        Observation a = source.observeWillSleep([&] { ++sleeps; });
        Observation b = source.observeDidWake([&] { ++wakes; });
        const auto send = [&](gboolean start) {
            g_dbus_connection_emit_signal(manager, nullptr, "/org/freedesktop/login1",
                                          "org.freedesktop.login1.Manager", "PrepareForSleep",
                                          g_variant_new("(b)", start), nullptr);
            g_dbus_connection_flush_sync(manager, nullptr, nullptr);
        };
        const auto waitFor = [](const int& counter) {
            for (int i = 0; i < 500 && counter == 0; ++i) {
                while (g_main_context_iteration(nullptr, FALSE)) {
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        };
        send(TRUE);
        waitFor(sleeps);
        send(FALSE);
        waitFor(wakes);
    }
    EXPECT_EQ(sleeps, 1);
    EXPECT_EQ(wakes, 1);
    g_object_unref(manager);
    g_object_unref(bus);
}

} // namespace
} // namespace corvane
