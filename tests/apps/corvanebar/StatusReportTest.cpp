#include "StatusReport.h"

#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "foundation/Json.h"
#include "foundation/ManualMainQueue.h"
#include "support/RecordedMachine.h"

#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

using namespace corvane;

namespace {

using test::kRecordedMachines;
using test::RecordedMachine;

struct Printed {
    int status = -1;
    std::string text;
    std::string error;
};

// `corvanebar status` on a recorded machine: the first reading, one second, the second reading.
Printed statusOf(const RecordedMachine& machine, bool json) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    CPUStatCollectorLinux cpu(context, machine.root());
    cpu.setup();
    LoadStatCollectorLinux load(context, machine.root());
    MemoryStatCollectorLinux memory(context, machine.root(), 4096);
    BatteryStatCollectorLinux battery(context, machine.root());
    std::ostringstream out;
    std::ostringstream err;
    Printed printed;
    printed.status = printStatus(
        {cpu, load, memory, battery},
        [&] {
            machine.advance();
            queue.advance(1.0);
        },
        out, err, json);
    printed.text = out.str();
    printed.error = err.str();
    return printed;
}

// A number of the JSON report by its path ("memory.total", "cores.0.user", "cores.#" for a
// list's length), or NaN when it is not there.
double numberAt(const Value& report, const std::string& path) {
    const Value* v = &report;
    std::istringstream parts(path);
    for (std::string part; std::getline(parts, part, '.');) {
        if (part == "#")
            return static_cast<double>(v->size());
        if (v->isArray())
            v = &(*v)[std::stoul(part)];
        else if (v->contains(part))
            v = &(*v)[part];
        else
            return NAN;
    }
    return v->isNull() ? NAN : v->doubleValue();
}

struct Case {
    const char* machine;
    std::vector<std::string> lines;                      // whole lines of the text
    std::vector<std::pair<std::string, double>> numbers; // JSON paths and values (NaN: absent)
};

// Expected figures worked out by hand from the recorded files: the processor's shares from the
// change of the "cpuN" lines (busy = user, system + irq + softirq + steal, nice; idle + iowait
// idle), memory's used as total less MemAvailable and with the inactive caches as total less
// MemFree, a battery's time as charge_now / current_now and its health as charge_full over
// charge_full_design.
const Case kCases[] = {
    {"ht-4c8t",
     {"CPU       user  20.0%  system   6.7%  nice   3.1%  total  29.8%",
      "  cpu1    user  95.0%  system   3.8%  nice   0.0%  total  98.8%",
      "  cpu5    user   0.0%  system   0.0%  nice   0.0%  total   0.0%",
      "  core 1  user  47.5%  system   1.9%  nice   0.0%  total  49.4%",
      "Load      1.52 0.98 0.61   tasks 3  threads 420",
      "Memory    unavailable: no memory figures could be read"},
     {{"cpu.user", 20.0},
      {"cores.#", 8},
      {"physicalCores.#", 4},
      {"load.one", 1.52},
      {"tasks", 3},
      {"threads", 420},
      {"memory", NAN}}},
    {"memory-pair",
     {"CPU       unavailable: no processor counters could be read", "Load      unavailable",
      "Memory    0.39 GiB used of 23.54 GiB (1.7%); with inactive caches 3.14 GiB (13.4%)",
      "  file cache 2.90 GiB  applications 0.01 GiB  swap 0.00 GiB of 0.00 GiB  pressure "
      "unavailable"},
     {{"cpu", NAN},
      {"load", NAN},
      {"memory.total", 24683620},
      {"memory.usedPercent", 1.7},
      {"memory.usedWithInactivePercent", 13.4},
      {"memory.pressureLevel", NAN}}},
    {"laptop-charge-counter",
     {"Battery   Battery               50%  discharging, 2:00 left  health 95%",
      "Battery   Wireless Controller    ?%  discharging"},
     {{"battery.sources.#", 4},
      {"battery.sources.0.percentage", 50},
      {"battery.sources.0.cycles", NAN},
      {"battery.sources.3.percentage", NAN},
      {"memory", NAN}}},
};

TEST(StatusReport, ShowsTheRecordedMachinesFiguresAndOnlyThose) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.machine);
        const RecordedMachine machine(c.machine);
        const Printed text = statusOf(machine, false);
        EXPECT_EQ(text.status, 0) << text.error;
        for (const auto& line : c.lines)
            EXPECT_NE(text.text.find(line + "\n"), std::string::npos) << line << "\n" << text.text;

        const Printed json = statusOf(RecordedMachine(c.machine), true);
        const Value report = parseJson(json.text);
        for (const auto& [path, expected] : c.numbers) {
            if (std::isnan(expected))
                EXPECT_TRUE(std::isnan(numberAt(report, path))) << path << "\n" << json.text;
            else
                EXPECT_NEAR(numberAt(report, path), expected, 0.05) << path << "\n" << json.text;
        }
    }
}

TEST(StatusReport, EscapesControlCharactersOfDeviceNames) {
    const RecordedMachine machine("laptop-discharging");
    machine.write("/sys/class/power_supply/hidpp_battery_0/model_name",
                  "\x1b]0;owned\x07Mouse\xc2\x9b"
                  "2J");
    const Printed text = statusOf(machine, false);
    EXPECT_NE(text.text.find("Battery   \\x1b]0;owned\\x07Mouse\\x9b2J"), std::string::npos)
        << text.text;
    const Printed json = statusOf(machine, true);
    EXPECT_NE(json.text.find(R"("name": "\u001b]0;owned\u0007Mouse\u009b2J")"), std::string::npos)
        << json.text;
}

// A processor busy half the time, as the kernel counts it: whole ticks, 100 a second.
class HalfBusyProcessor final : public CPUStatCollector {
public:
    HalfBusyProcessor(const EngineContext& context, const Clock& clock)
        : CPUStatCollector(context)
        , clock_(clock)
        , start_(clock.now()) {}

protected:
    std::int64_t physicalCoreCount() override { return 1; }
    std::int64_t logicalCoreCount() override { return 1; }
    std::vector<Ticks> processorTicks() override {
        const auto ticks = static_cast<std::uint64_t>((clock_.now() - start_) * 100);
        return {Ticks{ticks / 2, 0, ticks - ticks / 2, 0}};
    }
    ProcessInfo processInfo() override { return {12, 345}; }

private:
    const Clock& clock_;
    double start_;
};

// Timers that fire a millisecond early, as a main loop that counts in whole milliseconds may.
class EarlyQueue final : public MainQueue {
public:
    explicit EarlyQueue(ManualMainQueue& queue)
        : queue_(queue) {}
    void async(Task task) override { queue_.async(std::move(task)); }
    TimerId after(double seconds, Task task) override {
        return queue_.after(std::max(0.0, seconds - 0.001), std::move(task));
    }
    void cancel(TimerId id) override { queue_.cancel(id); }
    const Clock& clock() const override { return queue_; }

private:
    ManualMainQueue& queue_;
};

TEST(StatusWatch, PrintsOnlyWholeSecondsEachUnderItsOwnSecond) {
    test::ScopedEnvironment zone("TZ", "UTC");
    tzset();
    ManualMainQueue queue(1'700'000'000.3); // 22:13:20.3
    EarlyQueue early(queue);
    const EngineContext context{early, kSettingsTierCount, nullptr};
    HalfBusyProcessor cpu(context, queue);
    cpu.setup();
    LoadStatCollectorLinux load(context, SysRoot(kRecordedMachines / "ht-4c8t"));
    std::ostringstream out;
    {
        StatusWatch watch(cpu, load, out, false, [] { FAIL() << "the output did not fail"; });
        queue.advance(3.0);
    }
    cpu.cleanup();
    tzset();
    // The beat of :21 measured 0.7 seconds; :22 and :23 fired a moment before their second.
    EXPECT_EQ(out.str(),
              "22:13:22  CPU  50.0% (user  50.0, system   0.0, nice   0.0)  load 1.52 0.98 0.61\n"
              "22:13:23  CPU  50.0% (user  50.0, system   0.0, nice   0.0)  load 1.52 0.98 0.61\n");
}

} // namespace
