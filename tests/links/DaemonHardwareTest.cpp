#include "links/SMCDaemonHardware.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

const SysRoot kRecordedMac(CVB_FIXTURES_DIR "/sysroot/hw-macbookpro11-1");

Value row(const char* key) {
    return Value::dict({{"key", Value(key)}, {"name", Value("n")}});
}

TEST(DaemonHardware, KeyReadsAndCatalogueRowsOfKeysTheMachineHas) {
    SMCDaemonHardware hardware(kRecordedMac);
    // Text, rows and odd members alike; only four-character keys the controller has answer.
    const Value readings = hardware.sensors(Value::array(
        {Value("TC0D"), row("F0Ac"), Value("ZZZZ"), Value(5), Value("TC0"), Value::dict()}));
    ASSERT_EQ(readings.size(), 2u) << readings;
    EXPECT_EQ(readings[0]["key"].string(), "TC0D");
    EXPECT_EQ(readings[0]["type"].string(), "sp78");
    EXPECT_EQ(readings[0]["data"], Value::data(std::string("\x3a\x80", 2)));
    EXPECT_DOUBLE_EQ(readings[0]["value"].doubleValue(), 58.5);
    EXPECT_EQ(readings[1]["type"].string(), "fpe2");
    EXPECT_TRUE(hardware.sensors(Value("TC0D")).empty());

    const Value rows = Value::array({row("TC0P"), row("TG0D"), row("F0Ac"), Value("TC0D")});
    const Value fans = hardware.supportedFans(rows);
    ASSERT_EQ(fans.size(), 2u);
    EXPECT_EQ(fans[0]["name"].string(), "n"); // the row as given, with its value now
    EXPECT_DOUBLE_EQ(fans[0]["value"].doubleValue(), 52.5);
    const Value byKey = hardware.supportedSensors(rows);
    EXPECT_EQ(byKey.size(), 2u);
    EXPECT_TRUE(byKey.contains("F0Ac"));
    EXPECT_FALSE(byKey.contains("TG0D"));
}

TEST(DaemonHardware, WithoutTheDriverListsAreEmptyAndTheSerialComesFromTheFirmware) {
    struct Case {
        const char* written; // nullptr: no file
        const char* serial;
    };
    for (const Case& c : {Case{"C02ABCDEFGH\n", "C02ABCDEFGH"},
                          Case{"To Be Filled By O.E.M.\n", ""}, Case{nullptr, ""}}) {
        test::TemporaryDirectory dir;
        if (c.written) {
            std::filesystem::create_directories(dir / "sys/class/dmi/id");
            std::ofstream(dir / "sys/class/dmi/id/product_serial") << c.written;
        }
        SMCDaemonHardware hardware{SysRoot(dir.path())};
        EXPECT_EQ(hardware.serialNumber(), c.serial);
        EXPECT_TRUE(hardware.sensors(Value::array({Value("TC0D")})).empty());
        EXPECT_TRUE(hardware.supportedSensors(Value::array({row("TC0D")})).empty());
    }
}

} // namespace
} // namespace corvane
