#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/network/ScriptedNetwork.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "hardware/PlatformLinux.h"
#include "preferences/PreferencesFixture.h"
#include "status/BeatQueue.h"
#include "status/DropdownBuilders.h"
#include "status/InstanceLock.h"
#include "status/ProcessTable.h"
#include "status/StatusSections.h"
#include "support/RecordedMachine.h"
#include "support/ScriptedMemory.h"
#include "support/ScriptedProcessor.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(BeatQueue, TimersDueTogetherShareOneWakeUpAndOneFrame) {
    ManualMainQueue inner;
    BeatQueue beat(inner, 0.005, [&] { return inner.now(); });
    std::vector<int> ran;
    int batches = 0;
    beat.setAfterBatch([&] { ++batches; });
    beat.after(1.0, [&] {
        ran.push_back(1);
        beat.after(0, [&] { ran.push_back(5); }); // scheduled for now: the same batch
    });
    beat.after(1.0004, [&] { ran.push_back(2); });
    beat.after(1.3, [&] { ran.push_back(3); });
    beat.cancel(beat.after(1.001, [&] { ran.push_back(4); }));
    EXPECT_EQ(inner.pendingCount(), 1u);

    inner.advance(1.1);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 5}));
    EXPECT_EQ(batches, 1);
    inner.advance(0.3);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 5, 3}));
    EXPECT_EQ(batches, 2);
    EXPECT_EQ(inner.pendingCount(), 0u);
}

TEST(StatusSections, TheStoredOrderGivesTheDrawnItemsEachOnce) {
    std::vector<std::string> names;
    for (const auto* section : enabledSections({-1, 4, 2, 1, 2, 6, 99}))
        names.emplace_back(section->name);
    // Unknown keys give nothing; a key listed twice, one item.
    EXPECT_EQ(names, (std::vector<std::string>{"network", "memory", "cpu", "battery"}));
    EXPECT_EQ(statusSectionForNotification("CorvaneBarMeoryPreferencesChanged")->key, 2);
}

TEST(InstanceLock, OneHolderAtATime) {
    test::TemporaryDirectory dir;
    auto first = std::make_unique<InstanceLock>(dir / "run" / "lock");
    EXPECT_TRUE(first->acquired());
    EXPECT_FALSE(InstanceLock(dir / "run" / "lock").acquired());
    first.reset();
    EXPECT_TRUE(InstanceLock(dir / "run" / "lock").acquired());
}

// A /proc with processes whose times and sizes the test sets.
class RecordedProcesses : public ::testing::Test {
protected:
    void process(int pid, const char* name, int ticks, int pages) {
        const auto dir = root / "proc" / std::to_string(pid);
        std::filesystem::create_directories(dir);
        std::ofstream(dir / "stat") << pid << " (" << name << ") S 1 1 1 0 -1 0 0 0 0 0 " << ticks
                                    << " 0 0 0 20 0 1 0 100 1000 " << pages << "\n";
    }
    test::TemporaryDirectory root;
    ProcessTable table{SysRoot(root.path()), 100, 4096};
};

TEST_F(RecordedProcesses, SharesAreMeasuredBetweenScans) {
    process(1, "init", 100, 50);
    process(2, "editor", 50, 2000);
    std::filesystem::create_directories(root / "proc" / "self");
    table.scan(10.0);
    EXPECT_FALSE(table.measured());
    process(1, "init", 300, 50); // 200 ticks in 2 s: one whole processor
    process(2, "editor", 60, 2000);
    process(3, "new", 900, 10); // its ticks since start count for nothing yet
    table.scan(12.0);
    ASSERT_TRUE(table.measured());
    const auto busy = table.topByCPU(2);
    ASSERT_EQ(busy.size(), 2u);
    EXPECT_EQ(busy[0], (ProcessUsage{1, "init", 100.0, 200.0}));
    EXPECT_DOUBLE_EQ(busy[1].cpuPercent, 5.0);
    const auto large = table.topByMemory(5);
    ASSERT_EQ(large.size(), 3u);
    EXPECT_EQ(large[0].name, "editor");
    EXPECT_DOUBLE_EQ(large[0].residentKilobytes, 8000.0);
}

// The kernel cuts names at 15 bytes: the command line completes them, unless the program
// renamed itself; "Combine Processes" sums a name's processes into one row.
TEST_F(RecordedProcesses, CutNamesAreCompletedAndOneNameCanBeOneRow) {
    process(7, "preference_writ", 0, 100);
    std::ofstream(root / "proc/7/cmdline")
        << std::string("/opt/bin/preference_writer\0--toggle", 35);
    process(8, "preference_writ", 0, 300);
    std::ofstream(root / "proc/8/cmdline") << std::string("/usr/bin/python3\0x", 18);
    process(9, "preference_writ", 0, 50);
    std::ofstream(root / "proc/9/cmdline") << std::string("/opt/bin/preference_writer\0", 27);
    table.scan(1.0);
    const auto separate = table.topByMemory(5);
    ASSERT_EQ(separate.size(), 3u);
    EXPECT_EQ(separate[0].name, "preference_writ"); // renamed: its command is another name
    EXPECT_EQ(separate[1].name, "preference_writer");
    const auto combined = table.topByMemory(5, true);
    ASSERT_EQ(combined.size(), 2u);
    EXPECT_EQ(combined[0], (ProcessUsage{8, "preference_writ", 0.0, 1200.0}));
    EXPECT_EQ(combined[1], (ProcessUsage{7, "preference_writer", 0.0, 600.0}));
}

// The rows' texts, with the graph and its period button marked.
std::vector<std::string> texts(const DropdownModel& model) {
    std::vector<std::string> rows;
    for (const auto& row : model.rows)
        rows.push_back(row.action == kNextGraphPeriodAction ? "[next period]"
                       : row.picture.empty()                ? row.text
                                                            : "[picture]");
    return rows;
}

bool has(const std::vector<std::string>& rows, const std::string& text) {
    return std::find(rows.begin(), rows.end(), text) != rows.end();
}

// The dropdowns over machines the test scripts.
class Dropdowns : public test::PreferencesFixture {
protected:
    void SetUp() override {
        install();
        cpu.ticks.assign(2, {});
        cpu.setup();
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
    ItemSources sources() {
        return {cpu, load, memory, battery, processes, SysRoot(procRoot.path()), nullptr, &network};
    }
    DropdownBuilders builders(ItemSources from) {
        return DropdownBuilders(std::move(from), text.with(CVBPreferences::sharedPreferences()));
    }
    DropdownBuilders builders() { return builders(sources()); }
    std::vector<std::string> networkRows(std::function<Value()> publicAddress = {},
                                         const PanelPicture& graph = {}) {
        ItemSources from = sources();
        from.publicAddress = std::move(publicAddress);
        return texts(builders(std::move(from)).dropdown("network", graph));
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    test::ScriptedProcessor cpu{context, 2, 2};
    test::ScriptedLoad load{context};
    test::ScriptedMemory memory{context};
    BatteryStatCollectorLinux battery{context, test::recordedRoot("laptop-discharging")};
    test::ScriptedNetwork network{context};
    test::TemporaryDirectory procRoot;
    ProcessTable processes{SysRoot(procRoot.path()), 100, 4096};
    TextCaches text;
};

TEST_F(Dropdowns, FiguresNotReadAreLeftOutAndEveryDropdownEndsAlike) {
    for (const char* section : {"cpu", "memory", "battery", "time"}) {
        const auto rows = texts(builders().dropdown(section));
        ASSERT_GE(rows.size(), 3u);
        EXPECT_EQ(std::vector<std::string>(rows.end() - 2, rows.end()),
                  (std::vector<std::string>{"Open Corvane Bar Settings…", "Quit"}))
            << section;
        EXPECT_FALSE(std::any_of(rows.begin(), rows.end(),
                                 [](const std::string& r) { return r.starts_with("User:"); }));
    }
    EXPECT_TRUE(has(texts(builders().dropdown("cpu")), "No processor figures"));
    EXPECT_EQ(builders().summary("memory").label, "");
    EXPECT_EQ(builders().dropdown("cpu").rows.back().action, kQuitAction);
}

TEST_F(Dropdowns, TheProcessorListsItsSharesCoresLoadAndUptime) {
    cpu.advance({{30, 10}, {10, 10}});
    queue.advance(1);
    cpu.updateStats();
    load.averages = {{1.5, 1.0, 0.25}};
    load.updateStats();
    std::filesystem::create_directories(procRoot / "proc");
    std::ofstream(procRoot / "proc" / "uptime") << "93784.5 100.0\n";

    const auto rows = texts(builders().dropdown("cpu"));
    for (const char* expected :
         {"User: 20%", "System: 10%", "Nice: 0%", "Idle: 70%", "Core 1: 40%", "Core 2: 20%",
          "Load Averages: 1.50, 1.00, 0.25", "Uptime: 1 day 2:03"})
        EXPECT_TRUE(has(rows, expected)) << expected;
    const ItemSummary summary = builders().summary("cpu");
    EXPECT_EQ(summary.label, "30%");
    EXPECT_DOUBLE_EQ(summary.fraction, 0.3);
    EXPECT_EQ(summary.tooltip, "CPU: 30%");
}

TEST_F(Dropdowns, MemoryShowsPressureSwapAndTheLargestProcesses) {
    memory.reading.pageSize = 4096;
    memory.reading.installedMemory = 8ull << 30;
    memory.reading.wiredPages = 1u << 18;  // 1 GiB
    memory.reading.activePages = 1u << 19; // 2 GiB
    memory.reading.freePages = 1u << 20;
    memory.reading.swapTotal = 2ull << 30;
    memory.reading.swapUsed = 1ull << 29;
    memory.pressure = 2;
    memory.updateStats();
    queue.advance(1);
    memory.updateStats();
    std::filesystem::create_directories(procRoot / "proc" / "7");
    std::ofstream(procRoot / "proc" / "7" / "stat")
        << "7 (database) S 1 1 1 0 -1 0 0 0 0 0 10 0 0 0 20 0 1 0 100 1000 262144\n";
    processes.scan(1);

    const auto rows = texts(builders().dropdown("memory"));
    EXPECT_EQ(rows.front(), "Memory");
    const auto pressure = std::find_if(
        rows.begin(), rows.end(), [](const std::string& r) { return r.starts_with("Pressure: "); });
    ASSERT_NE(pressure, rows.end());
    EXPECT_TRUE(pressure->ends_with("% (Warning)")) << *pressure;
    EXPECT_TRUE(has(rows, "Swap Used: 512 MB of 2.00 GB")) << ::testing::PrintToString(rows);
    EXPECT_TRUE(has(rows, "database: 1.00 GB")) << ::testing::PrintToString(rows);
    EXPECT_EQ(builders().summary("memory").label, "38%");
}

TEST_F(Dropdowns, EachPowerSourceWithItsChargeStateTimeAndHealth) {
    battery.updateStats();
    const auto rows = texts(builders().dropdown("battery"));
    for (const char* expected : {"Battery", "Charge: 60%", "State: Discharging", "Time: 3:00",
                                 "Health: 90%", "Cycles: 187", "Wireless Mouse MX", "Charge: 55%"})
        EXPECT_TRUE(has(rows, expected)) << expected << " in " << ::testing::PrintToString(rows);
    const ItemSummary summary = builders().summary("battery");
    EXPECT_EQ(summary.label, "60%");
    EXPECT_EQ(summary.batteryState, BatteryStatCollectorItem::Discharging);
}

TEST_F(Dropdowns, SensorsByHeadingWithLimitsAndTheExtremesSeen) {
    const SysRoot root = test::recordedRoot("hw-intel-laptop");
    HwmonReadings readings(root);
    SensorsStatCollectorLinux sensors(
        context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
    sensors.loadSensors();
    ItemSources from = sources();
    from.sensors = &sensors;
    const DropdownBuilders withSensors = builders(from);
    const auto rows = texts(withSensors.dropdown("sensors"));
    ASSERT_GE(rows.size(), 6u);
    EXPECT_EQ(rows[0], "TEMPERATURE SENSORS");
    EXPECT_EQ(rows[1], "acpitz temp1: 44°  (44° – 44°)");
    EXPECT_EQ(rows[4], "coretemp Package id 0: 48°  0° – 100°  (48° – 48°)");
    EXPECT_EQ(withSensors.summary("sensors").label, "48°");
    EXPECT_TRUE(has(texts(builders().dropdown("sensors")), "Quit")); // no collector, no rows
    sensors.cleanup();
}

TEST_F(Dropdowns, NetworkHiddenServicesAndInterfaceNames) {
    auto shown = networkRows();
    EXPECT_TRUE(has(shown, "Ethernet - eth0"));
    EXPECT_TRUE(has(shown, "Wi-Fi - wlp2s0"));
    CVBSetObjectForKey(Value::array({"WIFI"}), "FilteringNetwork");
    CVBSetBoolForKey(true, "Network_ShowBSD");
    shown = networkRows();
    EXPECT_TRUE(has(shown, "Ethernet - eth0 (eth0)"));
    EXPECT_FALSE(std::any_of(shown.begin(), shown.end(),
                             [](const std::string& row) { return row.starts_with("Wi-Fi"); }));
}

// The address settings reach the rows, with the kinds told by the kernel's flags.
TEST_F(Dropdowns, NetworkAddressSettingsShapeTheAddressRows) {
    network.state("WIFI/IPv4", Value::dict({{"Addresses", Value::array({"192.168.1.20"})},
                                            {"SubnetMasks", Value::array({"255.255.255.0"})}}));
    network.state("WIFI/IPv6",
                  Value::dict({{"Addresses", Value::array({"2001:db8:1::1000", "2001:db8::7"})}}));
    network.facts.ipv6AddressFlags = {
        {"2001:db8:1::1000", Value::dict({{"flags", 0x02}, {"scope", 0}, {"prefix", 128}})},
        {"2001:db8::7", Value::dict({{"flags", 0x01}, {"scope", 0}, {"prefix", 64}})}};
    network.updateInterfaces();
    EXPECT_TRUE(has(networkRows(), "IPv6: 2001:db8:1::1000, 2001:db8::7"));
    CVBSetObjectForKey(Value(1), "Network_IPV4AddressMode");
    CVBSetObjectForKey(Value(1), "Network_IPV6Group");
    CVBSetObjectForKey(Value(0), "Network_IPV6ShowDynamic");
    const auto shown = networkRows();
    EXPECT_TRUE(has(shown, "IPv4: 192.168.1.20/24"));
    EXPECT_TRUE(has(shown, "IPv6 (Temporary): 2001:db8::7"));
    EXPECT_FALSE(std::any_of(shown.begin(), shown.end(), [](const std::string& row) {
        return row.starts_with("Subnet Mask") || row.find("1000") != std::string::npos;
    }));
}

TEST_F(Dropdowns, NetworkPublicAddressWhileAskedAndShownThenTheRateGraph) {
    const auto known = [] { return Value::dict({{"address", "203.0.113.45"}}); };
    EXPECT_FALSE(has(networkRows(), "Public IP Address")) << "a program that does not ask";
    EXPECT_TRUE(has(networkRows([] { return Value::dict(); }), "Unknown"));
    const unsigned char pixels[4 * 2 * 2] = {};
    auto shown = networkRows(known, PanelPicture::fromRows(pixels, 2, 2, 8));
    const auto address = std::find(shown.begin(), shown.end(), "203.0.113.45");
    const auto picture = std::find(shown.begin(), shown.end(), "[picture]");
    ASSERT_LT(address, picture);
    ASSERT_NE(picture, shown.end());
    EXPECT_EQ(*(picture + 1), "[next period]");
    CVBSetObjectForKey(Value("buttons,public-ip"), "Network_DropdownOrderDisabled");
    EXPECT_FALSE(has(networkRows(known), "Public IP Address"));
}

} // namespace
} // namespace corvane
