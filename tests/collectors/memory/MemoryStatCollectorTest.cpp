#include "collectors/memory/MemoryStatCollector.h"

#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"
#include "support/RecordedMachine.h"
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
    double slot(MemoryStatCollector::Slot index) const {
        return memory.sampleAtIndex(0, 0).values[index];
    }

    ManualMainQueue queue{1795335330.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedMemory memory{context};
};

TEST_F(Memory, FirstSampleDividesByNothingYet) {
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::Wired), 400.0); // pages become KiB
    EXPECT_EQ(slot(MemoryStatCollector::PageInsSince), 0.0);
    EXPECT_EQ(slot(MemoryStatCollector::PageOutsSince), 0.0);
    EXPECT_TRUE(std::isinf(slot(MemoryStatCollector::UsedWithInactive)));
    EXPECT_TRUE(std::isinf(slot(MemoryStatCollector::UsedWithoutInactive)));
    EXPECT_EQ(slot(MemoryStatCollector::WiredAndCompressed), 0.0);
    EXPECT_EQ(slot(MemoryStatCollector::Total), 8192.0);
    EXPECT_EQ(slot(MemoryStatCollector::PressureLevel), 1.0);
}

TEST_F(Memory, SharesFollowTheTotalOneSampleLate) {
    memory.updateStats();
    memory.reading.pageins = 1010;
    memory.reading.installedMemory = 16 * 1024 * 1024;
    memory.updateStats();
    // Against the 8192 KiB of the sample before, not the new 16384.
    EXPECT_DOUBLE_EQ(slot(MemoryStatCollector::UsedWithInactive),
                     (400.0 + 800 + 200 + 1200) / 8192 * 100);
    EXPECT_DOUBLE_EQ(slot(MemoryStatCollector::UsedWithoutInactive),
                     (400.0 + 800 + 200) / 8192 * 100);
    EXPECT_DOUBLE_EQ(slot(MemoryStatCollector::WiredAndCompressed), (400.0 + 200) / 8192 * 100);
    EXPECT_EQ(slot(MemoryStatCollector::PageInsSince),
              10.0 * 4096); // bytes paged in since the sample before
    EXPECT_EQ(slot(MemoryStatCollector::PageOutsSince), 0.0);
    EXPECT_EQ(slot(MemoryStatCollector::Total), 16384.0);
}

TEST_F(Memory, PurgeableMovesToTheFileCacheOnlyWhereTheSourceSaysSo) {
    memory.can.movesPurgeable = false;
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::FileCache), 280.0);
    EXPECT_EQ(slot(MemoryStatCollector::ApplicationMemory), 360.0);
    memory.can.movesPurgeable = true;
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::FileCache), 320.0);
    EXPECT_EQ(slot(MemoryStatCollector::ApplicationMemory), 320.0);
    memory.can.hasCompressor = false;
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::Compressed), 0.0);
}

// Counters reset, a pressure read that failed, no installed size: none gives a wrong figure.
TEST_F(Memory, FailedOrResetReadingsGiveNeutralFigures) {
    memory.pressure = 4;
    memory.reading.installedMemory = 0;
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::Total), 400.0 + 800 + 1200 + 1600); // the listed pages
    memory.reading.pageins = 3;
    memory.reading.pageouts = 0;
    memory.pressure.reset();
    memory.updateStats();
    EXPECT_EQ(slot(MemoryStatCollector::PageInsSince), 0.0);
    EXPECT_EQ(slot(MemoryStatCollector::PageOutsSince), 0.0);
    EXPECT_EQ(slot(MemoryStatCollector::PressureLevel), 4.0);
    EXPECT_EQ(memory.pressureLevel(), 4);
}

class MemoryLinux : public ::testing::Test {
protected:
    ManualMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

// Two readings of a machine a second apart, 64 MiB written to disk in between; the slots are
// worked out by hand from the recorded files (KiB):
//   free      MemFree                                21387128
//   active    Active(anon) 1524 + Inactive(anon) 4340    5864
//   inactive  MemAvailable 24269916 - MemFree         2882788
//   wired     24683620 - 21387128 - 5864 - 2882788     407840
// so that used without inactive, 407840 + 5864 = 413704, is `free`'s used, total - available.
TEST_F(MemoryLinux, ARecordedPairGivesTheSlotsWorkedOutByHand) {
    const test::RecordedMachine machine("memory-pair");
    MemoryStatCollectorLinux memory(context, machine.root(), 4096);
    memory.updateStats();
    machine.advance();
    memory.updateStats();

    using Slot = MemoryStatCollector::Slot;
    const double* v = memory.sampleAtIndex(0, 0).values;
    EXPECT_DOUBLE_EQ(v[Slot::Total], 24683620);
    EXPECT_DOUBLE_EQ(v[Slot::Free], 21387128);
    EXPECT_DOUBLE_EQ(v[Slot::Wired], 407840);
    EXPECT_DOUBLE_EQ(v[Slot::Active], 5864);
    EXPECT_DOUBLE_EQ(v[Slot::Inactive], 2882788);
    EXPECT_DOUBLE_EQ(v[Slot::Compressed], 0);
    EXPECT_DOUBLE_EQ(v[Slot::FileCache], 1496032 + 1539944);
    EXPECT_DOUBLE_EQ(v[Slot::ApplicationMemory], 10280); // AnonPages
    EXPECT_DOUBLE_EQ(v[Slot::UsedWithoutInactive], 413704.0 / 24683620 * 100);
    EXPECT_DOUBLE_EQ(v[Slot::UsedWithInactive], (413704.0 + 2882788) / 24683620 * 100);
    // pgpgin 2292973 -> 2293229 and pgpgout 12361868 -> 12427572, in KiB, counted in whole
    // 4 KiB pages: 573243 -> 573307 and 3090467 -> 3106893.
    EXPECT_DOUBLE_EQ(v[Slot::PageInsSince], 64.0 * 4096);
    EXPECT_DOUBLE_EQ(v[Slot::PageOutsSince], 16426.0 * 4096);
}

// A 3.2 kernel has no MemAvailable, no Zswap and no pressure file: the file cache and the
// reclaimable slab count as inactive (KiB):
//   active    Active(anon) 410220 + Inactive(anon) 152880              563100
//   inactive  Active(file) 602144 + Inactive(file) 490376 + 132116    1224636
//   wired     2061180 - 180400 - 563100 - 1224636                        93044
TEST_F(MemoryLinux, AnOlderKernelWithoutAvailableMemoryReadsAsRecorded) {
    MemoryStatCollectorLinux memory(
        context,
        SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/kernel-3.2-no-available"), 4096);
    memory.updateStats();
    memory.updateStats();
    using Slot = MemoryStatCollector::Slot;
    const statsample s = memory.sampleAtIndex(0, 0);
    const double* v = s.values;
    EXPECT_EQ(s.empty, 0);
    EXPECT_DOUBLE_EQ(v[Slot::Total], 2061180);
    EXPECT_DOUBLE_EQ(v[Slot::Free], 180400);
    EXPECT_DOUBLE_EQ(v[Slot::Active], 563100);
    EXPECT_DOUBLE_EQ(v[Slot::Inactive], 1224636);
    EXPECT_DOUBLE_EQ(v[Slot::Wired], 93044);
    EXPECT_DOUBLE_EQ(v[Slot::Compressed], 0);
    EXPECT_DOUBLE_EQ(v[Slot::FileCache], 1092520);
    EXPECT_DOUBLE_EQ(v[Slot::ApplicationMemory], 550904);
    EXPECT_DOUBLE_EQ(v[Slot::SwapUsed], 50368.0 * 1024);
    EXPECT_DOUBLE_EQ(v[Slot::SwapTotal], 1048572.0 * 1024);
    EXPECT_DOUBLE_EQ(v[Slot::UsedWithoutInactive], 656144.0 / 2061180 * 100);
    EXPECT_DOUBLE_EQ(v[Slot::UsedWithInactive], 1880780.0 / 2061180 * 100);
    EXPECT_DOUBLE_EQ(v[Slot::PressureLevel], 0) << "no pressure file, no level";
    EXPECT_DOUBLE_EQ(v[Slot::PageInsSince], 0) << "nothing paged in between";
}

TEST_F(MemoryLinux, PressureBecomesALevel) {
    const std::pair<const char*, std::optional<int>> cases[] = {
        {"some avg10=0.00 avg60=0 avg300=0 total=0\nfull avg10=0.00 avg60=0 avg300=0 total=0\n", 1},
        {"some avg10=12.50 avg60=3 avg300=1 total=99\nfull avg10=2.00 avg60=0 avg300=0 total=9\n",
         2},
        {"some avg10=40.00 avg60=3 avg300=1 total=99\nfull avg10=25.00 avg60=0 avg300=0 total=9\n",
         4},
        {"garbage", std::nullopt},
    };
    for (const auto& [text, level] : cases)
        EXPECT_EQ(MemoryStatCollectorLinux::pressureLevelFromText(text), level) << text;
}

// A tree without usable memory figures gives an empty sample, never zeros that look measured;
// a FIFO or a device in place of the file must not hang the reader.
TEST_F(MemoryLinux, NoFiguresGiveNoReading) {
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
        EXPECT_EQ(memory.sampleAtIndex(0, 0).values[MemoryStatCollector::Total], 0.0);
        EXPECT_FALSE(memory.hasReading());
    }
}

// The product's reader and the tested parser are one: any white space may follow the colon.
TEST_F(MemoryLinux, ATabAfterTheNameReadsAsASpaceDoes) {
    test::TemporaryDirectory root;
    std::filesystem::create_directories(root / "proc");
    std::ofstream(root / "proc/meminfo")
        << "MemTotal:\t16000000 kB\nMemFree:\t4000000 kB\nMemAvailable:\t9000000 kB\n";
    MemoryStatCollectorLinux memory(context, SysRoot(root.path()), 4096);
    memory.updateStats();
    EXPECT_TRUE(memory.hasReading());
    const double* v = memory.sampleAtIndex(0, 0).values;
    EXPECT_EQ(v[MemoryStatCollector::Total], 16000000.0);
    EXPECT_EQ(v[MemoryStatCollector::Free], 4000000.0);
    EXPECT_EQ(v[MemoryStatCollector::Inactive], 5000000.0);
}

} // namespace
