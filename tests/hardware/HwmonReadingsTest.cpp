#include "hardware/HwmonReadings.h"

#include "support/RecordedMachine.h"

#include <gtest/gtest.h>

using namespace corvane;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> keysOf(const HwmonReadings& readings) {
    std::vector<std::string> keys;
    for (const auto& input : readings.inputs())
        keys.push_back(input.key);
    return keys;
}

// The chips sit on PCI, on the platform bus, on I2C, or virtually, with and without a thermal
// zone: each names its chip its own way.
TEST(HwmonReadings, KeysNameTheDriverTheBusAddressAndTheChannelAndValuesAreInSIUnits) {
    HwmonReadings readings{test::recordedRoot("hw-amd-desktop")};
    EXPECT_EQ(
        keysOf(HwmonReadings{test::recordedRoot("hw-intel-laptop")}),
        (std::vector<std::string>{"acpitz-thermal_zone0/temp1", "coretemp.0/temp1",
                                  "coretemp.0/temp2", "coretemp.0/temp3", "lm75-i2c-0-48/temp1"}));
    EXPECT_EQ(keysOf(readings),
              (std::vector<std::string>{
                  "acpitz-virtual-0/temp1", "amdgpu-pci-0300/temp1", "amdgpu-pci-0300/in0",
                  "amdgpu-pci-0300/power1", "amdgpu-pci-0300/fan1", "amdgpu-pci-0300/freq1",
                  "k10temp-pci-00c3/temp1", "k10temp-pci-00c3/temp3", "nct6798-nct6775.656/in0",
                  "nct6798-nct6775.656/curr1", "nct6798-nct6775.656/fan2", "nvme-pci-0100/temp1"}));

    // Values and limits are in SI units.
    struct Expected {
        const char* key;
        HwmonKind kind;
        double value;
        const char* label;
    };
    for (const auto& e :
         {Expected{"k10temp-pci-00c3/temp1", HwmonKind::temperature, 45.125, "Tctl"},
          Expected{"amdgpu-pci-0300/in0", HwmonKind::voltage, 0.856, "vddgfx"},
          Expected{"nct6798-nct6775.656/curr1", HwmonKind::current, 1.2, ""},
          Expected{"amdgpu-pci-0300/power1", HwmonKind::power, 9.123, ""},
          Expected{"nct6798-nct6775.656/fan2", HwmonKind::fan, 912, ""},
          Expected{"amdgpu-pci-0300/freq1", HwmonKind::frequency, 5e8, "sclk"}}) {
        const auto* input = readings.input(e.key);
        ASSERT_NE(input, nullptr) << e.key;
        EXPECT_EQ(input->kind, e.kind) << e.key;
        ASSERT_TRUE(input->value) << e.key;
        EXPECT_DOUBLE_EQ(*input->value, e.value) << e.key;
        EXPECT_EQ(input->label, e.label) << e.key;
    }
    const auto* nvme = readings.input("nvme-pci-0100/temp1");
    ASSERT_NE(nvme, nullptr);
    EXPECT_DOUBLE_EQ(nvme->min.value_or(0), -273.15);
    EXPECT_DOUBLE_EQ(nvme->crit.value_or(0), 84.85);
    EXPECT_DOUBLE_EQ(readings.input("amdgpu-pci-0300/fan1")->max.value_or(0), 3300);
}

TEST(HwmonReadings, KeptDescriptorsSeeNewValues) {
    const test::RecordedMachine copy("hw-intel-laptop");
    HwmonReadings readings{copy.root()};
    const char* file = "/sys/devices/platform/coretemp.0/hwmon/hwmon3/temp2_input";
    copy.write(file, "61500\n");
    readings.update();
    EXPECT_DOUBLE_EQ(readings.input("coretemp.0/temp2")->value.value_or(0), 61.5);
    fs::remove(copy.root().path(file));
    copy.write(file, "garbage\n");
    readings.update(); // the kept descriptor still reads the unlinked file
    EXPECT_DOUBLE_EQ(readings.input("coretemp.0/temp2")->value.value_or(0), 61.5);
}

} // namespace
