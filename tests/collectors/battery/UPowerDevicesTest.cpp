#include "collectors/battery/UPowerDevices.h"

#include "foundation/Log.h"

#include <condition_variable>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

using namespace corvane;

namespace {

constexpr const char* kIntrospection = R"(<node>
  <interface name="org.freedesktop.UPower">
    <method name="EnumerateDevices"><arg name="devices" type="ao" direction="out"/></method>
  </interface>
  <interface name="org.freedesktop.UPower.Device">
    <property name="NativePath" type="s" access="read"/>
    <property name="Model" type="s" access="read"/>
    <property name="Serial" type="s" access="read"/>
    <property name="Type" type="u" access="read"/>
    <property name="PowerSupply" type="b" access="read"/>
    <property name="IsPresent" type="b" access="read"/>
    <property name="Percentage" type="d" access="read"/>
  </interface>
</node>)";

struct FakeDevice {
    const char* path;
    const char* native;
    const char* model;
    const char* serial;
    guint32 type;
    gboolean powerSupply;
    double percentage;
};

constexpr FakeDevice kDevices[] = {
    {"/org/freedesktop/UPower/devices/battery_BAT0", "BAT0", "5B10W", "123", 2, TRUE, 60},
    {"/org/freedesktop/UPower/devices/headset_dev_AA", "/org/bluez/hci0/dev_AA", "Headset", "", 17,
     FALSE, 80},
    {"/org/freedesktop/UPower/devices/mouse_hidpp", "hidpp_battery_0", "MX", "4a-2f", 5, FALSE, 55},
    {"/org/freedesktop/UPower/devices/keyboard_dev_BB", "/org/bluez/hci0/dev_BB", "Keys", "K-1", 6,
     FALSE, 30},
};

// UPower as far as the collector asks it, served from a thread of its own on the session bus.
class FakeUPower {
public:
    FakeUPower() {
        thread_ = std::thread([this] { serve(); });
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [this] { return state_ != 0; });
    }
    ~FakeUPower() {
        if (loop_)
            g_main_loop_quit(loop_);
        thread_.join();
    }
    bool running() const { return state_ == 1; }

private:
    void serve() {
        GMainContext* context = g_main_context_new();
        g_main_context_push_thread_default(context);
        // A connection of its own, so that calls to it are served on this thread's context.
        gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        GDBusConnection* bus = address ? g_dbus_connection_new_for_address_sync(
                                             address,
                                             static_cast<GDBusConnectionFlags>(
                                                 G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                                             nullptr, nullptr, nullptr)
                                       : nullptr;
        g_free(address);
        if (!bus) {
            finish(2);
            g_main_context_pop_thread_default(context);
            g_main_context_unref(context);
            return;
        }
        GDBusNodeInfo* info = g_dbus_node_info_new_for_xml(kIntrospection, nullptr);
        static const GDBusInterfaceVTable manager{
            [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*,
               GDBusMethodInvocation* invocation, gpointer) {
                GVariantBuilder paths;
                g_variant_builder_init(&paths, G_VARIANT_TYPE("ao"));
                for (const auto& d : kDevices)
                    g_variant_builder_add(&paths, "o", d.path);
                g_dbus_method_invocation_return_value(invocation, g_variant_new("(ao)", &paths));
            },
            nullptr,
            nullptr,
            {}};
        static const GDBusInterfaceVTable device{
            nullptr,
            [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* name,
               GError**, gpointer data) -> GVariant* {
                const auto* d = static_cast<const FakeDevice*>(data);
                const std::string n = name;
                if (n == "NativePath")
                    return g_variant_new_string(d->native);
                if (n == "Model")
                    return g_variant_new_string(d->model);
                if (n == "Serial")
                    return g_variant_new_string(d->serial);
                if (n == "Type")
                    return g_variant_new_uint32(d->type);
                if (n == "PowerSupply")
                    return g_variant_new_boolean(d->powerSupply);
                if (n == "IsPresent")
                    return g_variant_new_boolean(TRUE);
                return g_variant_new_double(d->percentage);
            },
            nullptr,
            {}};
        g_dbus_connection_register_object(bus, "/org/freedesktop/UPower", info->interfaces[0],
                                          &manager, nullptr, nullptr, nullptr);
        for (const auto& d : kDevices)
            g_dbus_connection_register_object(bus, d.path, info->interfaces[1], &device,
                                              const_cast<FakeDevice*>(&d), nullptr, nullptr);
        GVariant* owned = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", "org.freedesktop.UPower", 4u), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        if (owned)
            g_variant_unref(owned);
        loop_ = g_main_loop_new(context, FALSE);
        finish(1);
        g_main_loop_run(loop_);
        g_main_loop_unref(loop_);
        g_dbus_node_info_unref(info);
        g_dbus_connection_close_sync(bus, nullptr, nullptr);
        g_object_unref(bus);
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }
    void finish(int state) {
        std::lock_guard lock(mutex_);
        state_ = state;
        ready_.notify_all();
    }

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable ready_;
    int state_ = 0;
    GMainLoop* loop_ = nullptr;
};

TEST(UPowerDevices, PeripheralsTheKernelDoesNotListBecomeWirelessSources) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus; run the tests with `make test`";
    FakeUPower upower;
    ASSERT_TRUE(upower.running());
    UPowerDevices devices(bus);
    const auto sources = devices.peripheralBatteries({"BAT0", "hidpp_battery_0"});
    g_object_unref(bus);
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_EQ(sources[0].powerSource["Name"], Value("Headset"));
    EXPECT_EQ(sources[0].powerSource["Current Capacity"], Value(80.0));
    EXPECT_EQ(sources[0].powerSource["Power Source ID"], Value("/org/bluez/hci0/dev_AA"));
    EXPECT_FALSE(sources[0].powerSource.contains("Hardware Serial Number"));
    EXPECT_EQ(sources[1].powerSource["Hardware Serial Number"], Value("K-1"));
    EXPECT_EQ(sources[1].powerSource["Power Source State"], Value("Battery Power"));
    // The panel draws a headset and a keyboard for them.
    EXPECT_EQ(sources[0].kind, Headphones);
    EXPECT_EQ(sources[1].kind, Keyboard);
}

TEST(UPowerDevices, WithoutTheServiceTheListIsEmpty) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus";
    LogCapture log;
    UPowerDevices devices(bus);
    g_object_unref(bus);
    EXPECT_TRUE(devices.peripheralBatteries({}).empty());
    EXPECT_TRUE(log.contains("UPower does not answer")) << log.lines();
}

} // namespace
