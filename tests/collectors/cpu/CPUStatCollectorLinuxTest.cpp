#include "collectors/cpu/CPUStatCollectorLinux.h"

#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "foundation/ManualMainQueue.h"
#include "foundation/TextParsing.h"
#include "support/RecordedMachine.h"

#include <atomic>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <pthread.h>
#include <sched.h>
#include <thread>

using namespace corvane;
using corvane::test::TemporaryDirectory;

namespace {

using test::kRecordedMachines;
using test::RecordedMachine;

// The ten kernel fields of each "cpu" line, read here without the collector's code.
std::map<std::string, std::vector<double>> statFields(const std::filesystem::path& file) {
    std::map<std::string, std::vector<double>> lines;
    const std::string text = readFileContents(file).value_or("");
    for (auto line : splitLines(text)) {
        auto words = splitWhitespace(line);
        if (words.empty() || words[0].substr(0, 3) != "cpu")
            continue;
        for (std::size_t i = 1; i < words.size(); ++i)
            lines[std::string(words[0])].push_back(*parseDouble(words[i]));
    }
    return lines;
}

struct Busy {
    double user, system, nice;
};

// One processor's fields, or for "all" the sum over the processors' lines: the kernel writes
// its own total line at a slightly different moment.
std::vector<double> fieldsOf(const std::filesystem::path& file, const std::string& line) {
    auto lines = statFields(file);
    if (line != "all")
        return lines[line];
    std::vector<double> sum(10, 0.0);
    for (const auto& [name, fields] : lines) {
        for (std::size_t i = 0; name != "cpu" && i < fields.size(); ++i)
            sum[i] += fields[i];
    }
    return sum;
}

// The shares as top shows them: the time of each state over all time but the guests, which
// the kernel already counts within user and nice.
Busy topShares(const std::string& name, const std::string& line) {
    auto before = fieldsOf(kRecordedMachines / name / "proc/stat", line);
    auto after = fieldsOf(kRecordedMachines / (name + ".later") / "proc/stat", line);
    std::vector<double> d(10, 0.0);
    for (std::size_t i = 0; i < 10; ++i)
        d[i] = after[i] - before[i];
    const double total = d[0] + d[1] + d[2] + d[3] + d[4] + d[5] + d[6] + d[7];
    return {100 * d[0] / total, 100 * (d[2] + d[5] + d[6] + d[7]) / total, 100 * d[1] / total};
}

class LinuxProcessor : public ::testing::Test {
protected:
    ManualMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

TEST_F(LinuxProcessor, MatchesTopOnAHyperThreadedMachine) {
    RecordedMachine machine("ht-4c8t");
    CPUStatCollectorLinux cpu(context, machine.root());
    cpu.setup();
    EXPECT_TRUE(cpu.hyperThreading());
    EXPECT_EQ(cpu.coreCount(), 8);
    ASSERT_EQ(cpu.logicalCores().size(), 8u);
    ASSERT_EQ(cpu.physicalCores().size(), 4u);
    cpu.updateStats(); // the cores count from their first reading on
    machine.advance();
    cpu.updateStats();

    const Busy all = topShares("ht-4c8t", "all");
    const statsample sample = cpu.sampleAtIndex(0, 0);
    EXPECT_NEAR(sample.values[CPUStatCollectorItem::User], all.user, 1e-9);
    EXPECT_NEAR(sample.values[CPUStatCollectorItem::System], all.system, 1e-9);
    EXPECT_NEAR(sample.values[CPUStatCollectorItem::Nice], all.nice, 1e-9);
    for (int core = 0; core < 8; ++core) {
        const Busy expected = topShares("ht-4c8t", "cpu" + std::to_string(core));
        const statsample s =
            cpu.logicalCores()[static_cast<std::size_t>(core)]->sampleAtIndex(0, 0);
        EXPECT_NEAR(s.values[CPUStatCollectorItem::User], expected.user, 1e-9) << core;
        EXPECT_NEAR(s.values[CPUStatCollectorItem::System], expected.system, 1e-9) << core;
        EXPECT_NEAR(s.values[CPUStatCollectorItem::Nice], expected.nice, 1e-9) << core;
    }
    // cpu1 and cpu5 are the two threads of core 1: its load is their mean.
    const statsample core1 = cpu.physicalCores()[1]->sampleAtIndex(0, 0);
    EXPECT_NEAR(core1.values[CPUStatCollectorItem::User],
                (topShares("ht-4c8t", "cpu1").user + topShares("ht-4c8t", "cpu5").user) / 2, 1e-4);
    EXPECT_EQ(cpu.taskCount(), 3);
    EXPECT_EQ(cpu.threadCount(), 420);
}

TEST_F(LinuxProcessor, AnOfflineProcessorKeepsItsPlaceAndCountsFromItsReturn) {
    RecordedMachine machine("offline-cpu2");
    CPUStatCollectorLinux cpu(context, machine.root());
    cpu.setup();
    EXPECT_EQ(cpu.coreCount(), 3);
    EXPECT_FALSE(cpu.hyperThreading());
    ASSERT_EQ(cpu.logicalCores().size(), 4u);
    // cpu2 comes back on line with the counters it gathered before it went off.
    machine.advance();
    machine.append("/proc/stat", "cpu2 20000 0 10000 9000000 0 0 0 0 0 0\n");
    cpu.updateStats();

    EXPECT_NEAR(cpu.sampleAtIndex(0, 0).values[CPUStatCollectorItem::User],
                topShares("offline-cpu2", "all").user, 1e-9);
    EXPECT_TRUE(
        std::isnan(cpu.logicalCores()[2]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User]));
    EXPECT_NEAR(cpu.logicalCores()[3]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User],
                topShares("offline-cpu2", "cpu3").user, 1e-9);
    cpu.updateStats(); // a second reading with unchanged counters must not break anything
    EXPECT_EQ(cpu.sampleAtIndex(0, 0).values[CPUStatCollectorItem::User], 0.0);
}

// Nothing to read is said as such: an empty sample, never zeros that look measured.
TEST_F(LinuxProcessor, AnEmptyOrUnreadableProcGivesNoReading) {
    LogCapture log;
    for (const char* stat : std::initializer_list<const char*>{"", "intr 1 2 3\n", nullptr}) {
        TemporaryDirectory dir;
        std::filesystem::create_directories(dir.path() / "proc");
        if (stat)
            std::ofstream(dir.path() / "proc/stat") << stat;
        else
            std::filesystem::create_symlink("/dev/zero", dir.path() / "proc/stat");
        CPUStatCollectorLinux cpu(context, SysRoot(dir.path()));
        LoadStatCollectorLinux load(context, SysRoot(dir.path()));
        cpu.setup();
        cpu.updateStats();
        load.updateStats();
        EXPECT_EQ(cpu.sampleAtIndex(0, 0).empty, 1) << (stat ? stat : "a device");
        EXPECT_EQ(load.sampleAtIndex(0, 0).empty, 1);
        EXPECT_FALSE(cpu.hasReading());
        EXPECT_FALSE(load.hasReading());
    }
}

TEST(ProcStat, LinesMapToTheFourStates) {
    // user nice system idle iowait irq softirq steal guest guest_nice
    const auto ticks = CPUStatCollectorLinux::ticksFromStatLine("cpu3 100 7 50 1000 30 2 3 4 20 1");
    ASSERT_TRUE(ticks);
    EXPECT_EQ(*ticks, (CPUStatCollector::Ticks{100, 59, 1030, 7}));
    // Kernels before 2.6.11 wrote four fields only.
    EXPECT_EQ(CPUStatCollectorLinux::ticksFromStatLine("cpu0 1 2 3 4"),
              (CPUStatCollector::Ticks{1, 3, 4, 2}));
    EXPECT_FALSE(CPUStatCollectorLinux::ticksFromStatLine("cpu 1 2 3 4 5"));
    EXPECT_FALSE(CPUStatCollectorLinux::ticksFromStatLine("cpu0 1 2 x 4"));
    EXPECT_FALSE(CPUStatCollectorLinux::ticksFromStatLine("cpu0 1 2"));
}

TEST(ProcStat, CpuListsReadAsTheKernelWritesThem) {
    EXPECT_EQ(CPUStatCollectorLinux::parseCpuList("0-3,5,7-8\n"),
              (std::vector<int>{0, 1, 2, 3, 5, 7, 8}));
    EXPECT_EQ(CPUStatCollectorLinux::parseCpuList("0"), std::vector<int>{0});
    EXPECT_TRUE(CPUStatCollectorLinux::parseCpuList("\n").empty());
    EXPECT_EQ(CPUStatCollectorLinux::parseCpuList("3-1,x,2"), std::vector<int>{2});
}

TEST_F(LinuxProcessor, LoadAveragesReadFromLoadavg) {
    RecordedMachine machine("ht-4c8t");
    LoadStatCollectorLinux load(context, machine.root());
    load.updateStats();
    const statsample s = load.sampleAtIndex(0, 0);
    EXPECT_DOUBLE_EQ(s.values[LoadStatCollector::OneMinute], 1.52);
    EXPECT_DOUBLE_EQ(s.values[LoadStatCollector::FiveMinutes], 0.98);
    EXPECT_DOUBLE_EQ(s.values[LoadStatCollector::FifteenMinutes], 0.61);

    EXPECT_FALSE(LoadStatCollectorLinux::parseLoadAverages("0.5 0.4"));
    EXPECT_FALSE(LoadStatCollectorLinux::parseLoadAverages("a b c 1/2 3"));
    EXPECT_TRUE(load.hasReading());
}

TEST_F(LinuxProcessor, ABusyThreadShowsOnItsCore) {
    if (std::thread::hardware_concurrency() < 2)
        GTEST_SKIP() << "one processor: nothing to tell apart";
    CPUStatCollectorLinux cpu(context, SysRoot());
    cpu.setup();
    const std::size_t target = cpu.logicalCores().size() - 1;

    std::atomic<bool> stop{false};
    std::thread spinner([&] {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(static_cast<int>(target), &set);
        pthread_setaffinity_np(pthread_self(), sizeof set, &set);
        volatile std::uint64_t n = 0;
        while (!stop)
            n = n + 1;
    });
    double best = 0;
    for (int sample = 0; sample < 3 && best < 40.0; ++sample) {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        cpu.updateStats();
        const statsample s = cpu.logicalCores()[target]->sampleAtIndex(0, 0);
        best = std::max(best, s.values[CPUStatCollectorItem::User] +
                                  s.values[CPUStatCollectorItem::System] +
                                  s.values[CPUStatCollectorItem::Nice]);
    }
    stop = true;
    spinner.join();
    EXPECT_GE(best, 40.0);
}

} // namespace
