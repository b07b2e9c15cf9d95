#include "text/SensorFormatters.h"

#include "preferences/PreferencesFixture.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"
#include "text/TextFieldFormatters.h"

namespace corvane {
namespace {

struct Reading final : SensorItem {
    Reading(int t, double v)
        : t_(t)
        , v_(v) {}
    int type() const override { return t_; }
    double value() const override { return v_; }
    int t_;
    double v_;
};

class SensorText : public test::PreferencesFixture {
protected:
    test::ScopedEnvironment formats{"LC_ALL", "en_US.UTF-8"};
    void SetUp() override {
        CVBFormatters::cleanup();
        CVBTranslations::cleanup();
        install();
        CVBSetIntegerForKey(0, "Sensors_TemperatureMode");
    }
    void TearDown() override {
        CVBFormatters::cleanup();
        CVBTranslations::cleanup();
        PreferencesFixture::TearDown();
    }
};

TEST_F(SensorText, DropdownByType) {
    EXPECT_EQ(formattedSensor(nullptr), "-");
    EXPECT_EQ(formattedSensor(std::make_unique<Reading>(2, 1999.6).get()), "2000"); // fan: no unit
    EXPECT_EQ(formattedSensor(std::make_unique<Reading>(3, 12.346).get()), "12.35 V");
    EXPECT_EQ(formattedSensor(std::make_unique<Reading>(8, 3200).get()), "3.20 GHz");
    EXPECT_EQ(formattedSensor(std::make_unique<Reading>(9, 36).get()), "36x");
    // formattedSensor2 picks the frequency level by the item's value, prints the argument.
    EXPECT_EQ(formattedSensor2(std::make_unique<Reading>(8, 3200).get(), 800), "0.80 GHz");
    // A type the table does not name is a plain number, not a temperature.
    EXPECT_EQ(formattedSensor2(std::make_unique<Reading>(-1, 0).get(), 1.5), "1.50");
}

TEST_F(SensorText, MenubarDecimalsAndSuffix) {
    const Reading volts(3, 12.346);
    EXPECT_EQ(formattedMenubarSensor(&volts, Value::dict(), false), "12.3V"); // level 1
    EXPECT_EQ(formattedMenubarSensor(&volts, Value::dict({{"decimals", Value(2)}}), false),
              "12.35V");
    EXPECT_EQ(formattedMenubarSensor(&volts, Value::dict({{"suffix", Value(false)}}), false),
              "12.3");
    const Reading fan(2, 1200);
    EXPECT_EQ(formattedMenubarSensor(&fan, Value::dict(), false), "1200"); // fans need suffix
    EXPECT_EQ(formattedMenubarSensor(&fan, Value::dict({{"suffix", Value(true)}}), false),
              "1200rpm");
    const Reading hot(0, 50);
    EXPECT_EQ(formattedMenubarSensor(&hot, Value::dict(), true), "122°");
}

TEST_F(SensorText, TextFields) {
    EXPECT_EQ(DurationFormatter().getObjectValue("0").stringValue(), "1");
    EXPECT_EQ(DurationFormatter().getObjectValue("700").stringValue(), "600");
    DataFormatter data;
    data.dataFormat = 1;
    EXPECT_EQ(data.stringForObjectValue(Value(5)), "5GB");
    CVBSetIntegerForKey(1, "Sensors_TemperatureMode");
    EXPECT_EQ(TemperatureFormatter().stringForObjectValue(Value(80)), "80°F");
    EXPECT_EQ(PercentageFormatter().stringForObjectValue(Value(42)), "42%");
}

} // namespace
} // namespace corvane
