#include "collectors/memory/MemoryStatCollector.h"

#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"
#include "support/ScriptedMemory.h"
#include "support/TemporaryDirectory.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace corvane;
using corvane::test::ScriptedMemory;

namespace {

class Memory : public ::testing::Test {
protected:
    Memory() {
        // 4 KiB pages: a page count reads as that many times 4 KiB.
        memory.reading.pageSize = 4096;
        memory.reading.wiredPages = 100;
        memory.reading.activePages = 200;
        memory.reading.inactivePages = 300;
        memory.reading.freePages = 400;
        memory.reading.compressorPages = 50;
        memory.reading.externalPages = 70;
        memory.reading.internalPages = 90;
        memory.reading.purgeablePages = 10;
        memory.reading.pageins = 1000;
        memory.reading.pageouts = 500;
        memory.reading.installedMemory = 8 * 1024 * 1024; // 8 MiB: 8192 KiB
    }
    double slot(int index) const { return memory.sampleAtIndex(0, 0).values[index]; }

    ManualMainQueue queue{1795335330.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedMemory memory{context};
};

TEST_F(Memory, FirstSampleDividesByNothingYet) {
    memory.updateStats();
    EXPECT_EQ(slot(10), 400.0); // wired KiB
    EXPECT_EQ(slot(11), 800.0);
    EXPECT_EQ(slot(12), 1200.0);
    EXPECT_EQ(slot(1), 1600.0);
    EXPECT_EQ(slot(13), 200.0);
    EXPECT_EQ(slot(5), 0.0);
    EXPECT_EQ(slot(6), 0.0);
    EXPECT_TRUE(std::isinf(slot(9)));
    EXPECT_TRUE(std::isinf(slot(18)));
    EXPECT_EQ(slot(14), 0.0);
    EXPECT_EQ(slot(0), 8192.0);
    EXPECT_EQ(slot(2), 0.0);
    EXPECT_EQ(slot(17), 1.0);
}

TEST_F(Memory, SharesFollowTheTotalOneSampleLate) {
    memory.updateStats();
    memory.reading.pageins = 1010;
    memory.reading.installedMemory = 16 * 1024 * 1024;
    memory.updateStats();
    // Against the 8192 KiB of the sample before, not the new 16384.
    EXPECT_DOUBLE_EQ(slot(9), (400.0 + 800 + 200 + 1200) / 8192 * 100);
    EXPECT_DOUBLE_EQ(slot(18), (400.0 + 800 + 200) / 8192 * 100);
    EXPECT_DOUBLE_EQ(slot(14), (400.0 + 200) / 8192 * 100);
    EXPECT_EQ(slot(5), 10.0 * 4096); // bytes paged in since the sample before
    EXPECT_EQ(slot(6), 0.0);
    EXPECT_EQ(slot(0), 16384.0);
}

TEST_F(Memory, ResetCountersGiveZeroNotNegative) {
    memory.updateStats();
    memory.reading.pageins = 3;
    memory.reading.pageouts = 0;
    memory.updateStats();
    EXPECT_EQ(slot(5), 0.0);
    EXPECT_EQ(slot(6), 0.0);
}

TEST_F(Memory, PurgeableMovesToTheFileCacheOnlyWhereTheSourceSaysSo) {
    memory.can.movesPurgeable = false;
    memory.updateStats();
    EXPECT_EQ(slot(15), 280.0);
    EXPECT_EQ(slot(16), 360.0);
    memory.can.movesPurgeable = true;
    memory.updateStats();
    EXPECT_EQ(slot(15), 320.0);
    EXPECT_EQ(slot(16), 320.0);
    memory.can.hasCompressor = false;
    memory.updateStats();
    EXPECT_EQ(slot(13), 0.0);
}

TEST_F(Memory, UnknownInstalledMemoryFallsBackToTheListedPages) {
    memory.reading.installedMemory = 0;
    memory.updateStats();
    EXPECT_EQ(slot(0), 400.0 + 800 + 1200 + 1600);
}

TEST_F(Memory, AFailedPressureReadRepeatsTheLastLevel) {
    memory.pressure = 4;
    memory.updateStats();
    memory.pressure.reset();
    memory.updateStats();
    EXPECT_EQ(slot(17), 4.0);
    EXPECT_EQ(memory.pressureLevel(), 4);
}

// Two readings of a machine a second apart, 64 MiB written to disk in between; the slots are
// worked out by hand from the recorded files (KiB):
//   free      MemFree                                21387128
//   active    Active(anon) 1524 + Inactive(anon) 4340    5864
//   inactive  MemAvailable 24269916 - MemFree         2882788
//   wired     24683620 - 21387128 - 5864 - 2882788     407840
// so that used without inactive, 407840 + 5864 = 413704, is `free`'s used, total - available.
TEST(MemoryLinux, ARecordedPairGivesTheSlotsWorkedOutByHand) {
    const std::filesystem::path recorded = std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot";
    test::TemporaryDirectory root;
    std::filesystem::create_directories(root / "proc");
    const auto take = [&](const char* machine) {
        for (const char* file : {"meminfo", "vmstat"})
            std::filesystem::copy_file(recorded / machine / "proc" / file, root / "proc" / file,
                                       std::filesystem::copy_options::overwrite_existing);
    };
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    MemoryStatCollectorLinux memory(context, SysRoot(root.path()), 4096);
    take("memory-pair");
    memory.updateStats();
    take("memory-pair.later");
    memory.updateStats();

    const double* v = memory.sampleAtIndex(0, 0).values;
    EXPECT_DOUBLE_EQ(v[0], 24683620);
    EXPECT_DOUBLE_EQ(v[1], 21387128);
    EXPECT_DOUBLE_EQ(v[10], 407840);
    EXPECT_DOUBLE_EQ(v[11], 5864);
    EXPECT_DOUBLE_EQ(v[12], 2882788);
    EXPECT_DOUBLE_EQ(v[13], 0);
    EXPECT_DOUBLE_EQ(v[15], 1496032 + 1539944); // file cache
    EXPECT_DOUBLE_EQ(v[16], 10280);             // AnonPages
    EXPECT_DOUBLE_EQ(v[18], 413704.0 / 24683620 * 100);
    EXPECT_DOUBLE_EQ(v[9], (413704.0 + 2882788) / 24683620 * 100);
    // pgpgin 2292973 -> 2293229 and pgpgout 12361868 -> 12427572, in KiB, counted in whole
    // 4 KiB pages: 573243 -> 573307 and 3090467 -> 3106893.
    EXPECT_DOUBLE_EQ(v[5], 64.0 * 4096);
    EXPECT_DOUBLE_EQ(v[6], 16426.0 * 4096);
}

TEST(MemoryLinux, KernelsWithoutAvailableCountTheFileCacheAsInactive) {
    const auto meminfo = MemoryStatCollectorLinux::parseKeyValues(
        "MemTotal: 16000000 kB\nMemFree: 4000000 kB\nActive(anon): 3000000 kB\n"
        "Inactive(anon): 1000000 kB\nActive(file): 2000000 kB\nInactive(file): 1000000 kB\n"
        "SReclaimable: 500000 kB\nZswap: 100000 kB\n");
    const auto r = MemoryStatCollectorLinux::readingFrom(meminfo, {}, 4096);
    EXPECT_EQ(r.inactivePages, 3500000u / 4);
    EXPECT_EQ(r.wiredPages, (16000000u - 4000000 - 4000000 - 3500000 - 100000) / 4);
}

TEST(MemoryLinux, PressureBecomesALevel) {
    EXPECT_EQ(MemoryStatCollectorLinux::pressureLevelFromText(
                  "some avg10=0.00 avg60=0.00 avg300=0.00 total=0\n"
                  "full avg10=0.00 avg60=0.00 avg300=0.00 total=0\n"),
              1);
    EXPECT_EQ(MemoryStatCollectorLinux::pressureLevelFromText(
                  "some avg10=12.50 avg60=3.00 avg300=1.00 total=99\n"
                  "full avg10=2.00 avg60=0.00 avg300=0.00 total=9\n"),
              2);
    EXPECT_EQ(MemoryStatCollectorLinux::pressureLevelFromText(
                  "some avg10=40.00 avg60=3.00 avg300=1.00 total=99\n"
                  "full avg10=25.00 avg60=0.00 avg300=0.00 total=9\n"),
              4);
    EXPECT_EQ(MemoryStatCollectorLinux::pressureLevelFromText("garbage"), std::nullopt);
}

TEST(MemoryLinux, ReadsARecordedMachine) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    MemoryStatCollectorLinux memory(
        context, SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/this-machine"), 4096);
    memory.updateStats();
    memory.updateStats();
    const statsample s = memory.sampleAtIndex(0, 0);
    EXPECT_GT(s.values[0], 0.0);
    EXPECT_GT(s.values[1], 0.0);
    EXPECT_GE(s.values[9], s.values[18]);
    EXPECT_LE(s.values[9], 100.0);
    EXPECT_EQ(s.values[17], 1.0);
}

// A tree without usable memory figures gives an empty sample, never zeros that look measured;
// a FIFO or a device in place of the file must not hang the reader.
TEST(MemoryLinux, NoFiguresGiveNoReading) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    for (const char* meminfo : {"", "MemFree: 100 kB\n", "fifo", "device", "none"}) {
        SCOPED_TRACE(meminfo);
        test::TemporaryDirectory root;
        std::filesystem::create_directories(root / "proc");
        const auto file = root / "proc/meminfo";
        if (meminfo == std::string_view("fifo"))
            ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
        else if (meminfo == std::string_view("device"))
            std::filesystem::create_symlink("/dev/zero", file);
        else if (meminfo != std::string_view("none"))
            std::ofstream(file) << meminfo;
        MemoryStatCollectorLinux memory(context, SysRoot(root.path()), 4096);
        memory.updateStats();
        memory.updateStats();
        EXPECT_EQ(memory.sampleAtIndex(0, 0).empty, 1);
        EXPECT_EQ(memory.sampleAtIndex(0, 0).values[0], 0.0);
        EXPECT_FALSE(memory.hasReading());
    }
}

// The product's reader and the tested parser are one: any white space may follow the colon.
TEST(MemoryLinux, ATabAfterTheNameReadsAsASpaceDoes) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    test::TemporaryDirectory root;
    std::filesystem::create_directories(root / "proc");
    std::ofstream(root / "proc/meminfo")
        << "MemTotal:\t16000000 kB\nMemFree:\t4000000 kB\nMemAvailable:\t9000000 kB\n";
    MemoryStatCollectorLinux memory(context, SysRoot(root.path()), 4096);
    memory.updateStats();
    EXPECT_TRUE(memory.hasReading());
    EXPECT_EQ(memory.sampleAtIndex(0, 0).values[0], 16000000.0);
    EXPECT_EQ(memory.sampleAtIndex(0, 0).values[1], 4000000.0);
    EXPECT_EQ(memory.sampleAtIndex(0, 0).values[12], 5000000.0);
}

} // namespace
