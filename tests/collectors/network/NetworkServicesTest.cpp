#include "collectors/network/NetworkServices.h"

#include "collectors/network/NetworkServiceRules.h"
#include "collectors/network/ScriptedNetwork.h"
#include "foundation/ManualMainQueue.h"

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::ScriptedNetwork;
using Strings = std::vector<std::string>;

namespace {

TEST(ServiceList, TheInternalBridgeIsHiddenOnceAndAStalePrimaryChoiceForgotten) {
    using List = std::vector<std::pair<std::string, std::string>>;
    const List services{{"A", "Ethernet"}, {"B", "iBridge"}, {"C", "IBRIDGE"}};
    network::ServiceListSettings settings;
    settings.primaryInterface = "GONE";
    EXPECT_TRUE(network::applyServiceList(settings, services));
    EXPECT_EQ(settings.primaryInterface, "");
    EXPECT_EQ(settings.filtering, Value::array({"B"})); // the first only
    EXPECT_TRUE(settings.hiddenIBridge);
    settings.primaryInterface = "C";
    EXPECT_FALSE(network::applyServiceList(settings, services));

    // The user showed it again: it stays shown.
    settings.filtering = Value::array();
    for (const char* primary : {"", "PRIMARY", "ALL", "A"}) {
        settings.primaryInterface = primary;
        EXPECT_FALSE(network::applyServiceList(settings, services)) << primary;
        EXPECT_EQ(settings.primaryInterface, primary);
    }
    EXPECT_TRUE(settings.filtering.empty());
}

struct Listener : NetworkStatCollectorDelegate {
    std::vector<std::string> told;
    void collectorChildrenChanged(StatCollector&) override { told.push_back("children"); }
    void collectorWifiNetworkChanged(StatCollector&) override { told.push_back("wifi"); }
    void collectorPrimaryInterfaceChanged(StatCollector&) override { told.push_back("primary"); }
    void collectorPrimaryIP4Changed(StatCollector&) override { told.push_back("ip4"); }
    void collectorPrimaryIP6Changed(StatCollector&) override { told.push_back("ip6"); }
    void collectorNetworkStatusChanged(StatCollector&, std::int64_t status) override {
        told.push_back("status " + std::to_string(status));
    }
    bool heard(const std::string& what) const {
        return std::find(told.begin(), told.end(), what) != told.end();
    }
};

// Ethernet with DHCP, Wi-Fi, a VLAN, a static setup whose interface is down, a VPN and a
// service without an interface.
class Services : public ::testing::Test {
protected:
    Services() {
        net.addService("ETH", "eth0", "Ethernet");
        net.setLink("eth0", true);
        net.state("ETH/IPv4", Value::dict({{"Addresses", Value::array({"192.168.1.20"})},
                                           {"SubnetMasks", Value::array({"255.255.255.0"})},
                                           {"Router", "192.168.1.1"}}));
        net.state("ETH/IPv6", Value::dict({{"Addresses", Value::array({"2001:db8::20", "fe80::1"})},
                                           {"Router", "::1"}}));
        net.state("ETH/DNS", Value::dict({{"ServerAddresses",
                                           Value::array({"192.168.1.1", "::1", "2001:db8::53"})}}));
        net.setup("ETH/IPv4", Value::dict({{"ConfigMethod", "DHCP"}}));
        net.addService("GHOST", "", "Ethernet");
        net.store.erase("Setup:/Network/Service/GHOST/Interface");
        net.addService("WIFI", "wlp2s0", kWiFiHardware);
        net.setLink("wlp2s0", true);
        net.addService("VLAN", "eth0.7", "VLAN");
        net.facts.vlanMap["eth0.7"] = "eth0";
        net.addService("STATIC", "eth1", "Ethernet");
        net.setLink("eth1", false);
        net.setup("STATIC/IPv4", Value::dict({{"ConfigMethod", "Manual"},
                                              {"SubnetMasks", Value::array({"255.255.0.0"})},
                                              {"Router", "10.1.0.1"}}));
        net.setup("STATIC/IPv6", Value::dict({{"Router", "::1"}}));
        net.setup("STATIC/DNS",
                  Value::dict({{"ServerAddresses", Value::array({"10.1.0.53", "fd00::53"})}}));
        net.setup("STATIC", Value::dict({{"UserDefinedName", "Lab"}}));
        net.addService("VPN", "", "", "IPSec");
        net.addService("ETH", "eth0", "Ethernet"); // listed twice, counted once
        net.setPrimary("ETH", "eth0");
        net.addDelegate(&listener);
    }
    ~Services() override { net.removeDelegate(&listener); }

    ManualMainQueue queue{1'700'000'000.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedNetwork net{context};
    Listener listener;
};

TEST_F(Services, RecordsFollowTheOrderWithSetupShownOverEmptyState) {
    net.facts.linkSpeeds["eth0"] = 1000;
    net.start();
    ASSERT_EQ(net.serviceOrder(), (Strings{"ETH", "WIFI", "VLAN", "STATIC", "VPN"}));
    auto eth = net.item("ETH");
    EXPECT_EQ(eth->index, 0);
    EXPECT_EQ(net.item("WIFI")->index, 1); // the service without interface does not count
    EXPECT_EQ(eth->name, "Ethernet - eth0");
    EXPECT_TRUE(eth->dhcp);
    EXPECT_EQ(eth->dnsIPV4, (Strings{"192.168.1.1"}));
    EXPECT_EQ(eth->dnsIPV6, (Strings{"2001:db8::53"})); // the loopback is dropped
    EXPECT_EQ(eth->routerIPV6, "");
    EXPECT_EQ(eth->connectionstatus, 100);

    auto lab = net.item("STATIC");
    EXPECT_EQ(lab->name, "Lab");
    EXPECT_FALSE(lab->dhcp);
    EXPECT_EQ(lab->connectionstatus, 0);
    EXPECT_EQ(lab->subnet, (Strings{"255.255.0.0"}));
    EXPECT_EQ(lab->routerIPV4, "10.1.0.1");
    EXPECT_EQ(lab->routerIPV6, "");
    EXPECT_EQ(lab->dnsIPV4, (Strings{"10.1.0.53"}));
    EXPECT_EQ(lab->dnsIPV6, (Strings{"fd00::53"}));

    EXPECT_EQ(net.item("VLAN")->parentBSD, "eth0");
    EXPECT_EQ(net.nameForInterface("VLAN"), "VLAN - eth0.7");
    EXPECT_EQ(net.nameForInterface("GHOST"), "GHOST");
    EXPECT_FALSE(net.isInterfaceActive("GHOST"));

    EXPECT_EQ(eth->linkSpeed, 1000);
    net.facts = {};
    net.updateInterfaces();
    EXPECT_EQ(eth->linkSpeed, 0); // a fact that went away is not kept
}

TEST_F(Services, AVPNThatIsDownStaysWithoutInterfaceAndComesUpWithItsTunnel) {
    net.extended["VPN"] = Value::dict({{"IPSec", Value::dict({{"Status", 7}})}});
    net.start();
    auto vpn = net.item("VPN");
    ASSERT_TRUE(vpn);
    EXPECT_EQ(vpn->bsd, "");
    EXPECT_EQ(vpn->connectionstatus, 0);
    EXPECT_EQ(vpn->hardware, "VPN");
    EXPECT_TRUE(vpn->ppp);
    EXPECT_EQ(net.networkStatus("VPN"), 0);

    net.uptime = 5000.7;
    net.extended["VPN"] =
        Value::dict({{"IPSec", Value::dict({{"Status", 5}, {"ConnectTime", 4000}})},
                     {"IPv4", Value::dict({{"InterfaceName", "tun0"}})}});
    net.state("VPN/IPv4", Value::dict({{"Addresses", Value::array({"10.8.0.2"})}}));
    net.networkStateChanged({"State:/Network/Service/VPN/IPv4"});
    EXPECT_EQ(vpn, net.item("VPN")); // the same item, not a new one
    EXPECT_EQ(vpn->bsd, "tun0");
    EXPECT_EQ(vpn->connectionstatus, 100);
    EXPECT_EQ(vpn->rawConnectiontime, 4000);
    // Connected 1000 s of uptime ago.
    EXPECT_DOUBLE_EQ(vpn->connectiontime, queue.now() - 1000);
    EXPECT_EQ(net.networkStatus("VPN"), 2);
}

TEST_F(Services, PPPAndSixToFourShowTheirInterfaceOnlyOnceConnected) {
    net.addService("PPP", "", "Modem");
    net.setup("PPP/PPP", Value::dict());
    net.state("PPP/PPP", Value::dict({{"InterfaceName", "ppp0"}}));
    for (auto [status, bsd, connection] :
         {std::tuple{5, "", 3}, std::tuple{8, "ppp0", 100}, std::tuple{9, "", 4}}) {
        net.extended["PPP"] = Value::dict({{"PPP", Value::dict({{"Status", status}})},
                                           {"Modem", Value::dict({{"ConnectSpeed", 56000}})}});
        net.updateInterfaces();
        EXPECT_EQ(net.item("PPP")->bsd, bsd) << status;
        EXPECT_EQ(net.item("PPP")->connectionstatus, connection) << status;
        EXPECT_EQ(net.item("PPP")->speed, 56000);
    }
    // A link without "Active" is down; 6to4 is up once its tunnel is.
    net.store.set("State:/Network/Interface/eth0/Link", Value::dict());
    net.addService("SIT", "sit0", "", "6to4");
    net.updateInterfaces();
    EXPECT_EQ(net.item("ETH")->connectionstatus, 0);
    EXPECT_EQ(net.item("SIT")->hardware, "6to4");
    EXPECT_EQ(net.item("SIT")->connectionstatus, 0);
    net.state("SIT/IPv6", Value::dict({{"InterfaceName", "sit0"}}));
    net.updateInterfaces();
    EXPECT_EQ(net.item("SIT")->connectionstatus, 100);
}

TEST_F(Services, OverallStatusCountsOnlyUsableAddresses) {
    const struct {
        Strings ipv4, ipv6;
        std::int64_t status;
    } cases[] = {
        {{"169.254.3.4"}, {"fe80::1"}, 1},
        {{}, {}, 1},
        {{"169.254.3.4", "10.0.0.2"}, {}, 2},
        {{}, {"fe80::1", "2001:db8::2"}, 2},
    };
    net.updateInterfaces();
    for (const auto& c : cases) {
        for (const auto& item : net.services())
            item->connectionstatus = 0;
        auto eth = net.item("ETH");
        eth->connectionstatus = 100;
        eth->ipv4 = c.ipv4;
        eth->ipv6 = c.ipv6;
        EXPECT_EQ(net.networkStatus(), c.status);
    }
    net.item("ETH")->connectionstatus = 0;
    net.item("VPN")->connectionstatus = 2; // negotiating
    EXPECT_EQ(net.networkStatus(), 1);
    EXPECT_TRUE(listener.heard("status 2"));
    EXPECT_TRUE(listener.heard("status 1"));
}

TEST_F(Services, SleepProxyChangesAndAMissingOrderChangeNothing) {
    net.start();
    const int reads = net.storeReads;
    net.networkStateChanged({"State:/Network/Interface/en0/SleepProxyServers"});
    EXPECT_EQ(net.storeReads, reads);
    net.networkStateChanged(
        {"State:/Network/Interface/en0/SleepProxyServers", "State:/Network/Global/IPv4"});
    EXPECT_GT(net.storeReads, reads);
    listener.told.clear();
    net.store.erase("Setup:/Network/Global/IPv4");
    net.updateInterfaces();
    EXPECT_EQ(net.services().size(), 5u);
    EXPECT_TRUE(listener.told.empty());
}

TEST_F(Services, APrimaryChangeResetsHistoryAndTellsTheDelegate) {
    net.start();
    EXPECT_FALSE(listener.heard("primary")); // the first primary service is no change
    net.counters =
        std::vector<NetworkStatCollector::InterfaceCounters>{{"eth0", true, false, 5000, 700}};
    net.updateStats();
    ASSERT_NE(net.sampleAtIndex(0, 0).sampleID, 0u);
    EXPECT_EQ(net.primaryDownloadTotal(), 5000);

    net.setPrimary("WIFI", "wlp2s0");
    net.networkStateChanged({"State:/Network/Global/IPv4"});
    EXPECT_TRUE(listener.heard("primary"));
    EXPECT_EQ(net.sampleAtIndex(0, 0).sampleID, 0u);
    EXPECT_EQ(net.primaryInterface(), "wlp2s0");
    EXPECT_EQ(net.primaryInterfaceItem(), net.item("WIFI"));
}

TEST_F(Services, PrimaryAddressesAndTheWifiNetworkChangeOnlyWithNewValues) {
    net.wifi["wlp2s0"] = {"aa:bb:cc:00:00:01", "Home"};
    net.start();
    const Value before = net.primaryInterfaceSettings()["addresses"];
    EXPECT_EQ(before.size(), 3u);
    net.state("ETH/IPv4", Value::dict({{"Addresses", Value::array({"192.168.1.99"})}}));
    net.updateInterfaces();
    net.updatePrimarySettings();
    EXPECT_TRUE(listener.heard("ip4"));
    EXPECT_FALSE(listener.heard("ip6"));
    EXPECT_EQ(net.primaryInterfaceSettings()["addresses"][0].stringValue(), "192.168.1.99");

    net.store.erase("State:/Network/Service/ETH/IPv4");
    net.store.erase("State:/Network/Service/ETH/IPv6");
    net.updateInterfaces();
    net.updatePrimarySettings();
    EXPECT_EQ(net.primaryInterfaceSettings()["addresses"].size(), 3u);
    EXPECT_TRUE(net.primaryInterfaceSettings()["ipv4"].empty());

    // The Wi-Fi network changes on a new BSSID only.
    EXPECT_EQ(net.wifiMap().at("wlp2s0")["name"].stringValue(), "Home");
    EXPECT_FALSE(listener.heard("wifi"));
    net.wifi["wlp2s0"] = {"aa:bb:cc:00:00:01", "Home renamed"};
    net.updatePrimarySettings();
    EXPECT_FALSE(listener.heard("wifi"));
    net.wifi["wlp2s0"] = {"aa:bb:cc:00:00:02", "Office"};
    net.updatePrimarySettings();
    EXPECT_TRUE(listener.heard("wifi"));
    EXPECT_EQ(net.primaryInterfaceSettings()["wifi-name"].stringValue(), "Office");
    net.wifi["wlp2s0"] = {"", ""}; // disassociated
    net.updatePrimarySettings();
    EXPECT_TRUE(net.wifiMap().at("wlp2s0").empty());
}

} // namespace
