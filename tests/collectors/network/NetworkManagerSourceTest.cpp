#include "collectors/network/NetworkManagerSource.h"

#include "collectors/network/NetworkStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"
#include "support/FakeDBusService.h"
#include "support/MainContext.h"

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <map>
#include <mutex>

using namespace corvane;
using corvane::test::FakeDBusService;
using Strings = std::vector<std::string>;

namespace {

// The "GetAll" handler serves the properties; one declared property routes them to it.
constexpr const char* kXml = R"(<node>
  <interface name="org.freedesktop.NetworkManager">
    <method name="GetDevices"><arg type="ao" direction="out"/></method>
    <property name="State" type="u" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Device">
    <method name="GetAppliedConnection"><arg type="u" direction="in"/>
      <arg type="a{sa{sv}}" direction="out"/><arg type="t" direction="out"/></method>
    <property name="Interface" type="s" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Device.Wired">
    <property name="PermHwAddress" type="s" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Device.Wireless">
    <property name="ActiveAccessPoint" type="o" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.IP4Config">
    <property name="Gateway" type="s" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.IP6Config">
    <property name="Gateway" type="s" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.AccessPoint">
    <property name="Ssid" type="ay" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Connection.Active">
    <property name="Uuid" type="s" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.VPN.Connection">
    <property name="VpnState" type="u" access="read"/></interface>
  <interface name="org.freedesktop.NetworkManager.Settings">
    <method name="ListConnections"><arg type="ao" direction="out"/></method></interface>
  <interface name="org.freedesktop.NetworkManager.Settings.Connection">
    <method name="GetSettings"><arg type="a{sa{sv}}" direction="out"/></method></interface>
</node>)";

constexpr const char* kNM = "/org/freedesktop/NetworkManager";
constexpr const char* kVpnUuid = "5b2e3f4a-0000-4000-8000-00000000a001";
constexpr double kStart = 1'700'000'000.0;

// NetworkManager with Ethernet, Wi-Fi on an access point, a VLAN being configured statically,
// the tunnel device of a VPN and the VPN's profile, which the test brings up and down.
class FakeNetworkManager {
public:
    FakeNetworkManager() {
        set(kNM, "", state("/ac/1", "'/ac/1', '/ac/2'"));
        set("/dev/1", ".Device",
            "{'Interface': <'eth0'>, 'DeviceType': <uint32 1>, 'State': <uint32 100>, "
            "'Ip4Config': <objectpath '/ip4/1'>, 'Ip6Config': <objectpath '/ip6/1'>, "
            "'ActiveConnection': <objectpath '/ac/1'>}");
        set("/dev/1", ".Device.Wired", "{'PermHwAddress': <'52:54:00:AB:CD:EF'>}");
        set("/ip4/1", ".IP4Config",
            "{'AddressData': <[{'address': <'192.168.1.20'>, 'prefix': <uint32 24>}]>, "
            "'Gateway': <'192.168.1.1'>, 'NameserverData': <[{'address': <'192.168.1.1'>}]>, "
            "'RouteData': <[{'dest': <'0.0.0.0'>, 'prefix': <uint32 0>, 'metric': <uint32 "
            "100>}]>}");
        set("/ip6/1", ".IP6Config",
            "{'AddressData': <[{'address': <'2001:db8::20'>, 'prefix': <uint32 64>}]>, "
            "'Nameservers': <[[byte 0x20,0x01,0x0d,0xb8,0,0,0,0,0,0,0,0,0,0,0,0x53]]>}");
        applied["/dev/1"] = "({'connection': {'id': <'Wired connection 1'>}, "
                            "'ipv4': {'method': <'auto'>}}, uint64 1)";
        set("/dev/2", ".Device",
            "{'Interface': <'wlan0'>, 'DeviceType': <uint32 2>, 'State': <uint32 100>, "
            "'Ip4Config': <objectpath '/ip4/2'>, 'ActiveConnection': <objectpath '/ac/2'>}");
        set("/dev/2", ".Device.Wireless",
            "{'PermHwAddress': <'3C:A9:F4:10:20:30'>, 'ActiveAccessPoint': <objectpath '/ap/1'>}");
        set("/ap/1", ".AccessPoint",
            "{'HwAddress': <'AA:BB:CC:00:00:01'>, 'Ssid': <[byte 0x48, 0x6f, 0x6d, 0x65]>}");
        set("/ip4/2", ".IP4Config",
            "{'AddressData': <[{'address': <'10.0.0.5'>, 'prefix': <uint32 24>}]>, "
            "'RouteData': <[{'dest': <'0.0.0.0'>, 'prefix': <uint32 0>, 'metric': <uint32 "
            "600>}]>}");
        applied["/dev/2"] =
            "({'connection': {'id': <'Home'>}, 'ipv4': {'method': <'auto'>}}, uint64 1)";
        set("/dev/3", ".Device",
            "{'Interface': <'eth0.10'>, 'DeviceType': <uint32 11>, 'State': <uint32 50>, "
            "'Ip4Config': <objectpath '/'>, 'ActiveConnection': <objectpath '/ac/9'>}");
        // 10.10.0.53 in network order.
        applied["/dev/3"] =
            "({'connection': {'id': <'Lab VLAN'>}, 'ipv4': {'method': <'manual'>, "
            "'address-data': <[{'address': <'10.10.0.2'>, 'prefix': <uint32 16>}]>, "
            "'gateway': <'10.10.0.1'>, 'dns': <[uint32 889195018]>}}, uint64 1)";
        set("/dev/4", ".Device",
            "{'Interface': <'tun0'>, 'DeviceType': <uint32 16>, 'State': <uint32 100>, "
            "'Ip4Config': <objectpath '/ip4/4'>}");
        set("/ip4/4", ".IP4Config",
            "{'AddressData': <[{'address': <'10.8.0.2'>, 'prefix': <uint32 24>}]>}");
        settings["/s/1"] = std::string("({'connection': {'id': <'Work VPN'>, 'uuid': <'") +
                           kVpnUuid + "'>, 'type': <'vpn'>, 'timestamp': <uint64 " +
                           std::to_string(static_cast<long long>(kStart) - 300) + ">}},)";
        settings["/s/2"] = "({'connection': {'id': <'Wired connection 1'>, 'uuid': <'e1'>, "
                           "'type': <'802-3-ethernet'>}},)";
        set("/ac/3", ".Connection.Active",
            std::string("{'Uuid': <'") + kVpnUuid +
                "'>, 'Vpn': <true>, 'State': <uint32 2>, 'Ip4Config': <objectpath '/ip4/4'>}");
        set("/ac/3", ".VPN.Connection", "{'VpnState': <uint32 5>}");

        for (const char* path : {"/org/freedesktop/NetworkManager/Settings", "/dev/1", "/dev/2",
                                 "/dev/3", "/dev/4", "/ip4/1", "/ip6/1", "/ip4/2", "/ip4/4",
                                 "/ap/1", "/ac/1", "/ac/2", "/ac/3", "/s/1", "/s/2"})
            service.addObject(path, kXml);
        service.onMethod("GetAll", [this](const FakeDBusService::Call& call) {
            const gchar* interface = nullptr;
            g_variant_get_child(call.parameters, 0, "&s", &interface);
            std::lock_guard lock(mutex);
            const auto found = properties.find(call.path + " " + interface);
            return FakeDBusService::Reply(
                parsed("(" + (found == properties.end() ? "@a{sv} {}" : found->second) + ",)"));
        });
        service.onMethod("GetDevices", [](const FakeDBusService::Call&) {
            return FakeDBusService::Reply(
                parsed("([objectpath '/dev/1', '/dev/2', '/dev/3', '/dev/4'],)"));
        });
        service.onMethod("ListConnections", [](const FakeDBusService::Call&) {
            return FakeDBusService::Reply(parsed("([objectpath '/s/1', '/s/2'],)"));
        });
        service.onMethod("GetAppliedConnection", [this](const FakeDBusService::Call& call) {
            std::lock_guard lock(mutex);
            const auto found = applied.find(call.path);
            if (found == applied.end())
                return FakeDBusService::Reply::failure(
                    "org.freedesktop.NetworkManager.Device.NotActive");
            return FakeDBusService::Reply(parsed(found->second));
        });
        service.onMethod("GetSettings", [this](const FakeDBusService::Call& call) {
            return FakeDBusService::Reply(parsed(settings.at(call.path)));
        });
    }
    // `interface` is the part after "org.freedesktop.NetworkManager".
    void set(const std::string& path, const std::string& interface, std::string value) {
        std::lock_guard lock(mutex);
        properties[path + " org.freedesktop.NetworkManager" + interface] = std::move(value);
    }
    static std::string state(const char* primary, const char* active) {
        return std::string("{'PrimaryConnection': <objectpath '") + primary +
               "'>, 'ActiveConnections': <[objectpath " + active + "]>}";
    }
    // Sets the manager's connections and announces the change as NetworkManager does.
    void manager(const char* primary, const char* active) {
        set(kNM, "", state(primary, active));
        service.emitSignal("org.freedesktop.NetworkManager", "StateChanged",
                           g_variant_new("(u)", 70));
    }
    static GVariant* parsed(const std::string& text) {
        return g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
    }

    std::mutex mutex;
    std::map<std::string, std::string> properties;
    std::map<std::string, std::string> applied;
    std::map<std::string, std::string> settings;
    FakeDBusService service{"org.freedesktop.NetworkManager", kNM, kXml};
};

struct Listener : NetworkStatCollectorDelegate {
    int primaryChanges = 0, children = 0;
    void collectorPrimaryInterfaceChanged(StatCollector&) override { ++primaryChanges; }
    void collectorChildrenChanged(StatCollector&) override { ++children; }
};

class NetworkManager : public ::testing::Test {
protected:
    void SetUp() override {
        if (!fake.service.start())
            GTEST_SKIP() << "no session bus";
        bus = GObjectRef<GDBusConnection>::adopt(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        net = std::make_unique<NetworkStatCollectorLinux>(
            context, laptop, std::make_unique<NetworkManagerSource>(bus.get(), laptop, &queue));
        net->watchChanges();
        net->addDelegate(&listener);
    }
    void TearDown() override {
        if (net)
            net->removeDelegate(&listener);
    }
    // Until the collector heard of a change made before.
    void deliverChange() {
        const int before = listener.children;
        test::runMainContextUntil([&] { return listener.children != before; });
    }
    NetworkStatCollector::NetworkItem withName(const std::string& name) {
        for (const auto& item : net->services())
            if (item->name == name)
                return item;
        return nullptr;
    }
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (const auto& item : net->services())
            all.push_back(item->name);
        return all;
    }

    const SysRoot laptop{std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/net-laptop"};
    ManualMainQueue queue{kStart};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    FakeNetworkManager fake;
    GObjectRef<GDBusConnection> bus;
    std::unique_ptr<NetworkStatCollectorLinux> net;
    Listener listener;
};

TEST_F(NetworkManager, DevicesAndProfilesBecomeServicesInOrder) {
    EXPECT_TRUE(NetworkManagerSource::running(bus.get()));
    EXPECT_EQ(names(), (Strings{"Wired connection 1", "Home", "Lab VLAN", "Work VPN"}));
    auto eth = withName("Wired connection 1");
    EXPECT_EQ(eth->bsd, "eth0");
    EXPECT_EQ(eth->connectionstatus, 100);
    EXPECT_TRUE(eth->dhcp);
    EXPECT_EQ(eth->ipv4, Strings{"192.168.1.20"});
    EXPECT_EQ(eth->subnet, Strings{"255.255.255.0"});
    EXPECT_EQ(eth->routerIPV4, "192.168.1.1");
    EXPECT_EQ(eth->dnsIPV4, Strings{"192.168.1.1"});
    EXPECT_EQ(eth->dnsIPV6, Strings{"2001:db8::53"});
    EXPECT_EQ(eth->mac, "52:54:00:AB:CD:EF"); // from the recorded tree
    EXPECT_EQ(net->primaryInterface(), "eth0");
    EXPECT_EQ(net->wifiMap().at("wlan0")["name"].stringValue(), "Home");
    EXPECT_EQ(net->wifiMap().at("wlan0")["bssid"].stringValue(), "AA:BB:CC:00:00:01");
    EXPECT_EQ(withName("Home")->hardware, kWiFiHardware);

    auto lab = withName("Lab VLAN"); // being configured: only the setup tells
    EXPECT_EQ(lab->hardware, "VLAN");
    EXPECT_EQ(lab->connectionstatus, 0);
    EXPECT_TRUE(lab->ipv4.empty());
    EXPECT_EQ(lab->subnet, Strings{"255.255.0.0"});
    EXPECT_EQ(lab->routerIPV4, "10.10.0.1");
    EXPECT_EQ(lab->dnsIPV4, Strings{"10.10.0.53"});
    EXPECT_FALSE(lab->dhcp);
}

TEST_F(NetworkManager, AVPNGoesUpWithItsTunnelAndDownWithoutOne) {
    auto vpn = withName("Work VPN");
    ASSERT_TRUE(vpn);
    EXPECT_EQ(vpn->key(), kVpnUuid);
    EXPECT_EQ(vpn->bsd, "");
    EXPECT_EQ(vpn->connectionstatus, 0);
    EXPECT_EQ(vpn->hardware, "VPN");

    fake.manager("/ac/1", "'/ac/1', '/ac/2', '/ac/3'");
    deliverChange();
    EXPECT_EQ(withName("Work VPN"), vpn);
    EXPECT_EQ(vpn->bsd, "tun0");
    EXPECT_EQ(vpn->connectionstatus, 100);
    EXPECT_EQ(vpn->ipv4, Strings{"10.8.0.2"});
    EXPECT_NEAR(vpn->connectiontime, kStart - 300, 1.0); // connected five minutes ago

    fake.manager("/ac/1", "'/ac/1', '/ac/2'");
    deliverChange();
    EXPECT_EQ(vpn->bsd, "");
    EXPECT_EQ(vpn->connectionstatus, 0);
    EXPECT_EQ(names().size(), 4u);
}

TEST_F(NetworkManager, AHungDaemonCostsOneCallAndAPrimaryChangeIsTakenOnceItAnswers) {
    const int before = fake.service.calls("GetAll");
    fake.service.setHung(true);
    fake.manager("/ac/2", "'/ac/2'");
    test::runMainContextUntil([&] { return fake.service.calls("GetAll") > before; });
    test::runMainContextFor(1.5); // past the call's time limit: time to ask more
    EXPECT_EQ(fake.service.calls("GetAll") - before, 1); // the rest was not asked
    EXPECT_EQ(names(), (Strings{"Wired connection 1", "Home", "Lab VLAN", "Work VPN"}));
    EXPECT_EQ(net->primaryInterface(), "eth0");

    // Answering again, the change is taken: the primary service leads and its history restarts.
    net->setID(1, 0);
    net->updateStats();
    ASSERT_NE(net->sampleAtIndex(0, 0).sampleID, 0u);
    fake.service.setHung(false);
    fake.manager("/ac/2", "'/ac/1', '/ac/2'");
    deliverChange();
    EXPECT_EQ(listener.primaryChanges, 1);
    EXPECT_EQ(net->primaryInterface(), "wlan0");
    EXPECT_EQ(net->sampleAtIndex(0, 0).sampleID, 0u);
    EXPECT_EQ(names().front(), "Home");
}

} // namespace
