#include "engine/LogindSleepWakeSource.h"

#include "foundation/Log.h"
#include "support/FakeDBusService.h"
#include "support/MainContext.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

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

// Plays the login manager on a session bus (tests run under dbus-run-session), as logind does
// on the system bus.
TEST(LogindSleepWakeSource, FollowsTheSignalOnABus) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus";
    test::FakeDBusService manager("org.freedesktop.login1", "/org/freedesktop/login1", R"(<node>
  <interface name="org.freedesktop.login1.Manager">
    <signal name="PrepareForSleep"><arg name="start" type="b"/></signal>
  </interface>
</node>)");
    ASSERT_TRUE(manager.start());

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
        const auto sendAndWait = [&](gboolean start, const int& counter) {
            manager.emitSignal("org.freedesktop.login1.Manager", "PrepareForSleep",
                               g_variant_new("(b)", start));
            test::runMainContextUntil([&] { return counter != 0; });
        };
        sendAndWait(TRUE, sleeps);
        sendAndWait(FALSE, wakes);
    }
    EXPECT_EQ(sleeps, 1);
    EXPECT_EQ(wakes, 1);
    g_object_unref(bus);
}

} // namespace
} // namespace corvane
