#include "../../links/DaemonProcess.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatus.h"
#include "foundation/ManualMainQueue.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/PlatformController.h"
#include "hardware/PlatformLinux.h"
#include "links/DaemonProbe.h"
#include "preferences/PreferencesFixture.h"
#include "support/RecordedMachine.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>

using namespace corvane;
namespace fs = std::filesystem;

namespace {

fs::path fixture(const char* name) {
    return test::kRecordedMachines / name;
}

void write(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text << "\n";
}

class Sensors : public ::testing::Test {
protected:
    std::unique_ptr<SensorsStatCollectorLinux> hwmonCollector(const fs::path& tree) {
        SysRoot root(tree);
        HwmonReadings readings(root);
        PlatformInputs inputs;
        inputs.facts = readHardwareFacts(root);
        auto collector = std::make_unique<SensorsStatCollectorLinux>(
            context, root, std::make_unique<PlatformLinux>(std::move(inputs), readings.inputs()));
        collector->loadSensors();
        return collector;
    }
    static std::map<std::string, std::pair<int, float>> byKey(const SensorsStatCollector& c) {
        std::map<std::string, std::pair<int, float>> rows;
        for (const auto& item : c.sensors())
            rows[item->key()] = {item->sensorType, item->reading};
        return rows;
    }

    // Starts `daemon` on the session bus; without a bus or a daemon only this process reads.
    bool started(test::DaemonProcess& daemon) {
        if (bus && daemon.start(bus.get()))
            return true;
        std::printf("no session bus or no daemon (%s): only this process's reading is checked\n",
                    daemon.log().c_str());
        return false;
    }

    ManualMainQueue queue{1'795'000'000.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    const GObjectRef<GDBusConnection> bus =
        GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
};

// Every input once, in the unit shown, under its heading's type.
TEST_F(Sensors, RecordedPCs) {
    using Rows = std::map<std::string, std::pair<int, float>>;
    struct Case {
        const char* tree;
        Rows expected;
        const char* defaultKey;
    };
    for (const auto& c : {
             Case{"hw-amd-desktop",
                  {{"acpitz-virtual-0/temp1", {0, 16.8F}},
                   {"amdgpu-pci-0300/temp1", {0, 41.0F}},
                   {"amdgpu-pci-0300/in0", {3, 0.856F}},
                   {"amdgpu-pci-0300/power1", {5, 9.123F}},
                   {"amdgpu-pci-0300/fan1", {2, 0.0F}},
                   {"amdgpu-pci-0300/freq1", {8, 500.0F}},
                   {"k10temp-pci-00c3/temp1", {0, 45.125F}},
                   {"k10temp-pci-00c3/temp3", {0, 44.5F}},
                   {"nct6798-nct6775.656/in0", {3, 1.008F}},
                   {"nct6798-nct6775.656/curr1", {4, 1.2F}},
                   {"nct6798-nct6775.656/fan2", {2, 912.0F}},
                   {"nvme-pci-0100/temp1", {1, 38.85F}}},
                  "k10temp-pci-00c3/temp1"},
             Case{"hw-intel-laptop",
                  {{"acpitz-thermal_zone0/temp1", {0, 44.0F}},
                   {"coretemp.0/temp1", {0, 48.0F}},
                   {"coretemp.0/temp2", {0, 46.0F}},
                   {"coretemp.0/temp3", {0, 47.0F}},
                   {"lm75-i2c-0-48/temp1", {0, 31.5F}}},
                  "coretemp.0/temp1"},
             Case{"hw-arm-board",
                  {{"cpu_thermal-thermal_zone0/temp1", {0, 47.236F}}},
                  "cpu_thermal-thermal_zone0/temp1"},
         }) {
        const auto collector = hwmonCollector(fixture(c.tree));
        EXPECT_EQ(byKey(*collector), c.expected) << c.tree;
        int lastType = -1; // listed by type
        for (const auto& item : collector->sensors()) {
            EXPECT_EQ(item->defaultSensor, item->key() == c.defaultKey) << item->key();
            EXPECT_GE(item->sensorType, lastType) << item->key();
            lastType = item->sensorType;
        }
    }
    EXPECT_TRUE(hwmonCollector(fixture("hw-no-dmi"))->sensors().empty());
    // The chip's limits; nvme's -273.15 minimum is a placeholder, not a limit.
    const auto core = hwmonCollector(fixture("hw-intel-laptop"))->sensorWithKey("coretemp.0/temp1");
    ASSERT_TRUE(core);
    EXPECT_TRUE(core->hasFixedLimits);
    EXPECT_FLOAT_EQ(core->high, 100.0F);
    EXPECT_FLOAT_EQ(core->percentage, 0.48F);
    EXPECT_FLOAT_EQ(
        hwmonCollector(fixture("hw-amd-desktop"))->sensorWithKey("nvme-pci-0100/temp1")->low, 0.0F);
}

// The key path on a recorded Intel Mac: the catalogue's rows, read through the controller.
TEST_F(Sensors, RecordedIntelMacThroughItsKeysReadHereAndByTheDaemon) {
    const SysRoot root(fixture("hw-macbookpro11-1"));
    SensorSMCController smc(std::make_unique<AppleSMCSysfs>(root));
    SensorsStatCollectorLinux direct(context, root,
                                     makePlatform(root, readPlatformInputs(root, &smc), false),
                                     std::make_unique<SMCDirectKeyReader>(smc, false));
    direct.loadSensors();
    // A user's collector asks the daemon, here on a private session bus over the same tree.
    test::DaemonProcess daemon({"--sysroot", fixture("hw-macbookpro11-1").string()});
    std::unique_ptr<SensorsStatCollectorLinux> throughDaemon;
    if (started(daemon))
        throughDaemon = SensorsStatCollectorLinux::make(
            context, root, GObjectRef<GDBusConnection>::share(bus.get()));
    for (SensorsStatCollectorLinux* mac : {&direct, throughDaemon.get()}) {
        if (!mac)
            continue;
        EXPECT_FALSE(mac->readsHwmon());
        const auto rows = byKey(*mac);
        EXPECT_EQ(rows.at("TC0D"), (std::pair{0, 58.5F}));
        EXPECT_EQ(rows.at("TB1T"), (std::pair{0, 39.5F}));
        EXPECT_EQ(rows.at("F0Ac"), (std::pair{2, 1299.0F}));
        EXPECT_FALSE(rows.contains("TB2T")) << "reads -127, the code of a missing sensor";
        EXPECT_TRUE(mac->fanControlSupported());
        EXPECT_TRUE(mac->sensorWithKey("TC0D")->defaultSensor);
    }
    if (!throughDaemon)
        return;
    // A daemon that went away costs one short wait, then none; temperatures keep their value.
    daemon.stop();
    const auto start = std::chrono::steady_clock::now();
    for (std::int64_t beat = 2; beat <= 8; beat += 2)
        throughDaemon->updateStats(beat);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(throughDaemon->sensorWithKey("TC0D")->reading, 58.5F);
}

// The first Apple silicon Macs read sensors by name: the catalogue names the labelled hwmon
// inputs it knows, averages stand in for their members, negative readings are left out.
TEST_F(Sensors, RecordedFirstAppleSiliconMacByNameHereAndByTheDaemon) {
    const test::RecordedMachine copy("hw-macbookair10-1");
    const SysRoot root(copy.path());
    const std::map<std::string, std::pair<int, float>> expected{
        {"SOC MTR 0", {0, 41.25F}},   {"SOC MTR 1", {0, 42.75F}},
        {"SOC MTR 2", {0, 40.0F}},    {"GPU MTR 1", {0, 37.5F}},
        {"ANE MTR 1", {0, 35.0F}},    {"AS_SOCDIE_AVERAGE", {0, 124.0F / 3}},
        {"AS_EFF_AVG", {0, 38.5F}},   {"AS_PERF_AVG", {0, 46.0F}},
        {"AS_PMDIE_AVG", {0, 37.0F}}, {"AS_PMSOC_AVG", {0, 40.5F}}};
    test::DaemonProcess daemon({"--sysroot", copy.path().string()});
    const bool daemonRuns = started(daemon);
    if (daemonRuns) {
        const auto answer = daemonArmSensors(
            bus.get(), Value::array({Value::dict({{"key", "SOC MTR 1"}, {"name", "Die"}})}), 1000);
        ASSERT_TRUE(answer);
        ASSERT_EQ(answer->size(), 1u) << *answer;
        EXPECT_DOUBLE_EQ((*answer)[0]["value"].doubleValue(), 42.75);
    }
    auto local = SensorsStatCollectorLinux::make(context, root, {});
    auto throughDaemon =
        daemonRuns ? SensorsStatCollectorLinux::make(context, root,
                                                     GObjectRef<GDBusConnection>::share(bus.get()))
                   : nullptr;
    daemon.stop();
    write(copy / "sys/devices/platform/soc/23e400000.smc/macsmc-hwmon/hwmon/hwmon0/temp1_input",
          "50250");
    for (SensorsStatCollectorLinux* mac : {local.get(), throughDaemon.get()}) {
        if (!mac)
            continue;
        EXPECT_EQ(mac->platform().className(), "MacBookAir10_1");
        EXPECT_FALSE(mac->readsHwmon());
        EXPECT_EQ(byKey(*mac), expected);
        EXPECT_EQ(mac->sensorWithKey("SOC MTR 0")->name, "M1 SOC Die 1");
        EXPECT_TRUE(mac->sensorWithKey("AS_SOCDIE_AVERAGE")->defaultSensor);
        EXPECT_FLOAT_EQ(mac->sensorWithKey("GPU MTR 1")->lowestRecordedValue, 37.5F);
        EXPECT_FLOAT_EQ(mac->sensorWithKey("GPU MTR 1")->percentage, 0.0F);
        // Later readings come from this process, the daemon gone or not.
        mac->updateStats(2);
        EXPECT_FLOAT_EQ(mac->sensorWithKey("SOC MTR 0")->reading, 50.25F);
        EXPECT_FLOAT_EQ(mac->sensorWithKey("AS_SOCDIE_AVERAGE")->reading, 133.0F / 3);
        EXPECT_FLOAT_EQ(mac->sensorWithKey("SOC MTR 0")->highestRecordedValue, 50.25F);
    }
}

// hwmonN follows probe order; the items must not.
TEST_F(Sensors, KeysSurviveAPermutationOfTheHwmonNumbers) {
    const test::RecordedMachine copy("hw-amd-desktop");
    const auto before = byKey(*hwmonCollector(copy.path()));
    const fs::path classDir = copy / "sys/class/hwmon";
    std::vector<std::pair<fs::path, fs::path>> links;
    for (const auto& entry : fs::directory_iterator(classDir))
        links.emplace_back(entry.path(), fs::read_symlink(entry.path()));
    std::sort(links.begin(), links.end());
    for (const auto& link : links)
        fs::remove(link.first);
    for (std::size_t i = 0; i < links.size(); ++i) {
        const std::string number = "hwmon" + std::to_string(7 + (i + 2) % links.size());
        const fs::path target = links[i].second.parent_path() / number;
        fs::rename(classDir / links[i].second, classDir / target);
        fs::create_symlink(target, classDir / number);
    }
    EXPECT_EQ(byKey(*hwmonCollector(copy.path())), before);
}

// A removed USB device takes its chip away; when it returns, so does its item, same key.
TEST_F(Sensors, AChipThatLeavesAndComesBack) {
    const test::RecordedMachine copy("hw-amd-desktop");
    auto collector = hwmonCollector(copy.path());
    const std::size_t all = collector->sensors().size();
    const fs::path classDir = copy / "sys/class/hwmon";
    const fs::path target = fs::read_symlink(classDir / "hwmon1");
    const fs::path saved = copy / "saved-hwmon1";
    fs::rename(classDir / target, saved);
    fs::remove(classDir / "hwmon1");
    collector->updateStats(1);
    collector->updateStats(12); // the listing is looked at on slow updates
    EXPECT_EQ(collector->sensors().size(), all - 1);
    EXPECT_FALSE(collector->sensorWithKey("nvme-pci-0100/temp1"));

    const fs::path moved = target.parent_path() / "hwmon9";
    fs::rename(saved, classDir / moved);
    fs::create_symlink(moved, classDir / "hwmon9");
    write(classDir / "hwmon9/temp1_input", "40000");
    collector->updateStats(24);
    const auto back = collector->sensorWithKey("nvme-pci-0100/temp1");
    ASSERT_TRUE(back);
    EXPECT_FLOAT_EQ(back->reading, 40.0F);
    EXPECT_EQ(collector->sensors().size(), all);
}

TEST_F(Sensors, ImpossibleReadingsKeepTheLastGoodValue) {
    HwmonInput temperature;
    HwmonInput fan;
    fan.kind = HwmonKind::fan;
    HwmonInput hotChip;
    hotChip.crit = 130.0;
    struct Case {
        const HwmonInput* input;
        double value;
        bool impossible;
    };
    for (const auto& c :
         {Case{&temperature, 45, false}, Case{&temperature, 127, true}, Case{&hotChip, 127, false},
          Case{&temperature, -273.15, true}, Case{&temperature, -128, true},
          Case{&temperature, -5, false}, Case{&temperature, 150, true}, Case{&fan, 0, false},
          Case{&fan, 65535, true}})
        EXPECT_EQ(SensorsStatCollectorLinux::impossibleReading(*c.input, c.value), c.impossible)
            << c.value;

    const test::RecordedMachine copy("hw-intel-laptop");
    auto collector = hwmonCollector(copy.path());
    const fs::path file = copy / "sys/devices/platform/coretemp.0/hwmon/hwmon3/temp2_input";
    const auto core = collector->sensorWithKey("coretemp.0/temp2");
    for (const auto& [text, expected] :
         {std::pair{"127000", 46.0F}, {"-273150", 46.0F}, {"52000", 52.0F}, {"200000", 52.0F}}) {
        write(file, text);
        collector->updateStats(1);
        EXPECT_FLOAT_EQ(core->reading, expected) << text;
    }
    EXPECT_FLOAT_EQ(core->highestRecordedValue, 52.0F);
}

// Over 24 virtual seconds: updates on even beats; a drive, slow, is read on every twelfth
// update and sampled without a read on every sixth.
TEST_F(Sensors, CadenceOverTwentyFourSeconds) {
    const test::RecordedMachine copy("hw-amd-desktop");
    auto collector = hwmonCollector(copy.path());
    const fs::path nvme =
        copy / "sys/devices/pci0000:00/0000:00:01.1/0000:01:00.0/nvme/nvme0/hwmon/hwmon1";
    const fs::path k10 = copy / "sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon0";
    const auto drive = collector->sensorWithKey("nvme-pci-0100/temp1");
    const auto cpu = collector->sensorWithKey("k10temp-pci-00c3/temp1");
    ASSERT_TRUE(drive && cpu);
    EXPECT_TRUE(drive->slowUpdating());
    std::vector<std::int64_t> updates, driveReads, driveSamples;
    int cpuReads = 0;
    int step = 0;
    collector->setUpdaterFinishBlock([&](StatCollector& c) {
        const auto id = static_cast<std::int64_t>(c.idForInterval(0));
        updates.push_back(id);
        if (drive->reading == 30.0F + static_cast<float>(step))
            driveReads.push_back(id);
        if (drive->sampleAtIndex(0, 0).sampleID == static_cast<std::uint64_t>(id))
            driveSamples.push_back(id);
        cpuReads += cpu->reading == 50.0F + static_cast<float>(step);
        ++step;
        write(nvme / "temp1_input", std::to_string((30 + step) * 1000));
        write(k10 / "temp1_input", std::to_string((50 + step) * 1000));
    });
    write(nvme / "temp1_input", "30000");
    write(k10 / "temp1_input", "50000");
    collector->startLogging();
    queue.advance(24.0);
    // The load took identifier 1.
    EXPECT_EQ(updates, (std::vector<std::int64_t>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(cpuReads, 12);
    EXPECT_EQ(driveReads, std::vector<std::int64_t>{12});
    EXPECT_EQ(driveSamples, (std::vector<std::int64_t>{6, 12}));
}

TEST_F(Sensors, IntelFrequenciesPerPackageAndTheirFreeze) {
    const test::RecordedMachine copy("hw-intel-laptop");
    const fs::path cpus = copy / "sys/devices/system/cpu";
    int n = 0;
    for (const auto& entry : fs::directory_iterator(cpus)) {
        if (!fs::exists(entry.path() / "cpufreq"))
            continue;
        write(entry.path() / "cpufreq/scaling_cur_freq",
              std::to_string(n++ % 2 ? 1000000 : 3000000));
        write(entry.path() / "cpufreq/cpuinfo_max_freq", "4000000");
    }
    ASSERT_GT(n, 1);
    auto collector = hwmonCollector(copy.path());
    const auto frequency = collector->sensorWithKey("ifre-0");
    ASSERT_TRUE(frequency);
    EXPECT_EQ(frequency->name, "CPU Frequency");
    EXPECT_EQ(frequency->sensorType, 8);
    EXPECT_FLOAT_EQ(frequency->high, 4000.0F);
    collector->updateStats(1);
    EXPECT_FLOAT_EQ(frequency->reading, n % 2 ? 2000.0F + 1000.0F / n : 2000.0F);
    const float before = frequency->reading;
    collector->setFrequencySensorsEnabled(false);
    for (const auto& entry : fs::directory_iterator(cpus))
        if (fs::exists(entry.path() / "cpufreq"))
            write(entry.path() / "cpufreq/scaling_cur_freq", "800000");
    collector->updateStats(2);
    EXPECT_FLOAT_EQ(frequency->reading, before);
    collector->setFrequencySensorsEnabled(true);
    collector->updateStats(3);
    EXPECT_FLOAT_EQ(frequency->reading, 800.0F);
}

// What the command line prints: headings in the types' order, the panel's default sensors.
class SensorsReport : public test::PreferencesFixture {
protected:
    CVBPreferences& preferences = install();
    CVBTranslations translations;
    CVBFormatters numbers{"en_US"};
    TextContext text{preferences, numbers, translations};
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

TEST_F(SensorsReport, HeadingsLinesAndDefaults) {
    const SysRoot root(fixture("hw-intel-laptop"));
    HwmonReadings readings(root);
    SensorsStatCollectorLinux laptop(
        context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
    laptop.loadSensors();
    const std::string all = SensorsStatus(laptop, text, SensorsStatus::Scope::all).text();
    EXPECT_TRUE(all.starts_with("TEMPERATURE SENSORS\n")) << all;
    EXPECT_NE(all.find("  coretemp Package id 0               48°  limits 0° to 100°   48%  "
                       "seen 48° to 48°\n"),
              std::string::npos)
        << all;
    EXPECT_EQ(SensorsStatus(laptop, text, SensorsStatus::Scope::defaults).text(),
              "Sensors   coretemp Package id 0 48°\n");
    const Value rows = SensorsStatus(laptop, text, SensorsStatus::Scope::all).dictionary();
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[3]["highText"].stringValue(), "100°");

    const SysRoot none(fixture("hw-no-dmi"));
    SensorsStatCollectorLinux empty(
        context, none,
        std::make_unique<PlatformLinux>(PlatformInputs{}, std::vector<HwmonInput>{}));
    empty.loadSensors();
    EXPECT_EQ(SensorsStatus(empty, text, SensorsStatus::Scope::all).text(),
              "No sensors were found on this machine.\n");
    EXPECT_EQ(SensorsStatus(empty, text, SensorsStatus::Scope::defaults).text(),
              "Sensors   none found\n");
}

} // namespace
