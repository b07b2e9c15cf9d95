// The network dropdown's rows: hidden services, the public address and the rate graph.
#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollector.h"
#include "collectors/network/ScriptedNetwork.h"
#include "preferences/PreferencesFixture.h"
#include "status/DropdownBuilders.h"
#include "status/ProcessTable.h"
#include "support/ScriptedMemory.h"
#include "support/ScriptedProcessor.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace corvane {
namespace {

class NoLoad final : public LoadStatCollector {
public:
    using LoadStatCollector::LoadStatCollector;

protected:
    std::optional<std::array<double, 3>> loadAverages() override { return std::nullopt; }
};

class NetworkDropdown : public test::PreferencesFixture {
protected:
    void SetUp() override {
        install();
        network.addService("ETH", "eth0", "Ethernet");
        network.addService("WIFI", "wlp2s0", "Wi-Fi");
        network.start();
    }
    void TearDown() override {
        for (StatCollector* c :
             std::initializer_list<StatCollector*>{&cpu, &load, &memory, &battery, &network})
            c->cleanup();
        PreferencesFixture::TearDown();
    }
    std::vector<std::string> rows(std::function<Value()> publicAddress = {},
                                  const PanelPicture& graph = {}) {
        ItemSources sources{cpu,     load,    memory, battery, processes, SysRoot(procRoot.path()),
                            nullptr, &network};
        sources.publicAddress = std::move(publicAddress);
        const DropdownBuilders builders(sources, text.with(CVBPreferences::sharedPreferences()));
        std::vector<std::string> texts;
        for (const auto& row : builders.dropdown("network", graph).rows)
            texts.push_back(row.action == kNextGraphPeriodAction ? "[next period]"
                            : row.picture.empty()                ? row.text
                                                                 : "[picture]");
        return texts;
    }
    static bool has(const std::vector<std::string>& rows, const std::string& text) {
        return std::find(rows.begin(), rows.end(), text) != rows.end();
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    test::ScriptedProcessor cpu{context, 2, 2};
    NoLoad load{context};
    test::ScriptedMemory memory{context};
    BatteryStatCollectorLinux battery{context, SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) /
                                                       "sysroot" / "laptop-discharging")};
    test::ScriptedNetwork network{context};
    test::TemporaryDirectory procRoot;
    ProcessTable processes{SysRoot(procRoot.path()), 100, 4096};
    TextCaches text;
};

TEST_F(NetworkDropdown, HiddenServicesAndInterfaceNames) {
    auto shown = rows();
    EXPECT_TRUE(has(shown, "Ethernet - eth0"));
    EXPECT_TRUE(has(shown, "Wi-Fi - wlp2s0"));
    CVBSetObjectForKey(Value::array({"WIFI"}), "FilteringNetwork");
    CVBSetBoolForKey(true, "Network_ShowBSD");
    shown = rows();
    EXPECT_TRUE(has(shown, "Ethernet - eth0 (eth0)"));
    EXPECT_FALSE(std::any_of(shown.begin(), shown.end(),
                             [](const std::string& row) { return row.starts_with("Wi-Fi"); }));
}

// The address settings reach the rows, with the kinds told by the kernel's flags.
TEST_F(NetworkDropdown, AddressSettingsShapeTheAddressRows) {
    network.state("WIFI/IPv4", Value::dict({{"Addresses", Value::array({"192.168.1.20"})},
                                            {"SubnetMasks", Value::array({"255.255.255.0"})}}));
    network.state("WIFI/IPv6",
                  Value::dict({{"Addresses", Value::array({"2001:db8:1::1000", "2001:db8::7"})}}));
    network.facts.ipv6AddressFlags = {
        {"2001:db8:1::1000", Value::dict({{"flags", 0x02}, {"scope", 0}, {"prefix", 128}})},
        {"2001:db8::7", Value::dict({{"flags", 0x01}, {"scope", 0}, {"prefix", 64}})}};
    network.updateInterfaces();
    EXPECT_TRUE(has(rows(), "IPv6: 2001:db8:1::1000, 2001:db8::7"));
    CVBSetObjectForKey(Value(1), "Network_IPV4AddressMode");
    CVBSetObjectForKey(Value(1), "Network_IPV6Group");
    CVBSetObjectForKey(Value(0), "Network_IPV6ShowDynamic");
    const auto shown = rows();
    EXPECT_TRUE(has(shown, "IPv4: 192.168.1.20/24"));
    EXPECT_TRUE(has(shown, "IPv6 (Temporary): 2001:db8::7"));
    EXPECT_FALSE(std::any_of(shown.begin(), shown.end(), [](const std::string& row) {
        return row.starts_with("Subnet Mask") || row.find("1000") != std::string::npos;
    }));
}

TEST_F(NetworkDropdown, PublicAddressWhileAskedAndShownThenTheRateGraph) {
    const auto known = [] { return Value::dict({{"address", "203.0.113.45"}}); };
    EXPECT_FALSE(has(rows(), "Public IP Address")) << "a program that does not ask";
    EXPECT_TRUE(has(rows([] { return Value::dict(); }), "Unknown"));
    const unsigned char pixels[4 * 2 * 2] = {};
    auto shown = rows(known, PanelPicture::fromRows(pixels, 2, 2, 8));
    const auto address = std::find(shown.begin(), shown.end(), "203.0.113.45");
    const auto picture = std::find(shown.begin(), shown.end(), "[picture]");
    ASSERT_LT(address, picture);
    ASSERT_NE(picture, shown.end());
    EXPECT_EQ(*(picture + 1), "[next period]");
    CVBSetObjectForKey(Value("buttons,public-ip"), "Network_DropdownOrderDisabled");
    EXPECT_FALSE(has(rows(known), "Public IP Address"));
}

} // namespace
} // namespace corvane
