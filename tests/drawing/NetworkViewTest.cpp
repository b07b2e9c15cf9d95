#include "DrawingFixture.h"
#include "collectors/network/ScriptedNetwork.h"
#include "drawing/CVBNetworkMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;
using corvane::test::ScriptedNetwork;
using Counters = NetworkStatCollector::InterfaceCounters;

namespace {

// Ethernet with a VLAN on it, Wi-Fi, and a VPN, twenty seconds of traffic on each.
class NetworkView : public DrawingFixture {
protected:
    void SetUp() override {
        network.addService("ETH", "eth0", "Ethernet");
        network.addService("VLAN", "eth0.7", "VLAN");
        network.addService("WIFI", "wlp2s0", kWiFiHardware);
        network.addService("VPN", "", "", "IPSec");
        network.facts.vlanMap["eth0.7"] = "eth0";
        network.extended["VPN"] = Value::dict({{"IPSec", Value::dict({{"Status", 5}})},
                                               {"IPv4", Value::dict({{"InterfaceName", "tun0"}})}});
        for (const char* bsd : {"eth0", "eth0.7", "wlp2s0"})
            network.setLink(bsd, true);
        network.setEntity("State:/Network/Service/ETH/IPv4",
                          Value::dict({{"Addresses", Value::array({"10.0.0.2"})}}));
        network.setPrimary("ETH", "eth0");
        network.start();
        network.networkStatus();
        for (std::uint64_t i = 1; i <= 20; ++i) {
            // eth0 carries the VLAN's traffic too; the VPN's goes over Wi-Fi.
            network.counters = std::vector<Counters>{{"eth0", true, false, 3000 * i * i, 700 * i},
                                                     {"eth0.7", true, false, 1000 * i * i, 100 * i},
                                                     {"wlp2s0", true, false, 500 * i, 200 * i},
                                                     {"tun0", true, false, 400 * i, 150 * i}};
            queue.advance(1.0);
            network.setID(static_cast<double>(i), 0);
            network.updateStats();
        }
        view.setSurface(&surface);
    }
    void TearDown() override {
        view.setSurface(nullptr);
        network.cleanup();
        PreferencesFixture::TearDown();
    }
    Image render(std::initializer_list<int> codes, bool dark = false, double scale = 2) {
        setDark(dark);
        CVBSetObjectForKey(modes(codes), "Network_MenubarMode");
        // On the panel's colour: the dark look draws in white.
        return ItemRenderer::render(view, host(scale),
                                    dark ? ItemRenderer::Background::Dark
                                         : ItemRenderer::Background::Light);
    }
    int width(std::initializer_list<int> codes) {
        CVBSetObjectForKey(modes(codes), "Network_MenubarMode");
        view.setContext(host());
        return view.drawAtOffset(0);
    }
    std::vector<std::string> active() const {
        std::vector<std::string> keys;
        for (const auto& item : view.activeCollectors())
            keys.push_back(item->key());
        return keys;
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedNetwork network{context};
    CVBNetworkMenuExtraView view{host(), network};
    Image scratch{600, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(NetworkView, RatesCountEachLinkOnceAndLeaveTheTunnelOut) {
    // The VLAN's parent carries its bytes; the VPN's tunnel rides on Wi-Fi.
    EXPECT_EQ(active(), (std::vector<std::string>{"ETH", "WIFI"}));
    const auto [download, upload] = view.rates();
    EXPECT_EQ(download, 3000.0 * (20 * 20 - 19 * 19) + 500);
    EXPECT_EQ(upload, 700.0 + 200);

    CVBSetObjectForKey(Value("VLAN"), "Network_PrimaryInterface"); // the user chose one
    view.setContext(host());
    EXPECT_TRUE(active().empty()); // its parent is gathered, so it never counts alone
    CVBSetObjectForKey(Value("WIFI"), "Network_PrimaryInterface");
    view.setContext(host());
    EXPECT_EQ(active(), std::vector<std::string>{"WIFI"});
    for (const char* all : {"ALL", "PRIMARY", "", "GONE"}) {
        CVBSetObjectForKey(Value(all), "Network_PrimaryInterface");
        view.setContext(host());
        EXPECT_EQ(active().size(), 2u) << all;
    }
}

TEST_F(NetworkView, ElementsKeepTheirWidths) {
    EXPECT_EQ(width({3}), 10); // the status dot: 14 less the last gap
    EXPECT_EQ(width({7}), 16); // the VPN picture: 20
    const int text = width({0});
    // Quieter rates make shorter texts, but the item keeps its width.
    network.counters = std::vector<Counters>{{"eth0", true, false, 1, 1}};
    queue.advance(1.0);
    network.setID(21, 0);
    network.updateStats();
    EXPECT_EQ(view.rates(), std::pair(0.0, 0.0));
    EXPECT_EQ(width({0}), text);
}

TEST_F(NetworkView, HistoryScalesBothDirectionsByOnePeak) {
    CVBSetIntegerForKey(0, "Network_GraphMode");
    view.setContext(host());
    const HistoryGraph graph = view.history();
    ASSERT_EQ(graph.samples.size(), 20u);
    EXPECT_EQ(graph.flip, (std::vector<bool>{true, false}));
    // All services count, the VLAN and tunnel too; the newest download is the largest value.
    EXPECT_EQ(graph.samples[0][1], 1.0);
    const double peak = 3000.0 * 39 + 1000.0 * 39 + 500 + 400;
    EXPECT_DOUBLE_EQ(graph.samples[0][0], (700.0 + 100 + 200 + 150) / peak);
    // The dropdown's columns are the means of four samples each, scaled alike.
    const HistoryGraph dropdown = view.dropdownHistory(0, 150, 4);
    ASSERT_EQ(dropdown.samples.size(), 5u);
    EXPECT_EQ(dropdown.samples[0][1], 1.0);
    const double meanPeak = 4000.0 * (33 + 35 + 37 + 39) / 4 + 500 + 400;
    EXPECT_DOUBLE_EQ(dropdown.samples[0][0], (700.0 + 100 + 200 + 150) / meanPeak);
    CVBSetIntegerForKey(3, "Network_GraphMode");
    view.setContext(host());
    EXPECT_TRUE(view.history().strokeOnly);
    EXPECT_TRUE(view.history().frames.empty());
}

TEST_F(NetworkView, LooksAsRecorded) {
    EXPECT_TRUE(matchesGolden(render({100, 0, 1, 2, 3, 5, 7}), "network-light"));
    EXPECT_TRUE(matchesGolden(render({4, 3, 0, 1, 7}, true), "network-dark"));
}

} // namespace
