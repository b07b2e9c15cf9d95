// The daemon's network messages against a fake NetworkManager on the test's bus.
#include "links/NetworkManagerActions.h"

#include "support/FakeDBusService.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::FakeDBusService;
using Strings = std::vector<std::string>;

namespace {

constexpr const char* kXml = R"(<node>
  <interface name="org.freedesktop.NetworkManager">
    <method name="GetDeviceByIpIface"><arg type="s" direction="in"/>
      <arg type="o" direction="out"/></method>
    <method name="ActivateConnection"><arg type="o" direction="in"/>
      <arg type="o" direction="in"/><arg type="o" direction="in"/>
      <arg type="o" direction="out"/></method>
    <property name="WirelessEnabled" type="b" access="readwrite"/></interface>
  <interface name="org.freedesktop.NetworkManager.Device">
    <property name="ActiveConnection" type="o" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Connection.Active">
    <property name="Connection" type="o" access="read"/></interface>
</node>)";

// What the fans' side was handed.
struct Recorded final : PrivilegedActions {
    Strings messages;
    Value perform(const std::string& message, const Value&) override {
        messages.push_back(message);
        return Value::dict({{"handled", true}});
    }
};

class NetworkManagerActionsTest : public ::testing::Test {
protected:
    void SetUp() override {
        fake.onMethod("GetDeviceByIpIface", [](const FakeDBusService::Call& call) {
            const gchar* name = nullptr;
            g_variant_get(call.parameters, "(&s)", &name);
            if (std::string(name) != "eth0")
                return FakeDBusService::Reply::failure(
                    "org.freedesktop.NetworkManager.UnknownDevice", "no such device");
            return FakeDBusService::Reply(
                g_variant_new("(o)", "/org/freedesktop/NetworkManager/Devices/2"));
        });
        fake.onMethod("ActivateConnection", [](const FakeDBusService::Call&) {
            return FakeDBusService::Reply(
                g_variant_new("(o)", "/org/freedesktop/NetworkManager/ActiveConnection/9"));
        });
        fake.onMethod("Set", [](const FakeDBusService::Call&) { return FakeDBusService::Reply(); });
        fake.setProperty("org.freedesktop.NetworkManager", "WirelessEnabled",
                         g_variant_new_boolean(TRUE));
        fake.setProperty(
            "org.freedesktop.NetworkManager.Device", "ActiveConnection",
            g_variant_new_object_path("/org/freedesktop/NetworkManager/ActiveConnection/1"));
        fake.setProperty("org.freedesktop.NetworkManager.Connection.Active", "Connection",
                         g_variant_new_object_path("/org/freedesktop/NetworkManager/Settings/4"));
        fake.addObject("/org/freedesktop/NetworkManager/Devices/2", kXml);
        fake.addObject("/org/freedesktop/NetworkManager/ActiveConnection/1", kXml);
        if (!fake.start())
            GTEST_SKIP() << "no session bus";
        bus = GObjectRef<GDBusConnection>::adopt(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        actions = std::make_unique<NetworkManagerActions>(bus.get(), fans);
    }

    FakeDBusService fake{"org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager", kXml};
    GObjectRef<GDBusConnection> bus;
    Recorded fans;
    std::unique_ptr<NetworkManagerActions> actions;
};

TEST_F(NetworkManagerActionsTest, RenewsTheLeaseByActivatingTheConnectionAgain) {
    EXPECT_TRUE(actions->perform("refreshDHCP", Value("eth0")).isDictionary());
    EXPECT_EQ(fake.arguments("ActivateConnection"),
              Strings{"(objectpath '/org/freedesktop/NetworkManager/Settings/4', "
                      "objectpath '/org/freedesktop/NetworkManager/Devices/2', objectpath '/')"});
    // An unknown interface, or one without a connection, changes nothing.
    actions->perform("refreshDHCP", Value("wlan9"));
    fake.setProperty("org.freedesktop.NetworkManager.Device", "ActiveConnection",
                     g_variant_new_object_path("/"));
    actions->perform("refreshDHCP", Value("eth0"));
    EXPECT_EQ(fake.calls("ActivateConnection"), 1);
}

TEST_F(NetworkManagerActionsTest, SwitchesTheRadioOverAndLeavesTheRestAlone) {
    actions->perform("toggleAirPortPower", Value());
    EXPECT_EQ(fake.arguments("Set"),
              Strings{"('org.freedesktop.NetworkManager', 'WirelessEnabled', <false>)"});
    EXPECT_TRUE(actions->perform("setNetworkSet", Value("Home")).isDictionary());
    EXPECT_EQ(fake.calls("Set") + fake.calls("ActivateConnection"), 1) << "locations: no call";
    EXPECT_TRUE(actions->perform("setFanSet", Value::array())["handled"].boolValue());
    EXPECT_EQ(fans.messages, Strings{"setFanSet"});
}

} // namespace
