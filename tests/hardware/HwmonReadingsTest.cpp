#include "hardware/HwmonReadings.h"

#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>

using namespace corvane;
namespace fs = std::filesystem;

namespace {

fs::path fixture(const char* name) {
    return fs::path(CVB_FIXTURES_DIR) / "sysroot" / name;
}

std::map<std::string, std::optional<double>> keyedValues(const HwmonReadings& readings) {
    std::map<std::string, std::optional<double>> values;
    for (const auto& input : readings.inputs())
        values[input.key] = input.value;
    return values;
}

TEST(HwmonReadings, KeysNameTheDriverTheBusAddressAndTheChannelAndValuesAreInSIUnits) {
    HwmonReadings readings{SysRoot(fixture("hw-amd-desktop"))};
    std::vector<std::string> keys;
    for (const auto& input : readings.inputs())
        keys.push_back(input.key);
    EXPECT_EQ(keys,
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

// hwmonN numbers follow probe order and change across boots; the keys must not.
TEST(HwmonReadings, KeysSurviveAPermutationOfTheHwmonNumbersAndNoHwmonMeansNoInputs) {
    for (const char* name : {"hw-amd-desktop", "hw-intel-laptop"}) {
        test::TemporaryDirectory copy;
        fs::copy(fixture(name), copy.path(),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        const fs::path classDir = copy / "sys/class/hwmon";
        std::vector<std::pair<fs::path, fs::path>> links; // class link, its hwmon directory
        for (const auto& entry : fs::directory_iterator(classDir))
            links.emplace_back(entry.path(), fs::read_symlink(entry.path()));
        std::sort(links.begin(), links.end());
        const auto before = keyedValues(HwmonReadings{SysRoot(copy.path())});
        for (const auto& [link, target] : links)
            fs::remove(link);
        for (std::size_t i = 0; i < links.size(); ++i) {
            // Each chip takes the number of its neighbour, moved by 7 so no name is reused.
            const std::string number = "hwmon" + std::to_string(7 + (i + 1) % links.size());
            const fs::path target = links[i].second.parent_path() / number;
            fs::rename(classDir / links[i].second, classDir / target);
            fs::create_symlink(target, classDir / number);
        }
        const auto after = keyedValues(HwmonReadings{SysRoot(copy.path())});
        EXPECT_FALSE(before.empty()) << name;
        EXPECT_EQ(before, after) << name;
    }
    EXPECT_TRUE(HwmonReadings{SysRoot(fixture("hw-no-dmi"))}.inputs().empty());
}

TEST(HwmonReadings, KeptDescriptorsSeeNewValues) {
    test::TemporaryDirectory copy;
    fs::copy(fixture("hw-intel-laptop"), copy.path(),
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    HwmonReadings readings{SysRoot(copy.path())};
    const fs::path file = copy / "sys/devices/platform/coretemp.0/hwmon/hwmon3/temp2_input";
    { std::ofstream(file) << "61500\n"; }
    readings.update();
    EXPECT_DOUBLE_EQ(readings.input("coretemp.0/temp2")->value.value_or(0), 61.5);
    fs::remove(file);
    { std::ofstream(file) << "garbage\n"; }
    readings.update(); // the kept descriptor still reads the unlinked file
    EXPECT_DOUBLE_EQ(readings.input("coretemp.0/temp2")->value.value_or(0), 61.5);
}

TEST(HwmonChipId, FromWhereTheDeviceSits) {
    struct Case {
        const char* driver;
        const char* hwmon;
        const char* device;
        const char* expected;
    };
    for (const auto& c : {
             Case{"coretemp", "/sys/devices/platform/coretemp.0/hwmon/hwmon2",
                  "/sys/devices/platform/coretemp.0", "coretemp.0"},
             Case{"nct6798", "/sys/devices/platform/nct6775.656/hwmon/hwmon1",
                  "/sys/devices/platform/nct6775.656", "nct6798-nct6775.656"},
             Case{"k10temp", "x/hwmon/hwmon0", "/sys/devices/pci0000:00/0000:00:18.3",
                  "k10temp-pci-00c3"},
             Case{"nvme", "x/hwmon/hwmon1",
                  "/sys/devices/pci0000:00/0000:00:01.1/0000:01:00.0/nvme/nvme0", "nvme-pci-0100"},
             Case{"lm75", "x/hwmon/hwmon1", "/sys/devices/pci0000:00/0000:00:1f.4/i2c-0/0-0048",
                  "lm75-i2c-0-48"},
             Case{"acpitz", "/sys/devices/virtual/thermal/thermal_zone0/hwmon0", "",
                  "acpitz-thermal_zone0"},
             Case{"acpitz", "/sys/devices/virtual/hwmon/hwmon4", "", "acpitz-virtual-0"},
         })
        EXPECT_EQ(hwmonChipId(c.driver, c.hwmon, c.device), c.expected) << c.hwmon;
}

} // namespace
