#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"
#include "hardware/PlatformController.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>

using namespace corvane;

namespace {

using Item = SensorStatCollectorItem;

TEST(SensorItem, LimitsAndPercentage) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        const char* what;
        float value, low, high, lowest, highest;
        float expectLowest, expectHighest, expectPercentage;
        bool moved;
    };
    for (const auto& c : {
             Case{"zero never becomes the lowest", 0, -1, 0, -1, 0, -1, 0, 0, false},
             Case{"first positive value sets both", 40, -1, 0, -1, 0, 40, 40, 0, true},
             Case{"equal extremes give 0, not NaN", 40, -1, 0, 40, 40, 40, 40, 0, false},
             Case{"between the extremes", 50, -1, 0, 40, 60, 40, 60, 0.5F, false},
             Case{"fixed limits win", 3000, 1000, 5000, 1000, 5000, 1000, 5000, 0.5F, false},
             Case{"above the high limit is 1", 6000, 1000, 5000, 1000, 5000, 1000, 6000, 1, true},
             Case{"below the low limit is 0", 500, 1000, 5000, 1000, 5000, 500, 5000, 0, true},
             Case{"a NaN reading is 0", nan, 0, 100, -1, 0, -1, 0, 0, false},
         }) {
        Item item(1, 1);
        item.reading = c.value;
        item.low = c.low;
        item.high = c.high;
        item.lowestRecordedValue = c.lowest;
        item.highestRecordedValue = c.highest;
        item.updateLimits();
        EXPECT_FLOAT_EQ(item.lowestRecordedValue, c.expectLowest) << c.what;
        EXPECT_FLOAT_EQ(item.highestRecordedValue, c.expectHighest) << c.what;
        EXPECT_FLOAT_EQ(item.percentage, c.expectPercentage) << c.what;
        EXPECT_EQ(item.recordedValueChanged, c.moved) << c.what;
    }
}

TEST(SensorItem, SortsByTypeThenNameIgnoringCase) {
    Item fan(1, 1), cpu(1, 1), ambient(1, 1);
    fan.sensorType = 2;
    fan.name = "A Fan";
    cpu.name = "cpu";
    ambient.name = "Ambient";
    EXPECT_LT(ambient.sort(cpu), 0);
    EXPECT_GT(cpu.sort(ambient), 0);
    EXPECT_LT(cpu.sort(fan), 0);
}

// The daemon's answers as a table; a key it lacks reads -1, as a failed read does.
class TableKeys final : public SensorKeyReader {
public:
    explicit TableKeys(std::map<std::string, double> table)
        : values_(std::move(table)) {}
    double value(std::string_view key) override {
        const auto it = values_.find(std::string(key));
        return it == values_.end() ? -1.0 : it->second;
    }

private:
    std::map<std::string, double> values_;
};

// A Mac's collector on the key path, its keys read through the table.
std::unique_ptr<SensorsStatCollectorLinux> keyed(const EngineContext& context,
                                                 std::map<std::string, double> table,
                                                 const std::string& model = "MacBookPro11,1") {
    PlatformInputs inputs;
    inputs.facts.sysVendor = "Apple Inc.";
    inputs.facts.productName = model;
    const SysRoot nowhere("/nonexistent");
    return std::make_unique<SensorsStatCollectorLinux>(
        context, nowhere, makePlatform(nowhere, std::move(inputs), false),
        std::make_unique<TableKeys>(std::move(table)));
}

class KeyPath : public ::testing::Test {
protected:
    ManualMainQueue queue{1'795'000'000.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

TEST_F(KeyPath, RowFilterAndTypes) {
    auto smc = keyed(context, {{"TG0D", 254},
                               {"TC0D", 254},
                               {"TC0P", 50},
                               {"PC0C", 4000},
                               {"VC0C", 900},
                               {"IC0C", 4500},
                               {"MSAL", 3},
                               {"CUS1", 0}});
    SensorRow watts{"PCPC", "CPU Package"};
    watts.multiply = std::vector<std::string>{"VC0C", "NONE"};
    watts.watts = true;
    SensorRow typed{"CUS1", "Average", 0, 0};
    typed.average = std::vector<std::string>{"TC0P", "TG0D"};
    typed.type = 0;
    const auto rows = smc->supportedElectricSensors({
        {"TG0D", "GPU"},
        {"TC0D", "CPU Die"},
        {"TC0P", "CPU Proximity", 0, 105},
        {"PC0C", "Core"},
        {"IC0C", "Current"},
        {"MSAL", "Multiplier"},
        {"F0Ac", "Fan"},
        {"TC0PX", "Long"},
        watts,
        typed,
    });
    std::map<std::string, int> types;
    for (const auto& row : rows)
        types[row.key] = row.type;
    // "TC0D" at 254 is a failed sensor; "TG" keys are believed whatever they say.
    EXPECT_EQ(types, (std::map<std::string, int>{{"TG0D", 0},
                                                 {"TC0P", 0},
                                                 {"PC0C", 5},
                                                 {"IC0C", 4},
                                                 {"MSAL", 9},
                                                 {"PCPC", 5},
                                                 {"CUS1", 0}}));
    for (const auto& row : rows) {
        if (row.key == "TC0P") {
            EXPECT_EQ(row.high.value_or(0), 105);
        } else if (row.key == "CUS1") {
            EXPECT_DOUBLE_EQ(row.value, (50.0 + 254.0) / 2);
        }
    }
}

// The load scales a watts row by a thousandth per factor; later updates do not.
TEST_F(KeyPath, WattsDifferByAMillionBetweenLoadAndUpdate) {
    auto smc = keyed(context, {{"VP0R", 12000}, {"IP0R", 2000}});
    SensorRow row{"PDTR", "DC In"};
    row.multiply = std::vector<std::string>{"VP0R", "IP0R"};
    row.watts = true;
    smc->processSensors(smc->supportedElectricSensors({row}));
    const auto item = smc->sensorWithKey("PDTR");
    ASSERT_TRUE(item);
    EXPECT_FLOAT_EQ(item->reading, 24.0F);
    smc->updateStats(1);
    EXPECT_FLOAT_EQ(item->reading, 24e6F);
}

TEST_F(KeyPath, FansByHexIndexAndAlternateKeys) {
    std::map<std::string, double> values{{"FNum", 11}};
    for (const char* key : {"F0Ac", "FAAc"}) {
        values[key] = 2000;
        values[std::string(key).substr(0, 2) + "Mn"] = 1200;
        values[std::string(key).substr(0, 2) + "Mx"] = 6000;
    }
    auto smc = keyed(context, values);
    const auto fans =
        smc->supportedFans({{"F0Ac", "Left", 1500, 0}, {"FAAc", "Tenth"}, {"TC0P", "CPU"}});
    ASSERT_EQ(fans.size(), 2u);
    EXPECT_EQ(fans[1].key, "FAAc");
    EXPECT_EQ(fans[0].low.value_or(0), 1500); // the row's own minimum wins
    EXPECT_EQ(fans[1].low.value_or(0), 1200);
    EXPECT_EQ(fans[1].high.value_or(0), 6000);
    smc->processFans(fans);
    EXPECT_TRUE(smc->fanControlSupported());
    EXPECT_EQ(smc->itemWithKey(Value("99654870")), smc->itemWithKey(Value("F0Ac")));

    auto none = keyed(context, {});
    EXPECT_TRUE(none->supportedFans({{"F0Ac", "Left"}}).empty());
    none->processFans({});
    EXPECT_FALSE(none->fanControlSupported());
}

TEST_F(KeyPath, FanControlFansOfSyncedAndTowerModels) {
    const auto namesFor = [&](const char* model) {
        auto smc = keyed(context, {}, model);
        std::vector<SensorListRow> rows;
        for (const char* key : {"F0Ac", "F1Ac", "F2Ac"})
            rows.push_back({key, std::string("Fan ") + key, 2, 1000, 500.0, 3000.0, {}});
        smc->processFans(rows);
        std::vector<std::string> names;
        for (const auto& fan : smc->fanControlFans())
            names.push_back(fan->key() + ":" + fan->nameFanControl);
        EXPECT_EQ(smc->allFans().size(), 3u) << model;
        return names;
    };
    EXPECT_EQ(namesFor("MacPro7,1"),
              (std::vector<std::string>{"F0Ac:Fan F0Ac", "F1Ac:Front Fans"}));
    EXPECT_EQ(namesFor("Mac13,1"), (std::vector<std::string>{"F0Ac:Fans"}));
    EXPECT_EQ(namesFor("MacBookPro11,1"), (std::vector<std::string>{"F0Ac:", "F1Ac:", "F2Ac:"}));
}

} // namespace
