#include "collectors/network/NetworkStatus.h"
#include "collectors/network/ScriptedNetwork.h"
#include "foundation/ManualMainQueue.h"

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::ScriptedNetwork;
using Counters = NetworkStatCollector::InterfaceCounters;

namespace {

class Bandwidth : public ::testing::Test {
protected:
    Bandwidth() {
        net.addService("ETH", "eth0", "Ethernet");
        net.setLink("eth0", true);
        net.addService("WIFI", "wlp2s0", kWiFiHardware);
        net.addService("LO", "lo", "Loopback");
        net.setPrimary("ETH", "eth0");
        net.start();
    }
    // One cycle after `seconds` with the given counters of eth0 (up) and lo.
    void cycle(double seconds, std::uint64_t in, std::uint64_t out, bool up = true) {
        queue.advance(seconds);
        net.counters =
            std::vector<Counters>{{"lo", true, true, 900, 900}, {"eth0", up, false, in, out}};
        beat();
    }
    // As the cycle does: the next sample's identifier, then the update.
    void beat() {
        net.setID(net.idForInterval(0) + 1, 0);
        net.updateStats();
    }
    std::pair<double, double> rates(const std::string& key = "ETH") {
        const statsample s = net.item(key)->sampleAtIndex(0, 0);
        return {s.values[0], s.values[1]};
    }

    ManualMainQueue queue{1'700'000'100.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedNetwork net{context};
};

TEST_F(Bandwidth, RatesDivideByTheElapsedWallClockPerDirection) {
    const struct {
        double seconds;
        std::uint64_t in, out;
        double download, upload;
    } steps[] = {
        {1, 1000, 500, 0, 0},      // first sample: no burst
        {2, 5000, 900, 2000, 200}, // a late sample divides by its true elapsed time
        {1, 4000, 1900, 0, 1000},  // download counter reset: only that direction is 0
        {0, 4500, 2000, 0, 0},     // no time elapsed: rates 0, counters kept
        {1, 5500, 2100, 1000, 100},
    };
    for (const auto& step : steps) {
        cycle(step.seconds, step.in, step.out);
        EXPECT_EQ(rates(), std::pair(step.download, step.upload)) << step.in << "/" << step.out;
        EXPECT_EQ(net.item("ETH")->totalDownload(), static_cast<double>(step.in));
    }
    EXPECT_EQ(net.item("ETH")->peakDownload, 2000);
    EXPECT_EQ(net.item("ETH")->peakUpload, 1000);
}

TEST_F(Bandwidth, DownLoopbackAndUnmatchedServicesRecordSilence) {
    cycle(1, 1000, 1000);
    cycle(1, 2000, 3000);
    EXPECT_EQ(rates(), std::pair(1000.0, 2000.0));
    EXPECT_EQ(rates("LO"), std::pair(0.0, 0.0)); // loopback is not counted
    EXPECT_EQ(net.item("LO")->totalDownload(), 0);
    EXPECT_EQ(rates("WIFI"), std::pair(0.0, 0.0));

    cycle(1, 3000, 4000, false); // interface down: its service records zeros
    EXPECT_EQ(rates(), std::pair(0.0, 0.0));
    EXPECT_EQ(net.item("ETH")->totalDownload(), 0);
    cycle(1, 9000, 9000); // back: the stored counter is 0, so no burst
    EXPECT_EQ(rates(), std::pair(0.0, 0.0));
    cycle(1, 9500, 9100);
    EXPECT_EQ(rates(), std::pair(500.0, 100.0));
    EXPECT_EQ(net.primaryDownloadTotal(), 9500);
    EXPECT_EQ(net.primaryUploadTotal(), 9100);
}

TEST_F(Bandwidth, TheReportShowsTheNewestRatesInUnitsOf1024) {
    cycle(1, 1000, 1000);
    cycle(1, 1000 + 1536, 1000 + 5 * 1048576);
    const Value report = NetworkStatus(net).dictionary();
    const Value& eth = report["services"][0];
    EXPECT_EQ(eth["interface"].stringValue(), "eth0");
    EXPECT_TRUE(eth["primary"].boolValue());
    EXPECT_EQ(eth["download"].doubleValue(), 1536);
    EXPECT_FALSE(report["services"][1]["primary"].boolValue());
    EXPECT_NE(NetworkStatus(net).ratesLine().find("eth0 down 1.5 KB/s up 5.0 MB/s"),
              std::string::npos);
    const std::pair<double, const char*> rates[] = {
        {0, "0 B/s"},           {1023, "1023 B/s"},    {1024, "1.0 KB/s"},
        {1023.6, "1.0 KB/s"},   {1048575, "1.0 MB/s"}, {1073741824, "1.0 GB/s"},
        {1e15, "931322.6 GB/s"}};
    for (auto [rate, text] : rates)
        EXPECT_EQ(NetworkStatus::rateText(rate), text);
}

TEST_F(Bandwidth, OverviewListsTheCountedInterfacesAndUnreadableCountersLoseOneSample) {
    net.counters = std::vector<Counters>{
        {"lo", true, true, 1, 1}, {"eth0", true, false, 10, 20}, {"eth1", false, false, 3, 3}};
    const auto overview = net.statsOverview();
    ASSERT_TRUE(overview);
    ASSERT_EQ(overview->size(), 1u);
    EXPECT_EQ((*overview)[0]["key"].stringValue(), "eth0");
    EXPECT_EQ((*overview)[0]["down"].doubleValue(), 10);
    EXPECT_EQ((*overview)[0]["up"].doubleValue(), 20);

    cycle(1, 1000, 1000);
    const auto id = net.item("ETH")->sampleAtIndex(0, 0).sampleID;
    net.counters.reset();
    beat();
    EXPECT_EQ(net.item("ETH")->sampleAtIndex(0, 0).sampleID, id);
    EXPECT_FALSE(net.statsOverview().has_value());
    EXPECT_TRUE(net.bandwidthItems().empty()); // periods are counted only while monitoring
}

class Periods : public Bandwidth {
protected:
    Periods() {
        net.bandwidthMonitoringEnabled = true;
        net.wifi["wlp2s0"] = {"aa:00:00:00:00:01", "Home"};
        net.updatePrimarySettings();
    }
    void wifiCycle(double seconds, std::uint64_t in, std::uint64_t out) {
        queue.advance(seconds);
        net.counters = std::vector<Counters>{{"wlp2s0", true, false, in, out}};
        beat();
    }
    const NetworkStatCollectorBandwidthItem& period(const std::string& bsd) {
        return net.bandwidthItems().at(bsd);
    }
};

TEST_F(Periods, ANewAccessPointClosesEveryStretchAndANewNameDoesNot) {
    cycle(1, 1000, 100);
    wifiCycle(1, 500, 50);
    wifiCycle(1, 900, 90);
    EXPECT_EQ(period("wlp2s0").wifiName, "Home");
    net.wifi["wlp2s0"] = {"aa:00:00:00:00:01", "Home 2"};
    net.updatePrimarySettings();
    wifiCycle(1, 1000, 100);
    EXPECT_EQ(period("wlp2s0").downloadBytes(), 500);
    EXPECT_EQ(period("wlp2s0").wifiName, "Home 2");

    net.wifi["wlp2s0"] = {"aa:00:00:00:00:02", "Office"};
    net.updatePrimarySettings();
    cycle(1, 3000, 300); // eth0 read first: the Wi-Fi change has not been seen yet
    wifiCycle(1, 1300, 130);
    EXPECT_EQ(period("wlp2s0").downloadBytes(), 0);
    EXPECT_EQ(period("wlp2s0").wifiBSSID, "aa:00:00:00:00:02");
    EXPECT_EQ(period("wlp2s0").wifiName, "Office");
    EXPECT_EQ(period("eth0").downloadBytes(), 0);
    EXPECT_EQ(period("eth0").start, queue.now());
}

TEST_F(Periods, PeriodsCloseAtMultiplesOfTenMinutesAndSurviveAWrappedCounter) {
    // Started at ...100: the first period ends at the next multiple of 600.
    EXPECT_EQ(net.nextBandwidthUpdateTime(), 1'700'000'400.0);
    cycle(1, 1000, 100);
    EXPECT_EQ(period("eth0").end, 1'700'000'400.0);
    cycle(1, 5000, 600);
    cycle(1, 200, 50); // wrapped or reset: the stretch so far is kept
    EXPECT_EQ(period("eth0").downloadRunningTotal, 4000);
    EXPECT_EQ(period("eth0").uploadRunningTotal, 500);
    cycle(250, 1200, 150);
    EXPECT_EQ(period("eth0").downloadBytes(), 5000);
    EXPECT_EQ(period("eth0").uploadBytes(), 600);
    cycle(100, 2500, 250);
    EXPECT_EQ(period("eth0").start, 1'700'000'400.0);
    EXPECT_EQ(period("eth0").end, 1'700'001'000.0);
    EXPECT_EQ(period("eth0").downloadBytes(), 0);
    cycle(1, 2600, 260);
    EXPECT_EQ(period("eth0").downloadBytes(), 100);

    net.saveBandwidth();
    EXPECT_EQ(period("eth0").downloadBytes(), 0);
    EXPECT_EQ(period("eth0").start, queue.now());
}

} // namespace
