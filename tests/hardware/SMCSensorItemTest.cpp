#include "hardware/SMCSensorItem.h"

#include "hardware/SensorsARMController.h"

#include <gtest/gtest.h>
#include <map>

using namespace corvane;

namespace {

// Keys the test does not name read as absent: -1.0.
SensorValueReader reading(std::map<std::string, double, std::less<>> values) {
    return [values = std::move(values)](std::string_view key) {
        const auto found = values.find(key);
        return found == values.end() ? -1.0 : found->second;
    };
}

TEST(SMCSensorItem, AlternateKeyPutsEachCharacterCodeInFront) {
    SMCSensorItem item;
    item.key = "TC0P";
    item.loadAlternateKey();
    EXPECT_EQ(item.alternateKey, "80486784");
}

TEST(SMCSensorItem, LimitsComeFromTheMinimumAndMaximumKeys) {
    SMCSensorItem item;
    item.key = "F0Ac";
    item.low = 500;
    item.high = 7000;
    item.loadMinimumValue(reading({}));
    EXPECT_DOUBLE_EQ(item.low, -1.0); // taken always, even absent
    item.loadMaximumValue(reading({{"F0Mx", 6199}}));
    EXPECT_DOUBLE_EQ(item.high, 7000); // never lowered
    item.loadMaximumValue(reading({{"F0Mx", 7500}}));
    EXPECT_DOUBLE_EQ(item.high, 7500);
    item.high = -5;
    item.loadMaximumValue(reading({}));
    EXPECT_DOUBLE_EQ(item.high, -5); // an absent maximum is not a limit
}

SensorRow row(std::string key, std::string bk = {}) {
    SensorRow config(std::move(key), "name");
    config.bk = std::move(bk);
    return config;
}

SensorRow averaged(std::vector<std::string> keys, std::string bk = {}) {
    SensorRow config = row("CUS1", std::move(bk));
    config.average = std::move(keys);
    return config;
}

SensorRow multiplied(std::vector<std::string> keys, bool watts) {
    SensorRow config = row("PSTR");
    config.multiply = std::move(keys);
    config.watts = watts;
    return config;
}

TEST(SMCSensorItem, UpdateValueAppliesTheRowsRuleAndItsGuards) {
    const struct {
        const char* what;
        SensorRow config;
        int type;
        bool temperatureBug;
        std::map<std::string, double, std::less<>> values;
        double expected; // the present value is 42
    } cases[] = {
        {"single key", row("TC0P"), 0, false, {{"TC0P", 55}}, 55},
        {"a temperature above 150 is ignored", row("TC0P"), 0, false, {{"TC0P", 151}}, 42},
        {"other types may exceed 150", row("F0Ac"), 2, false, {{"F0Ac", 2000}}, 2000},
        {"low Tp while bk is hot", row("Tp01", "Tg0f"), 0, true, {{"Tp01", 5}, {"Tg0f", 151}}, 42},
        {"no bug flag", row("Tp01", "Tg0f"), 0, false, {{"Tp01", 5}, {"Tg0f", 151}}, 5},
        {"bk not hot", row("Tp01", "Tg0f"), 0, true, {{"Tp01", 5}, {"Tg0f", 150}}, 5},
        {"in range", averaged({"A", "B", "C"}), 0, false, {{"A", 40}, {"B", 60}, {"C", 150}}, 50},
        {"average of absent keys", averaged({"TC0C", "TC1C"}), 0, false, {}, 0},
        {"any positive fan", averaged({"A", "B"}), 2, false, {{"A", 1000}, {"B", 3000}}, 2000},
        {"Tp", averaged({"Tp1", "Tp2"}, "B"), 0, true, {{"Tp1", 2}, {"Tp2", 50}, {"B", 151}}, 46},
        {"watts", multiplied({"VD0R", "ID0R"}, true), 5, false, {{"VD0R", 12}, {"ID0R", -2}}, 24},
        {"three keys", multiplied({"A", "B", "C"}, true), 5, false, {{"A", 1}, {"B", 2}}, 0},
        {"without watts", multiplied({"A", "B"}, false), 5, false, {{"A", 1}, {"B", 2}}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SMCSensorItem item;
        item.key = c.config.key;
        item.config = c.config;
        item.type = c.type;
        item.value = 42.0;
        EXPECT_DOUBLE_EQ(item.updateValue(reading(c.values), c.temperatureBug), c.expected);
        EXPECT_DOUBLE_EQ(item.value, c.expected);
    }
    SMCSensorItem fedElsewhere;
    fedElsewhere.key = "TC0P";
    fedElsewhere.subType = 1;
    fedElsewhere.value = 3;
    EXPECT_DOUBLE_EQ(fedElsewhere.updateValue(reading({{"TC0P", 55}}), false), 3);
}

TEST(SensorsARMController, AddsTheFiveAveragesAfterTheRawRows) {
    SensorsARMController arm([](int type) {
        if (type != SensorsARMController::kTemperatureEvent)
            return std::vector<NamedReading>{};
        return std::vector<NamedReading>{{"SOC MTR Temp Sensor0", 40, 7},
                                         {"SOC MTR Temp Sensor1", 50, 7},
                                         {"pACC MTR Temp Sensor2", 60, 7},
                                         {"", 99, 7}};
    });
    const auto rows = arm.sensors();
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_EQ(rows[0].type, 0);
    const std::pair<const char*, double> expected[] = {{"AS_SOCDIE_AVERAGE", 45},
                                                       {"AS_EFF_AVG", 0},
                                                       {"AS_PERF_AVG", 60},
                                                       {"AS_PMDIE_AVG", 0},
                                                       {"AS_PMSOC_AVG", 0}};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(rows[3 + i].key, expected[i].first);
        EXPECT_DOUBLE_EQ(rows[3 + i].value, expected[i].second) << expected[i].first;
    }
    SensorsARMController milli([](int) { return std::vector<NamedReading>{{"vbat", 4200, 0}}; });
    EXPECT_DOUBLE_EQ(milli.sensors(SensorsARMController::kMilliEvent)[0].value, 4.2);
}

} // namespace
