// A second process for the distributed notification tests: it announces itself with
// "CorvaneBarPeerReady", answers "CorvaneBarPing" with "CorvaneBarPong" carrying the same user
// information, and exits.
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"

#include <gio/gio.h>

using namespace corvane;

int main() {
    GLibMainQueue queue;
    auto& center = DistributedNotificationCenter::defaultCenter();
    if (!center.isConnected())
        return 2;
    auto ping = center.addObserver("CorvaneBarPing", [&](const Notification& n) {
        center.postNotificationName("CorvaneBarPong", n.userInfo);
        center.flush();
        queue.quit();
    });
    // A round trip on the bus makes sure the subscription is in place before announcing.
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GVariant* id = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus", "GetId", nullptr, nullptr,
                                               G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (id)
        g_variant_unref(id);
    g_object_unref(bus);
    center.postNotificationName("CorvaneBarPeerReady");
    queue.after(20.0, [&] { queue.quit(); });
    queue.run();
    return 0;
}
