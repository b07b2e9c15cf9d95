#include "collectors/disks/BlockDevices.h"
#include "collectors/disks/DiskActivityStatCollector.h"
#include "foundation/ManualMainQueue.h"
#include "support/TemporaryDirectory.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

ActivityDisk disk(const char* bsd, const char* serial = "", const char* wwid = "",
                  const char* vendor = "", const char* table = "", bool image = false,
                  const char* identification = "") {
    ActivityDisk d;
    d.deviceIdentification = identification;
    d.bsd = bsd;
    d.serial = serial;
    d.wwid = wwid;
    d.vendor = vendor;
    d.partitionTableUUID = table;
    d.diskImage = image;
    return d;
}

} // namespace

TEST(DiskActivity, IdentityWalk) {
    const struct {
        ActivityDisk disk;
        std::optional<std::string> identity;
    } cases[] = {
        {disk("sda", "ZC1 9B07", "naa.1"), "ZC19B07"},
        {disk("sda", "0000 0000", "naa.5000"), "naa.5000"},
        {disk("sda", "000000000000"), std::nullopt},
        {disk("sdc", "", "", "HPT", "6b7e"), "6b7e"},
        {disk("sdc", "", "", "ATA", "6b7e"), std::nullopt},
        {disk("loop0", "x", "", "", "", true), std::nullopt},
        // The device identification comes last, after an HPT table without a UUID too.
        {disk("sdd", "", "", "HPT", "", false, "5000c500a1b2c3d4"), "5000c500a1b2c3d4"},
        {disk("sdd", "0000", "", "", "", false, "0000"), std::nullopt},
        {disk("loop1", "", "", "", "", true, "5000c500a1b2c3d4"), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(activityIdentity(c.disk), c.identity) << c.disk.bsd << " " << c.disk.serial;
}

TEST(DiskActivity, FirstDesignatorOfTheDeviceIdentificationPage) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> cases[] = {
        // Binary NAA designator, then a second one that is not taken.
        {"\x00\x83\x00\x10"s + "\x01\x03\x00\x04"s + "\x50\x00\xc5\x01"s + "\x02\x01\x00\x04"s +
             "ABCD",
         "5000c501"},
        {"\x00\x83\x00\x0a"s + "\x02\x01\x00\x06"s + "AT A1 ", "ATA1"}, // ASCII, blanks out
        {"\x00\x83\x00\x08"s + "\x01\x03\x00\x08"s + "\x50\x00"s, ""},  // cut short
        {"\x00\x80\x00\x08"s + "\x02\x01\x00\x04"s + "ABCD", ""},       // another page
        {"", ""},
    };
    for (const auto& [page, identifier] : cases)
        EXPECT_EQ(identifierFromVpdPage83(page), identifier) << identifier;
}

TEST(DiskActivity, ValueIsAPositiveDifferenceOfTwoNonZeroCounters) {
    const double cases[][3] = {{200, 100, 100}, {100, 200, 0}, {100, 0, 0},
                               {0, 100, 0},     {NAN, 1, 0},   {5, 5, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(diskActivityValue(c[0], c[1]), c[2]) << c[0] << " " << c[1];
}

namespace {

class Rates : public ::testing::Test {
protected:
    Rates() { write("sda 100 0 1000 0 50 0 2000 0"); }
    void write(const std::string& line) {
        std::filesystem::create_directories(root / "proc");
        std::ofstream(root / "proc/diskstats") << "   8 0 " << line << " 0 0 0 0\n";
    }
    DiskActivityStatCollector::ActivityItem sda() { return activity.itemWithBSD("sda"); }
    // One beat: the cycle gives each sample the next identifier.
    void beat(double seconds) {
        queue.advance(seconds);
        activity.setID(++identifier, 0);
        activity.updateStats();
    }

    test::TemporaryDirectory root;
    ManualMainQueue queue{1'795'000'000.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskActivityStatCollector activity{context, SysRoot(root.path())};
    double identifier = 0;
};

} // namespace

TEST_F(Rates, FirstSampleIsZeroThenSectorsAreHalfKilobytes) {
    activity.rebuildDisks({disk("sda", "S1")});
    beat(0);
    EXPECT_EQ(sda()->read, 0.0);
    EXPECT_EQ(sda()->readTotal, 1000.0 * 512);

    write("sda 110 0 1400 0 54 0 2800 0");
    beat(2);
    EXPECT_EQ(sda()->read, 400.0 * 512 / 2);
    EXPECT_EQ(sda()->write, 800.0 * 512 / 2);
    EXPECT_EQ(sda()->readIOPS, 5.0);
    EXPECT_EQ(sda()->writeIOPS, 2.0);
    const double* values = sda()->storageForType(0)[0].values;
    EXPECT_EQ(values[DiskActivityStatCollectorItem::Write], 800.0 * 512 / 2);
    EXPECT_EQ(values[DiskActivityStatCollectorItem::WriteRaw], 2800.0 * 512);
}

TEST_F(Rates, ResetOrVanishedCountersNeverSpike) {
    activity.rebuildDisks({disk("sda", "S1")});
    beat(0);
    write("sda 1 0 10 0 1 0 10 0"); // the counters restarted
    beat(1);
    EXPECT_EQ(sda()->read, 0.0);
    EXPECT_EQ(sda()->write, 0.0);

    write("sdb 1 0 10 0 1 0 10 0"); // sda is missing from the table: zeros
    beat(1);
    EXPECT_EQ(sda()->readTotal, 0.0);
    write("sda 900 0 90000 0 900 0 90000 0");
    beat(1);
    EXPECT_EQ(sda()->read, 0.0);
    EXPECT_EQ(sda()->write, 0.0);
}

TEST_F(Rates, DisksWithoutIdentityHaveNoItemAndGoneDisksAreRemoved) {
    activity.rebuildDisks({disk("sda", "S1"), disk("sdb"), disk("loop0", "S2", "", "", "", true)});
    EXPECT_EQ(activity.disks().size(), 1u);
    activity.rebuildDisks({});
    EXPECT_TRUE(activity.disks().empty());
}
