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

struct Refresh {
    const char* what;
    SensorRow config;
    int type = 0;
    bool temperatureBug = false;
    std::map<std::string, double, std::less<>> values;
    double expected;
};

SensorRow row(std::string key) {
    return SensorRow(std::move(key), "name");
}

SensorRow averaged(std::vector<std::string> keys, std::string bk = {}) {
    SensorRow config = row("CUS1");
    config.average = std::move(keys);
    config.bk = std::move(bk);
    return config;
}

SensorRow multiplied(std::vector<std::string> keys, bool watts) {
    SensorRow config = row("PSTR");
    config.multiply = std::move(keys);
    config.watts = watts;
    return config;
}

SensorRow vouched(std::string key) {
    SensorRow config = row(std::move(key));
    config.bk = "Tg0f";
    return config;
}

class UpdateValue : public testing::TestWithParam<Refresh> {};

TEST_P(UpdateValue, AppliesTheRowsRuleAndItsGuards) {
    const auto& c = GetParam();
    SMCSensorItem item;
    item.key = c.config.key;
    item.config = c.config;
    item.type = c.type;
    item.value = 42.0; // the present value
    EXPECT_DOUBLE_EQ(item.updateValue(reading(c.values), c.temperatureBug), c.expected);
    EXPECT_DOUBLE_EQ(item.value, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, UpdateValue,
    testing::Values(
        Refresh{"single key", row("TC0P"), 0, false, {{"TC0P", 55}}, 55},
        Refresh{"a temperature above 150 keeps the old value",
                row("TC0P"),
                0,
                false,
                {{"TC0P", 151}},
                42},
        Refresh{"other types may exceed 150", row("F0Ac"), 2, false, {{"F0Ac", 2000}}, 2000},
        Refresh{"low Tp reading while bk is hot",
                vouched("Tp01"),
                0,
                true,
                {{"Tp01", 5}, {"Tg0f", 151}},
                42},
        Refresh{"no bug flag: the reading stands",
                vouched("Tp01"),
                0,
                false,
                {{"Tp01", 5}, {"Tg0f", 151}},
                5},
        Refresh{"bk not hot: the reading stands",
                vouched("Tp01"),
                0,
                true,
                {{"Tp01", 5}, {"Tg0f", 150}},
                5},
        Refresh{"average of the keys in range",
                averaged({"TC0C", "TC1C", "TC2C"}),
                0,
                false,
                {{"TC0C", 40}, {"TC1C", 60}, {"TC2C", 150}},
                50},
        Refresh{"average of absent keys is 0", averaged({"TC0C", "TC1C"}), 0, false, {}, 0},
        Refresh{"non-temperature averages count every positive",
                averaged({"F0Ac", "F1Ac"}),
                2,
                false,
                {{"F0Ac", 1000}, {"F1Ac", 3000}},
                2000},
        Refresh{"average with a vouched Tp key",
                averaged({"Tp01", "Tp05"}, "Tg0f"),
                0,
                true,
                {{"Tp01", 2}, {"Tp05", 50}, {"Tg0f", 160}},
                46},
        Refresh{"watts: the product of two keys",
                multiplied({"VD0R", "ID0R"}, true),
                5,
                false,
                {{"VD0R", 12}, {"ID0R", -2}},
                24},
        Refresh{"multiply of three keys is 0",
                multiplied({"A", "B", "C"}, true),
                5,
                false,
                {{"A", 1}, {"B", 2}, {"C", 3}},
                0},
        Refresh{"multiply without watts is 0",
                multiplied({"A", "B"}, false),
                5,
                false,
                {{"A", 1}, {"B", 2}},
                0}),
    [](const auto& test) {
        std::string name;
        for (char c : std::string(test.param.what))
            name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return name;
    });

TEST(SMCSensorItem, ItemsFedElsewhereKeepTheirValue) {
    SMCSensorItem item;
    item.key = "TC0P";
    item.subType = 1;
    item.value = 3;
    EXPECT_DOUBLE_EQ(item.updateValue(reading({{"TC0P", 55}}), false), 3);
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
}

TEST(SensorsARMController, ThousandthsAreScaled) {
    SensorsARMController arm([](int) { return std::vector<NamedReading>{{"PMU vbat", 4200, 0}}; });
    EXPECT_DOUBLE_EQ(arm.sensors(SensorsARMController::kMilliEvent)[0].value, 4.2);
}

} // namespace
