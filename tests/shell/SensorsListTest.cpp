#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatus.h"
#include "hardware/PlatformLinux.h"
#include "preferences/PreferencesFixture.h"
#include "shell/SensorsController.h"

#include <gtest/gtest.h>

namespace corvane::test {
namespace {

constexpr const char* kCpu = "k10temp-pci-00c3/temp1";
constexpr const char* kFan = "nct6798-nct6775.656/fan2";

class SensorsListTest : public PreferencesFixture {
protected:
    void SetUp() override {
        const SysRoot root(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot" / "hw-amd-desktop");
        HwmonReadings readings(root);
        sensors = std::make_unique<SensorsStatCollectorLinux>(
            context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
        sensors->loadSensors();
    }
    std::vector<std::string> keysOnDisk() {
        std::vector<std::string> keys;
        const Value records = onDisk("Sensors_MenubarItems");
        for (const Value& record : records.arrayItems())
            keys.push_back(record["key"].stringValue());
        return keys;
    }

    CVBPreferences& preferences = install();
    EngineContext context{queue, kSettingsTierCount, nullptr};
    std::unique_ptr<SensorsStatCollectorLinux> sensors;
};

TEST_F(SensorsListTest, SeedsThePanelFromTheDefaultSensorsOnce) {
    SensorsList list(preferences, *sensors);
    EXPECT_TRUE(list.seedMenubarItems());
    EXPECT_EQ(keysOnDisk(), std::vector<std::string>{kCpu});
    ASSERT_TRUE(list.setInPanel(kFan, true));
    EXPECT_FALSE(list.seedMenubarItems()); // a list the user made stays
    ASSERT_TRUE(preferences.setObject(
        Value::array({Value::dict({{"key", "gone/temp1"}}), Value::dict({{"key", kFan}})}),
        "Sensors_MenubarItems"));
    EXPECT_EQ(list.activeItems().size(), 1u);
    EXPECT_EQ(keysOnDisk().size(), 2u); // a sensor that is away keeps its record
}

TEST_F(SensorsListTest, RecordsAndHiddenSensorsByKey) {
    SensorsList list(preferences, *sensors);
    ASSERT_TRUE(list.setInPanel(kCpu, true));
    ASSERT_TRUE(list.setInPanel(kFan, true));
    EXPECT_TRUE(list.setDecimals(kCpu, 1));
    EXPECT_TRUE(list.setSuffix(kFan, true));
    EXPECT_FALSE(list.setDecimals("not/shown", 1));
    const Value records = onDisk("Sensors_MenubarItems");
    EXPECT_EQ(records[0]["decimals"].integerValue(), 1);
    EXPECT_TRUE(records[1]["suffix"].boolValue());
    ASSERT_TRUE(list.setDecimals(kCpu, -1));
    EXPECT_FALSE(onDisk("Sensors_MenubarItems")[0].contains("decimals"));
    ASSERT_TRUE(list.setInPanel(kCpu, false));
    EXPECT_EQ(keysOnDisk(), std::vector<std::string>{kFan});

    ASSERT_TRUE(list.setHidden(kCpu, true));
    ASSERT_TRUE(list.setHidden(kCpu, true));
    EXPECT_EQ(onDisk("FilteringSensors").arrayItems().size(), 1u);
    std::vector<std::string> headings;
    for (const auto& row : list.rows()) {
        if (!row.sensor) {
            headings.push_back(row.heading);
            continue;
        }
        EXPECT_EQ(row.hidden, row.sensor->key() == kCpu) << row.sensor->key();
        EXPECT_EQ(row.inPanel, row.sensor->key() == kFan) << row.sensor->key();
    }
    EXPECT_EQ(headings,
              (std::vector<std::string>{"TEMPERATURE SENSORS", "HARD DRIVE TEMPERATURE SENSORS",
                                        "FAN SENSORS", "VOLTAGE SENSORS", "CURRENT SENSORS",
                                        "POWER SENSORS", "FREQUENCY SENSORS"}));
}

TEST_F(SensorsListTest, RenamedAndHiddenSensorsKeepTheirKeysInTheListAndTheDropdown) {
    const std::string cpu = kCpu;
    const std::string own = sensors->sensorWithKey(cpu)->name;
    SensorsList list(preferences, *sensors);

    ASSERT_TRUE(list.setName(cpu, "Processor die"));
    ASSERT_TRUE(list.setHidden(cpu, true));
    TextCaches caches;
    const TextContext text = caches.with(preferences);
    const auto find = [&](const Value& rows) {
        for (const Value& row : rows.arrayItems())
            if (row["key"].stringValue() == cpu)
                return row;
        return Value();
    };
    const Value shown = find(SensorsStatus(*sensors, text, SensorsStatus::Scope::all).dictionary());
    EXPECT_EQ(shown["name"].stringValue(), "Processor die");
    EXPECT_TRUE(shown["hidden"].boolValue());
    EXPECT_EQ(sensors->sensorWithKey(cpu)->name, own); // the collector's own name stays
    const auto rows = list.rows();
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const SensorPageRow& r) {
        return r.sensor && r.sensor->key() == cpu;
    });
    ASSERT_NE(row, rows.end());
    EXPECT_EQ(row->name, "Processor die");

    ASSERT_TRUE(list.setName(cpu, "  "));
    ASSERT_TRUE(list.setHidden(cpu, false));
    const Value back = find(SensorsStatus(*sensors, text, SensorsStatus::Scope::all).dictionary());
    EXPECT_EQ(back["name"].stringValue(), own);
    EXPECT_FALSE(back.contains("hidden"));
    EXPECT_FALSE(onDisk(kSensorNamesKey).contains(cpu));
}

} // namespace
} // namespace corvane::test
