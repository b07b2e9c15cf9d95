#include "foundation/DistributedNotificationCenter.h"

#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

GDBusConnection* sessionBusOrNull() {
    return g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
}

// Waits on the main loop until `done` or the time runs out.
bool runUntil(GLibMainQueue& queue, const bool& done, double seconds) {
    const auto timeout = queue.after(seconds, [&] { queue.quit(); });
    if (!done)
        queue.run();
    queue.cancel(timeout);
    return done;
}

void syncWithBus(GDBusConnection* bus) {
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId",
        nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (reply)
        g_variant_unref(reply);
}

TEST(DistributedNotificationCenter, UserInfoCrossesToAnotherProcessAndBackAndToTheSender) {
    GDBusConnection* bus = sessionBusOrNull();
    if (!bus)
        GTEST_SKIP() << "no session bus; run the tests with `make test` (dbus-run-session)";
    GLibMainQueue queue;
    DistributedNotificationCenter center(bus);

    bool ready = false;
    bool answered = false;
    Value answer;
    auto readyObserver = center.addObserver("CorvaneBarPeerReady", [&](const Notification&) {
        ready = true;
        queue.quit();
    });
    auto pongObserver = center.addObserver("CorvaneBarPong", [&](const Notification& n) {
        answer = n.userInfo;
        answered = true;
        queue.quit();
    });
    // The sender hears its own posts too.
    Value heardOwn;
    auto pingObserver =
        center.addObserver("CorvaneBarPing", [&](const Notification& n) { heardOwn = n.userInfo; });
    syncWithBus(bus);

    const char* argv[] = {CVB_NOTIFICATION_PEER, nullptr};
    GError* error = nullptr;
    ASSERT_TRUE(g_spawn_async(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_DEFAULT, nullptr,
                              nullptr, nullptr, &error))
        << (error ? error->message : "");
    ASSERT_TRUE(runUntil(queue, ready, 20.0)) << "the peer never announced itself";

    // Every kind's way over the bus is checked on its own; this is the trip between processes.
    const Value info = Value::dict({{"key", "Weather_TemperatureUnits"},
                                    {"modes", Value::array({Value::dict({{"key", 0}}), "Grüße"})}});
    center.postNotificationName("CorvaneBarPing", info);
    ASSERT_TRUE(runUntil(queue, answered, 20.0)) << "no answer from the peer";
    EXPECT_EQ(answer, info);
    EXPECT_EQ(heardOwn, info);
    g_object_unref(bus);
}

TEST(DistributedNotificationCenter, WithoutABusDeliversInThisProcessAtOnce) {
    DistributedNotificationCenter center(nullptr);
    EXPECT_FALSE(center.isConnected());
    std::vector<Value> seen;
    auto observer = center.addObserver("CorvaneBar-Open-CPU",
                                       [&](const Notification& n) { seen.push_back(n.userInfo); });
    center.postNotificationName("CorvaneBar-Open-CPU", Value::dict({{"a", 1}}));

    LogCapture log;
    center.postNotificationName("CorvaneBar-Open-CPU", Value("not a dictionary"));
    EXPECT_TRUE(log.contains("not a dictionary")) << log.lines();
    EXPECT_EQ(seen, (std::vector<Value>{Value::dict({{"a", 1}}), Value()}));
}

} // namespace
