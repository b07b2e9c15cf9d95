#include "hardware/AppleSMCSysfs.h"
#include "hardware/FauxMac.h"
#include "hardware/MacSerial.h"
#include "hardware/PlatformController.h"
#include "hardware/PlatformLinux.h"
#include "support/RecordedMachine.h"

#include <gtest/gtest.h>
#include <set>

using namespace corvane;

namespace {

std::unique_ptr<PlatformMac> platformOf(const char* tree, bool fauxMac = false) {
    const auto root = test::recordedRoot(tree);
    auto smc = std::make_unique<SensorSMCController>(std::make_unique<AppleSMCSysfs>(root));
    return makePlatform(root, readPlatformInputs(root, smc.get()), fauxMac);
}

std::vector<std::string> keysOf(const std::vector<SensorRow>& rows) {
    std::vector<std::string> keys;
    for (const auto& row : rows)
        keys.push_back(row.key);
    return keys;
}

std::unique_ptr<PlatformMac> macNamed(const std::string& identifier, std::string serial = {}) {
    PlatformInputs inputs;
    inputs.facts.sysVendor = "Apple Inc.";
    inputs.facts.productName = identifier;
    inputs.facts.serial = std::move(serial);
    return makePlatform(test::recordedRoot("hw-no-dmi"), std::move(inputs), false);
}

constexpr const char* kRetina = "macbookpro-retina-display.png";
constexpr const char* kCoreAverage = "CUS_AS_CORE_AVERAGE";
constexpr const char* kSocAverage = "AS_SOCDIE_AVERAGE";

TEST(MacCatalogue, HoldsEachIdentifierOnceUnderItsClassName) {
    std::set<std::string_view> names;
    for (const auto& model : macModels()) {
        EXPECT_TRUE(names.insert(model.className).second) << model.className;
        EXPECT_EQ(model.className.find(','), std::string_view::npos);
        EXPECT_NE(model.name, "") << model.className;
    }
    EXPECT_EQ(platformClassName("MacBookPro11,3", false), "MacBookPro11_3");
    EXPECT_EQ(platformClassName("MacBookPro11,3", true), "FauxMac");
    EXPECT_EQ(vocabularyName("TCXc"), "CPU Core PECI");
    EXPECT_EQ(vocabularyName("ZZZZ"), "");
}

TEST(MacCatalogue, TellingRowsAndQuirks) {
    const struct {
        const char *identifier, *answers, *name;
        double screen, memory;
        int slots;
        const char* icon;
        std::vector<std::string> defaults;
    } cases[] = {
        {"MacBook1,1", "MacBook1,1", "MacBook", 13, 2048, 2, "macbook-white.png", {"TC0D"}},
        {"MacBookPro18,3", "MacBookPro18,2", "MacBook Pro", 16, 65536, 0, kRetina, {kCoreAverage}},
        {"Mac14,8", "Mac14,8", "Mac Pro", 0, 0, 0, "", {kCoreAverage}},
        {"MacPro1,1", "MacPro1,1", "Mac Pro", 0, 16384, 8, "macpro.png", {"TCAH", "TCBH"}},
        {"iMac21,2", "iMac21,1", "M1 iMac", 24, 16384, 0, "imac-unibody.png", {kSocAverage}},
        {"Mac14,15", "Mac14,2", "Mac", 0, 0, 0, "", {}},
        {"Mac13,1", "Mac13", "Mac", 0, 0, 0, "", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.identifier);
        const auto mac = macNamed(c.identifier);
        EXPECT_EQ(mac->identifier(), c.answers);
        EXPECT_EQ(mac->name(), c.name);
        EXPECT_EQ(mac->screenSize(), c.screen);
        EXPECT_EQ(mac->maximumMemory(), c.memory);
        EXPECT_EQ(mac->memorySlots(), c.slots);
        EXPECT_EQ(mac->icon(), c.icon);
        EXPECT_EQ(mac->defaultSensorKeys(), c.defaults);
    }
    // The iMac16,2 is named by its variant.
    EXPECT_EQ(macNamed("iMac16,2", "C02QX0AAGG7F")->name(), "iMac with Retina 4K Display");
    EXPECT_EQ(macNamed("iMac16,2", "C02QX0AAGF1J")->name(), "iMac");
    EXPECT_EQ(macNamed("iMac16,2")->name(), "iMac");
}

// Each quirk reads its own flag: every model here carries one alone.
TEST(MacCatalogue, EachQuirkReadsItsOwnFlag) {
    using Quirk = bool (PlatformMac::*)() const;
    const std::pair<const char*, Quirk> quirks[] = {
        {"Mac13,1", &PlatformMac::usesSyncedFans},
        {"Mac14,12", &PlatformMac::temperatureBug},
        {"Macmini9,1", &PlatformMac::useArmSensors},
        {"Macmini5,2", &PlatformMac::hideIntergratedGraphics},
        {"MacPro2,1", &PlatformMac::ignoreGraphicsControl},
        {"Xserve1,1", &PlatformMac::disableFanControl},
    };
    for (const auto& [identifier, own] : quirks)
        for (const auto& [other, quirk] : quirks)
            EXPECT_EQ((*macNamed(identifier).*quirk)(), quirk == own) << identifier << " " << other;
}

TEST(MacCatalogue, M2ProMaxRowsFollowTheCoreCount) {
    const auto twelve = m2ProMaxCoreRows(12);
    const auto ten = m2ProMaxCoreRows(10);
    ASSERT_EQ(twelve.size(), 10u);
    ASSERT_EQ(ten.size(), 8u);
    EXPECT_EQ(twelve[9].key, "Tp1t");
    EXPECT_EQ(twelve[7].name, "CPU Performance Core 8");
    EXPECT_EQ(ten[6].name, "CPU Efficiency Core 1");
    EXPECT_EQ(ten[7].bk, "Tg0f");
}

TEST(Platform, RecordedDesktopMacs) {
    const auto mac = platformOf("hw-macpro7-1");
    EXPECT_EQ(mac->className(), "MacPro7_1");
    std::vector<std::string> fans;
    for (const auto& fan : mac->fans())
        fans.push_back(fan.name);
    EXPECT_EQ(fans, (std::vector<std::string>{"Blower", "Bottom Fan", "Middle Fan", "Top Fan"}));
    EXPECT_EQ(mac->defaultSensorKeys(), std::vector<std::string>{"TCXc"});
    EXPECT_EQ(mac->boardID(), "Mac-27AD2F918AE68F61");
    EXPECT_FALSE(mac->isLaptop());

    const auto imac = platformOf("hw-imac20-1");
    EXPECT_EQ(imac->name(), "iMac with Retina 5K Display");
    EXPECT_EQ(imac->cpuTemperatureSensors(), std::vector<std::string>{"CUS1"});
    EXPECT_EQ(imac->defaultSensorKeys(), std::vector<std::string>{"TC0p"});
}

// A known Mac's rows are the catalogue's keys that its controller lists.
TEST(Platform, RecordedIntelMacWithTheDriver) {
    const auto mac = platformOf("hw-macbookpro11-1");
    EXPECT_EQ(mac->className(), "MacBookPro11_1");
    EXPECT_TRUE(mac->isLaptop());
    EXPECT_EQ(keysOf(mac->supportedSensors()),
              (std::vector<std::string>{"TB0T", "TB1T", "TB2T", "TC0D", "TC0P",
                                        "CUS_BATTERY_AVERAGE", "F0Ac"}));
    const auto fan = mac->fans().at(0);
    EXPECT_EQ(fan.name, "Main Fan");
    EXPECT_EQ(fan.low, 1300);
    EXPECT_EQ(fan.high, 6199);
    EXPECT_EQ(mac->defaultSensorKeys(), std::vector<std::string>{"TC0D"}); // "CPU Die"
    EXPECT_EQ(mac->cpuPhysicalCoreCount(), 2);
    EXPECT_EQ(mac->cpuCoreCount(), 4);
    EXPECT_EQ(mac->cpuSpeed(), "2900");
    EXPECT_EQ(mac->memory(), "8589934592");
    EXPECT_EQ(mac->osVersion(), "12.0.0");
}

TEST(Platform, UnknownAndImitatingMacs) {
    const auto unknown = macNamed("MacBookPro99,1");
    EXPECT_EQ(unknown->className(), "PlatformMac");
    EXPECT_EQ(unknown->name(), "Unknown");
    EXPECT_EQ(unknown->identifier(), "MacBookPro99,1");
    EXPECT_TRUE(unknown->supportedSensors().empty());
    EXPECT_TRUE(unknown->isLaptop()); // by the identifier alone
    const auto faux = platformOf("hw-macbookpro11-1", true);
    EXPECT_EQ(faux->className(), "FauxMac");
    EXPECT_EQ(faux->identifier(), "FauxMac");
    EXPECT_EQ(keysOf(faux->supportedSensors()), (std::vector<std::string>{"TC0D", "TC0P"}));
    EXPECT_EQ(faux->supportedSensors()[0].name, "CPU Core"); // one of its group: no number
}

TEST(FauxMac, GroupNamesDropTheNumberWhenAlone) {
    const auto one = fauxMacSensorNames({"TC0D", "Te1S", "TG1D"}, 1, 4);
    EXPECT_EQ(one.at("TC0D"), "CPU Core");
    EXPECT_EQ(one.at("Te1S"), "PCIe SLot");
    EXPECT_EQ(one.at("TG1D"), "GPU Die");
    EXPECT_EQ(one.at("TCXc"), "PECI CPU");
    const auto two =
        fauxMacSensorNames({"TC0D", "TC1D", "TCAD", "TCBD", "TMA1", "TMA2", "TMB1", "TMB2"}, 2, 2);
    EXPECT_EQ(two.at("TC1D"), "CPU Core 2");
    EXPECT_EQ(two.at("TCAD"), "CPU Package 1"); // offset 10 in hex
    EXPECT_EQ(two.at("TMA2"), "Memory Bank 1 Slot 1");
    EXPECT_EQ(two.at("TMB1"), "Memory Bank 2 Slot 4");
    EXPECT_EQ(two.at("PC0C"), "CPU"); // the later group wins
    EXPECT_FALSE(two.contains("TC2D"));
}

TEST(PlatformLinux, MadeFromTheMachineItself) {
    // The default sensor of each is checked where the sensors are listed.
    const struct {
        const char *tree, *identifier, *name, *address;
        bool laptop;
        int cores;
    } cases[] = {
        {"hw-amd-desktop", "System Product Name", "System manufacturer System Product Name",
         "2C:F0:5D:12:34:56", false, 2},
        {"hw-intel-laptop", "20KHCTO1WW", "LENOVO 20KHCTO1WW", "54:E1:AD:AA:BB:CC", true, 2},
        {"hw-arm-board", "Raspberry Pi 4 Model B Rev 1.4", "Raspberry Pi 4 Model B Rev 1.4", "",
         false, 4},
        {"hw-no-dmi", "Unknown", "Unknown", "", false, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tree);
        const auto platform = platformOf(c.tree);
        EXPECT_EQ(platform->className(), "PlatformLinux");
        EXPECT_EQ(platform->identifier(), c.identifier);
        EXPECT_EQ(platform->name(), c.name);
        EXPECT_EQ(platform->isLaptop(), c.laptop);
        EXPECT_EQ(platform->networkHardwareAdress(), c.address);
        EXPECT_EQ(platform->cpuPhysicalCoreCount(), c.cores);
    }
    const auto desktop = platformOf("hw-amd-desktop");
    const auto rows = desktop->supportedSensors();
    const auto fan = std::find_if(rows.begin(), rows.end(),
                                  [](const auto& r) { return r.key == "amdgpu-pci-0300/fan1"; });
    ASSERT_NE(fan, rows.end());
    EXPECT_EQ(fan->type, 2);
    EXPECT_EQ(fan->high, 3300);
    EXPECT_EQ(desktop->osVersion(), "12.0.0");
    EXPECT_EQ(platformOf("hw-intel-laptop")->osVersion(), "22.4.0");
}

TEST(PlatformLinux, LaptopByChassisOrBattery) {
    const struct {
        std::optional<int> chassis;
        bool battery, laptop;
    } cases[] = {{10, false, true},
                 {31, false, true},
                 {3, false, false},
                 {3, true, true},
                 {std::nullopt, false, false}};
    for (const auto& c : cases) {
        PlatformInputs inputs;
        inputs.facts.chassisType = c.chassis;
        inputs.facts.hasBattery = c.battery;
        EXPECT_EQ(PlatformLinux(inputs, {}).isLaptop(), c.laptop) << c.chassis.value_or(-1);
    }
}

TEST(PlatformMac, CountsAbove64AreZero) {
    PlatformInputs inputs;
    inputs.facts.logicalCores = 65;
    inputs.facts.physicalCores = 64;
    PlatformMac mac(nullptr, inputs);
    EXPECT_EQ(mac.cpuCoreCount(), 0);
    EXPECT_EQ(mac.cpuPhysicalCoreCount(), 64);
}

TEST(MacSerial, DecodesWeekAndYear) {
    // Serial, then week and year.
    const std::pair<const char*, std::optional<std::pair<int, int>>> cases[] = {
        {"W8812345678", std::pair{12, 8}},   // 11 characters: year at 2, week at 3-4
        {"W8805ABCDEF", std::pair{5, 8}},    // a week starting with 0: the digit at 4
        {"W88ABCDEFGH", std::pair{0, 8}},    // letters: not a number
        {"C02DC1234567", std::pair{37, 10}}, // D second half of 2010, C week 10
        {"C02C91234567", std::pair{9, 10}},  {"C02YY1234567", std::pair{54, 18}},
        {"C02Z11234567", std::nullopt},                                    // unknown half-year
        {"C02CZ1234567", std::nullopt},                                    // unknown week
        {"System Serial#", std::nullopt},    {"W881234567", std::nullopt}, // too short
    };
    for (const auto& [serial, expected] : cases) {
        const auto date = decodeSerial(serial);
        EXPECT_EQ(date ? std::optional(std::pair(date->week, date->year)) : std::nullopt, expected)
            << serial;
    }
    EXPECT_EQ(variation("W8812345678"), "678");
    EXPECT_EQ(variation("C02DC1234567"), "4567");
    EXPECT_EQ(variation("C02D"), "");
    auto mac = macNamed("MacBookPro11,1", "C02DC1234567");
    mac->decodeSerial();
    EXPECT_EQ(mac->manufactureWeek(), 37);
}

} // namespace
