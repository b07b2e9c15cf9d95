// One update of the sensor collector on a machine with 40 hwmon inputs: a pread each from a
// kept descriptor, the guard, the limits and a sample per item.
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"
#include "hardware/PlatformLinux.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace corvane;
namespace fs = std::filesystem;

// Four chips of ten inputs each: temperatures, voltages and fans, as sysfs lays them out.
class HwmonTree {
public:
    HwmonTree() {
        std::string pattern = (fs::temp_directory_path() / "cvb-sensors-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        root_ = pattern;
        fs::create_directories(root_ / "sys/class/hwmon");
        for (int chip = 0; chip < 4; ++chip) {
            const std::string device = "devices/platform/nct6775." + std::to_string(chip);
            const fs::path hwmon =
                root_ / "sys" / device / "hwmon" / ("hwmon" + std::to_string(chip));
            fs::create_directories(hwmon);
            std::ofstream(hwmon / "name") << "nct6798\n";
            fs::create_symlink("../..", hwmon / "device"); // what makes each chip's key its own
            for (int channel = 1; channel <= 6; ++channel)
                std::ofstream(hwmon / ("temp" + std::to_string(channel) + "_input"))
                    << 40000 + channel * 250 << "\n";
            for (int channel = 0; channel < 2; ++channel)
                std::ofstream(hwmon / ("in" + std::to_string(channel) + "_input"))
                    << 1000 + channel << "\n";
            for (int channel = 1; channel <= 2; ++channel)
                std::ofstream(hwmon / ("fan" + std::to_string(channel) + "_input"))
                    << 900 + channel << "\n";
            fs::create_symlink(fs::path("../..") / device / "hwmon" / hwmon.filename(),
                               root_ / "sys/class/hwmon" / hwmon.filename());
        }
    }
    ~HwmonTree() { fs::remove_all(root_); }
    const fs::path& root() const { return root_; }

private:
    fs::path root_;
};

void BM_SensorsUpdate40(benchmark::State& state) {
    HwmonTree tree;
    ManualMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
    const SysRoot root(tree.root());
    HwmonReadings readings(root);
    SensorsStatCollectorLinux collector(
        context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
    collector.loadSensors();
    if (collector.sensors().size() != 40) {
        state.SkipWithError("expected 40 sensors");
        return;
    }
    std::int64_t identifier = 1;
    for (auto _ : state) {
        // Skip the slow identifiers: they also look at the chip listing.
        if (++identifier % 6 == 0)
            ++identifier;
        collector.updateStats(identifier);
    }
}
BENCHMARK(BM_SensorsUpdate40)->Unit(benchmark::kMicrosecond);

// The share of an update that is the sample each item keeps: the rings' own cost.
void BM_SensorsSamplesOnly40(benchmark::State& state) {
    HwmonTree tree;
    ManualMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
    const SysRoot root(tree.root());
    HwmonReadings readings(root);
    SensorsStatCollectorLinux collector(
        context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
    collector.loadSensors();
    const auto sensors = collector.sensors();
    std::int64_t identifier = 1;
    for (auto _ : state) {
        ++identifier;
        for (const auto& item : sensors)
            collector.addValue(*item, identifier);
    }
}
BENCHMARK(BM_SensorsSamplesOnly40)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
